# SPDX-License-Identifier: MIT
"""The typist's key as sway binds it, pressed as on a keyboard, and its text in a window of sway."""

import pathlib
import re
import subprocess
import sys
import time
import unittest

from support.desktop import Bus, Notifications
from support.private_session import ROOT, enter_private_namespaces, wait_until
from support.sway import SwaySession, become_ordinary_user
from support.wayland_filter import WaylandFilter
from typist_test import ALL_OF_UNICODE, CATCHER, Service


def documented_lines():
    """What docs/everyday.md tells users of sway to write."""
    text = (ROOT / "docs" / "everyday.md").read_text(encoding="utf-8")
    return re.findall(r"`([^`]+)`", re.search(r"^\| sway \|(.*)$", text, re.MULTILINE)[1])


class Sway(unittest.TestCase):
    def setUp(self):
        try:
            self.session = self.enterContext(SwaySession(*documented_lines()))
        except PermissionError as error:
            self.skipTest(f"an ordinary user cannot run the programs here: {error}")
        self.service = self.enterContext(Service())
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", self.service.url)
        self.typed = self.session.folder / "typed"
        self.start("foot", "--log-level", "none", sys.executable, "-c", CATCHER, self.typed)
        wait_until(self.typed.exists, "the terminal runs its program")
        self.notifications = Notifications(self.session, Bus(self.session))

    def start(self, *command):
        return self.session.start(*command, stdout=subprocess.DEVNULL)

    def start_typist(self, *environment):
        self.start("env", *environment, self.session.bin / "kavrin-typist")
        self.session.run("gdbus", "wait", "--session", "--timeout", "60", "app.kavrin.Typist")

    def begin(self):
        """Begins a dictation, as soon as the one before is over."""
        toggle = (self.session.bin / "kavrinctl", "type", "toggle")
        wait_until(lambda: self.session.run(*toggle, check=False).returncode == 0, "a dictation begins")
        self.wait_for_activity("recording")

    def end(self, text):
        self.service.answer(text)
        self.session.ctl("type", "toggle")

    def wait_for_notification(self, text):
        wait_until(lambda: any(shown.startswith(text) for _, shown in self.notifications.shown()),
                   f"a notification says {text!r}")

    def wait_for_activity(self, activity):
        wait_until(lambda: self.session.ctl("dictate", "status") == activity, f"Kavrin is {activity}")

    def test_the_documented_key_records_while_it_is_held_and_its_text_is_typed(self):
        self.session.start_kavrin("--background")
        self.start_typist()
        self.service.answer(ALL_OF_UNICODE)
        key = self.start("wtype", "-P", "F9", "-s", "600000", "-p", "F9")
        self.wait_for_activity("recording")
        time.sleep(0.5)  # the key is held that long
        self.assertEqual(self.session.ctl("dictate", "status"), "recording")
        self.session.end(key)  # its keyboard goes, and with it the held key
        wait_until(lambda: self.typed.read_text(encoding="utf-8", errors="replace") == ALL_OF_UNICODE,
                   "the text is typed")

    def test_without_a_virtual_keyboard_a_notification_says_which_key_pastes_the_text(self):
        sway = pathlib.Path(self.session.env["XDG_RUNTIME_DIR"]) / self.session.env["WAYLAND_DISPLAY"]
        without = self.session.folder / "without"
        WaylandFilter(without, sway, hidden="zwp_virtual_keyboard_manager_v1")
        self.session.start_kavrin("--background")
        self.start_typist(f"WAYLAND_DISPLAY={without}")
        self.begin()
        self.end("not typed")
        self.wait_for_notification(
            "This desktop has no virtual keyboard for other programs. Paste the text yourself. The text is on the "
            "clipboard: Ctrl+V pastes it, in a terminal Ctrl+Shift+V.")
        self.assertEqual(self.session.run("wl-paste", "--no-newline").stdout, "not typed")
        self.assertEqual(self.typed.read_text(encoding="utf-8"), "")

    def test_when_the_compositor_ends_the_text_is_left_to_other_keyboards(self):
        self.session.env["QT_QPA_PLATFORM"] = "offscreen"  # a window would end Kavrin with its display
        self.session.start_kavrin("--background")
        self.start_typist()
        self.begin()
        self.session.end(self.session.sway)
        self.end("nowhere to go")
        self.wait_for_notification("The Wayland compositor does not answer.")
        suite = self.session.suite()
        self.assertEqual((suite.get("transcript"), suite.get("tUsed")), ("nowhere to go", None))
        self.begin()  # the typist is still there

    def test_when_the_compositor_ends_kavrin_goes_with_its_window_and_the_next_one_starts_afresh(self):
        kavrin = self.session.start_kavrin()
        self.start_typist()
        self.begin()
        self.session.end(self.session.sway)
        kavrin.wait(60)
        self.wait_for_notification("Kavrin does not answer")
        self.session.env["QT_QPA_PLATFORM"] = "offscreen"
        self.session.start_kavrin("--background")
        self.assertEqual(self.session.ctl("dictate", "status"), "idle")
        self.begin()
        self.end("nowhere to go")
        self.wait_for_notification("The Wayland compositor does not answer.")
        self.assertIsNone(self.session.suite().get("tUsed"))


if __name__ == "__main__":
    enter_private_namespaces()
    become_ordinary_user()
    unittest.main(verbosity=2)
