# SPDX-License-Identifier: MIT
"""A desktop with Kavrin and its typist, and what a person does there."""

import contextlib
import pathlib
import subprocess
import time

from support.desktop import Bus
from support.private_session import SPEECH, wait_until
from typist_test import TYPIST

ROOT = pathlib.Path(__file__).resolve().parents[2]
CLIP = SPEECH / "cards" / "001.wav"
FIELD = ("/usr/bin/python3", ROOT / "tests/platform/linux/typing/field.py")
PROGRAMS = {
    "GTK": (*FIELD, "gtk"),
    "Qt": (ROOT / "build/tests-bin/typing_field",),
    "terminal": (*FIELD, "terminal"),
    "Chromium": (*FIELD, "chromium"),
}
ACTIVE_WINDOW = ("/usr/bin/python3", ROOT / "tests/desktops/active_window.py")
READING = 3  # seconds that a person takes to read a question; keys are lost while its window comes
PACE = 0.5  # seconds between two of their keys


class Field:
    """A text field of a program, in the only window of the desktop."""

    def __init__(self, desk, program):
        self._file = desk.session.folder / "field"
        self._file.unlink(missing_ok=True)
        self._process = desk.session.start(*PROGRAMS[program], self._file, stdout=subprocess.DEVNULL)
        self._desk = desk
        wait_until(self._is_written_in, f"{program} shows what is typed", limit=90)

    def _is_written_in(self):
        """Types a letter, until one is there."""
        self._desk.hands.tap("x")
        with contextlib.suppress(TimeoutError):
            return wait_until(self._file.exists, "", limit=2) and wait_until(lambda: "x" in self._content(), "", limit=2)

    def _content(self):
        return self._file.read_text(encoding="utf-8", errors="replace") if self._file.exists() else ""

    def text(self):
        """What was typed after the letters that showed that it can be."""
        return self._content().lstrip("x")

    def wait_for(self, text):
        try:
            wait_until(lambda: self.text() == text, "", limit=60)
        except TimeoutError:
            raise AssertionError(f"{self.text()[:200]!r} is typed, not {text[:200]!r}") from None

    def close(self):
        self._desk.session.end(self._process)


class Desk:
    """A desktop with Kavrin, its typist, and a person."""

    def __init__(self, session, service):
        self.session, self.hands, self.service = session, session.hands, service
        self.bus = Bus(session)
        self.session.start_speech_service()
        self.stt = self.session.ctl("get", "customURL")
        self.session.start_kavrin("--background")
        self._said = session.folder / "said"
        with self._said.open("w", encoding="utf-8") as said:
            session.start("dbus-monitor", "--session", "interface='org.freedesktop.Notifications',member='Notify'",
                          stdout=said)
        self.start_typist()

    def start_typist(self):
        self.typist = self.session.start(self.session.bin / "kavrin-typist", stdout=subprocess.DEVNULL)
        wait_until(lambda: self.bus.has("app.kavrin.Typist"), "the typist is there")

    def start_typist_again(self):
        self.session.end(self.typist)
        wait_until(lambda: not self.bus.has("app.kavrin.Typist"), "the typist is gone")
        self.start_typist()

    def shortcut(self):
        return self.bus.call(*TYPIST, "Shortcut")[0]

    def wait_for_shortcut(self):
        wait_until(lambda: not self.shortcut().endswith("."), "the desktop has given the shortcut")

    def wait_for_refusal(self):
        wait_until(lambda: "You have refused it" in self.shortcut(), "the shortcut is refused")

    def accept(self, question):
        self._answer(question, question.yes)

    def refuse(self, question):
        self._answer(question, [("escape",)])

    def _answer(self, question, keys):
        """Waits for the desktop's question, and presses these combinations."""
        wait_until(lambda: question.title in self.session.run(*ACTIVE_WINDOW, check=False).stdout.splitlines(),
                   f"the desktop asks {question.title!r}", limit=90, interval=0.2)
        time.sleep(READING)
        for combination in keys:
            self.hands.tap(*combination)
            time.sleep(PACE)

    def wait_for_activity(self, activity):
        wait_until(lambda: self.session.ctl("dictate", "status") == activity, f"Kavrin is {activity}")

    def begin(self):
        toggle = (self.session.bin / "kavrinctl", "type", "toggle")
        wait_until(lambda: self.session.run(*toggle, check=False).returncode == 0, "a dictation begins")
        self.wait_for_activity("recording")

    def dictate(self, text):
        """Says something. The speech service understands this text."""
        self.session.ctl("set", "customURL", self.service.url)
        self.service.answer(text)
        self.begin()
        self.session.ctl("type", "toggle")
        assert self.service.asked.acquire(timeout=30), "the speech service was not asked"

    def speak(self):
        """Plays a recording to the microphone, which kavrin-stt transcribes."""
        self.session.ctl("set", "customURL", self.stt)
        self.begin()
        self.session.play(CLIP)
        self.session.ctl("type", "toggle")

    def clipboard(self):
        return self.session.run(*self.session.CLIPBOARD, check=False).stdout

    def wait_for_notification(self, text):
        wait_until(lambda: text in self._said.read_text(encoding="utf-8", errors="replace"),
                   f"a notification says {text!r}")
