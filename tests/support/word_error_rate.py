# SPDX-License-Identifier: MIT
"""How far a transcript is from the words that were spoken: the word error rate, as speech research counts it.

The rate is the least number of words substituted, left out and put in, divided by the number of words spoken;
0 is perfect, and more than 1 is possible when many words were put in.
"""

import re
from dataclasses import dataclass

# Spellings of the same spoken word. A title is heard as "mister" and may be written either way.
_SPELLINGS = {"mr": "mister", "mrs": "missus", "dr": "doctor"}


def words(text):
    """The words of a text as they are compared: lower case, no punctuation, one spelling each."""
    found = re.findall(r"[^\W_]+(?:['’][^\W_]+)*", text.lower())
    return [_SPELLINGS.get(word, word.replace("’", "'")) for word in found]


def edits(spoken, heard):
    """The least number of words to substitute, remove or insert to turn one list of words into the other."""
    row = list(range(len(heard) + 1))
    for removed, spoken_word in enumerate(spoken, start=1):
        diagonal, row[0] = row[0], removed
        for column, heard_word in enumerate(heard, start=1):
            substituted = diagonal + (spoken_word != heard_word)
            diagonal = row[column]
            row[column] = min(substituted, row[column] + 1, row[column - 1] + 1)
    return row[-1]


@dataclass(frozen=True)
class WordErrorRate:
    """Errors among spoken words. The rates of several clips are added up word by word, not averaged."""

    errors: int = 0
    spoken: int = 0

    @property
    def rate(self):
        """Errors for each spoken word. Raises ValueError where nothing was spoken: there is no rate then."""
        if self.spoken == 0:
            raise ValueError("there is no word error rate without spoken words")
        return self.errors / self.spoken

    def __add__(self, other):
        return WordErrorRate(self.errors + other.errors, self.spoken + other.spoken)

    def __str__(self):
        return f"{100 * self.rate:.1f} % ({self.errors} of {self.spoken} words)"


def word_error_rate(spoken, heard):
    """The word error rate of the transcript `heard` against the text `spoken`."""
    spoken_words = words(spoken)
    return WordErrorRate(edits(spoken_words, words(heard)), len(spoken_words))
