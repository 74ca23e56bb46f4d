# SPDX-License-Identifier: MIT
"""The typist's key as sway binds it, pressed as on a keyboard, and its text in a window of sway."""

import re
import subprocess
import sys
import time
import unittest

from support.private_session import ROOT, enter_private_namespaces, wait_until
from support.sway import SwaySession, become_ordinary_user
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
        self.session.start_kavrin("--background")
        self.start(self.session.bin / "kavrin-typist")
        self.session.run("gdbus", "wait", "--session", "--timeout", "60", "app.kavrin.Typist")

    def start(self, *command):
        return self.session.start(*command, stdout=subprocess.DEVNULL)

    def wait_for_activity(self, activity):
        wait_until(lambda: self.session.ctl("dictate", "status") == activity, f"Kavrin is {activity}")

    def test_the_documented_key_records_while_it_is_held_and_its_text_is_typed(self):
        self.service.answer(ALL_OF_UNICODE)
        key = self.start("wtype", "-P", "F9", "-s", "600000", "-p", "F9")
        self.wait_for_activity("recording")
        time.sleep(0.5)  # the key is held that long
        self.assertEqual(self.session.ctl("dictate", "status"), "recording")
        self.session.end(key)  # its keyboard goes, and with it the held key
        wait_until(lambda: self.typed.read_text(encoding="utf-8", errors="replace") == ALL_OF_UNICODE,
                   "the text is typed")


if __name__ == "__main__":
    enter_private_namespaces()
    become_ordinary_user()
    unittest.main(verbosity=2)
