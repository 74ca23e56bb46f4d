# SPDX-License-Identifier: MIT
"""Recorded speech, and what is said in it."""


class Spoken(str):
    """What a clip says. A word more in front is the same: on a busy machine the sound server hands a click over with the
    first words, and the recogniser hears one in it."""

    __slots__ = ()

    def __eq__(self, other):
        said, heard = self.split(), other.split() if isinstance(other, str) else None
        return heard == said or bool(heard) and heard[1:] == said

    def __ne__(self, other):
        return not self == other

    __hash__ = str.__hash__


SPOKEN = Spoken("ten of clubs")  # cards/001.wav
SECOND_SPOKEN = Spoken("seven of clubs")  # cards/003.wav
