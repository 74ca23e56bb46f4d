# SPDX-License-Identifier: MIT
"""What goes wrong in the course of a dictation, one fault a line."""

from collections.abc import Callable
from dataclasses import dataclass

from machine import Machine

# When a fault begins.
BEFORE = "before"
STARTING = "at the start"  # Kavrin has taken the command
RECORDING = "while recording"
WORKING = "while transcribing"


def _nothing(_machine):
    pass


@dataclass(frozen=True)
class Fault:
    """None where it may be one or the other. What holds after every fault is in dictations.py."""

    what: str
    when: str = BEFORE
    begin: Callable[[Machine], None] = _nothing
    end: Callable[[Machine], None] = _nothing  # called at the end of the dictation; returns once it is over
    begins: bool | None = True  # whether the recording begins
    is_heard: bool | None = True  # whether there is something to transcribe
    is_stored: bool | None = True  # whether the suite takes the transcript
    is_cancelled: bool | None = False

    @property
    def name(self):
        return f"{self.what} {self.when}".strip()


NOTHING = Fault("nothing", when="")

_SOUND = (
    Fault("no sound server", BEFORE, Machine.end_sound_server, Machine.start_sound_server, begins=None, is_heard=False),
    Fault("sound server killed", RECORDING, Machine.end_sound_server, Machine.start_sound_server),
    Fault("sound server restarted", RECORDING, Machine.restart_sound_server),
    Fault("sound server hangs", BEFORE, Machine.hang_sound_server, Machine.wait_for_sound_server, begins=None,
          is_heard=None),
    Fault("sound server hangs", RECORDING, Machine.hang_sound_server, Machine.wait_for_sound_server),
    Fault("no microphone", BEFORE, Machine.take_microphone, Machine.give_microphone, is_heard=False),
    Fault("no microphone", RECORDING, Machine.take_microphone, Machine.give_microphone),
    Fault("microphone muted", BEFORE, Machine.mute_microphone, Machine.unmute_microphone),
    Fault("microphone muted", RECORDING, Machine.mute_microphone, Machine.unmute_microphone),
)

_SUITE = tuple(Fault("suite locked", when, Machine.lock_suite, Machine.wait_for_suite, is_stored=None)
               for when in (BEFORE, RECORDING, WORKING))

_OTHERS = (
    Fault("sleep", BEFORE, Machine.sleep),
    Fault("sleep", RECORDING, Machine.sleep),
    Fault("sleep", WORKING, Machine.sleep),
    Fault("cancelled", STARTING, Machine.cancel, is_cancelled=None),
    Fault("cancelled", RECORDING, Machine.cancel, is_cancelled=True),
    Fault("cancelled", WORKING, Machine.cancel, is_cancelled=None),
    Fault("start twice", RECORDING, Machine.start_again),
    Fault("stop twice", WORKING, Machine.stop_again),
    Fault("tray and notifications come and go", BEFORE, Machine.change_desktop, Machine.whole_desktop),
)

FAULTS = (NOTHING, *_SOUND, *_SUITE, *_OTHERS)
DISK_FAULTS = tuple(Fault("disk full", when, Machine.fill_disk, Machine.wait_for_suite, is_stored=None)
                    for when in (BEFORE, RECORDING, WORKING))  # where there is a disk to fill
