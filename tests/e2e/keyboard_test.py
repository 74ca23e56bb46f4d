# SPDX-License-Identifier: MIT
"""The keyboard of docs/keyboard.md, run as it stands beside the real application, and what else that page tells people
to run."""

import json
import os
import pathlib
import re
import subprocess
import sys
import time
import unittest

from documents_test import CLIP, SPOKEN, blocks, example, read
from support.private_session import PrivateSession, enter_private_namespaces, wait_until
from support.suite_case import Holder

CODE = "482913"

# What goes before the program to hold back its first write under a key until the test lets it go on.
HELD_BACK = """
import os, sqlite3, time


class HeldBack(sqlite3.Connection):
    was_held_back = False

    def execute(self, statement, values=()):
        if not self.was_held_back and statement.startswith("INSERT") and {key!r} in values:
            self.was_held_back = True
            open({reached!r}, "w").close()
            while os.path.exists({reached!r}):
                time.sleep(0.01)
        return super().execute(statement, values)


sqlite3.connect = lambda *names, connect=sqlite3.connect, **options: connect(*names, factory=HeldBack, **options)
"""


class Keyboard:
    """The program, with what it draws and what it types."""

    def __init__(self, session, name, before=""):
        self._drawn = session.folder / f"{name}.drawn"
        self._typed = session.folder / f"{name}.typed"
        with open(self._drawn, "wb") as drawn, open(self._typed, "wb") as typed:
            self._process = subprocess.Popen([sys.executable, "-c", before + example("docs/keyboard.md", "python")],
                                             env=session.env, stdin=subprocess.PIPE, stdout=typed, stderr=drawn)

    def drawn(self):
        return self._drawn.read_text(encoding="utf-8").splitlines()

    def typed(self):
        return self._typed.read_text(encoding="utf-8").splitlines()

    def enter(self, line=""):
        self._process.stdin.write(f"{line}\n".encode())
        self._process.stdin.flush()

    def wait_for(self, line):
        wait_until(lambda: line in self.drawn(), f"the keyboard shows {line}")

    def wait_for_text(self, text):
        wait_until(lambda: any(text in line for line in self.typed()), f"the keyboard types {text}")

    def end(self):
        """The exit code, once it has come to the end of its input."""
        self._process.stdin.close()
        return self._process.wait(timeout=30)

    def kill(self):
        self._process.kill()
        self._process.wait()
        self._process.stdin.close()


class KeyboardGuide(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"
        self.suite = self.session.suite()
        self.path = pathlib.Path(json.loads(self.session.ctl("where", "--json"))["suite"])

    def start_keyboard(self, name="keyboard", before=""):
        keyboard = Keyboard(self.session, name, before)
        self.addCleanup(keyboard.kill)
        return keyboard

    def start_slow_keyboard(self, key):
        """A keyboard that is held back before it writes under the key, and the file that is there while it is."""
        reached = self.session.folder / "reached"
        return self.start_keyboard("slow", HELD_BACK.format(key=key, reached=str(reached))), reached

    def start_kavrin(self):
        self.session.start_speech_service()
        self.session.start_kavrin("--background")

    def beat(self):
        """The heartbeat of a Kavrin that does nothing else."""
        self.suite.set("dictationAlive", "double", time.time())

    def store_transcript(self, text, age):
        self.suite.set("transcript", "string", text)
        self.suite.set("tStamp", "double", time.time() - age)

    def store_code(self, age=0.0, used=False):
        self.session.ctl("save-code", f"Your code is {CODE}")
        self.suite.set("otpAt", "double", time.time() - age)
        self.suite.set("otpUsed", "bool", used)

    def whole_life(self):
        """A keyboard that has looked once at everything and come to the end of its input."""
        keyboard = self.start_keyboard()
        self.assertEqual(keyboard.end(), 0, keyboard.drawn())
        return keyboard

    def run_block(self, beginning):
        """What the block of the document that begins so prints."""
        block = next(block for block in blocks(read("docs/keyboard.md"), "sh") if block.startswith(beginning))
        return self.session.run("sh", "-eu", "-c", block).stdout

    def test_it_dictates_and_inserts_the_transcript(self):
        self.start_kavrin()
        keyboard = self.start_keyboard()
        keyboard.enter()
        keyboard.wait_for("[strip] Speak, then press Return.")
        self.session.play(CLIP)
        keyboard.enter()
        keyboard.wait_for_text(SPOKEN)
        self.assertEqual(keyboard.end(), 0)
        self.assertEqual(len(keyboard.typed()), 1)
        self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_of_two_keyboards_one_inserts_a_transcript(self):
        keyboards = [self.start_keyboard(f"keyboard {number}") for number in (1, 2)]
        for keyboard in keyboards:
            keyboard.wait_for("[keys] 54 points high")
        database = self.suite.database
        database.execute("BEGIN IMMEDIATE")
        self.store_transcript("ten of clubs", age=0)
        self.suite.set("rowH", "double", 60.0)
        self.suite.set("settingsRevision", "double", time.time())
        database.execute("COMMIT")
        # Both find it before either can mark it: to draw the new height is the last that they do before they look.
        database.execute("BEGIN IMMEDIATE")
        for keyboard in keyboards:
            keyboard.wait_for("[keys] 60 points high")
        database.execute("COMMIT")
        wait_until(lambda: self.suite.get("tUsed") == self.suite.get("tStamp"), "the transcript is marked as used")
        self.assertEqual([keyboard.end() for keyboard in keyboards], [0, 0])
        self.assertEqual(sum((keyboard.typed() for keyboard in keyboards), []), ["ten of clubs"])

    def test_a_late_claim_of_an_older_transcript_does_not_win(self):
        slow, reached = self.start_slow_keyboard("tUsed")
        self.store_transcript("ten of clubs", age=2)
        wait_until(reached.exists, "the slow keyboard has read the first transcript")
        quick = self.start_keyboard()
        quick.wait_for_text("ten of clubs")
        self.store_transcript("jack of spades", age=1)
        quick.wait_for_text("jack of spades")
        reached.unlink()
        self.assertEqual([slow.end(), quick.end()], [0, 0])
        self.assertEqual((slow.typed(), quick.typed()), ([], ["ten of clubs", "jack of spades"]))
        self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_a_late_claim_of_an_older_code_does_not_take_the_newer(self):
        self.store_code()
        slow, reached = self.start_slow_keyboard("otpUsed")
        slow.enter("code")
        wait_until(reached.exists, "the slow keyboard has read the first code")
        quick = self.start_keyboard()
        quick.enter("code")
        quick.wait_for_text(CODE)
        self.session.ctl("save-code", "Your code is 271828")
        reached.unlink()
        self.assertEqual(slow.end(), 0)
        self.assertEqual(slow.typed(), [])
        quick.enter("code")
        self.assertEqual(quick.end(), 0)
        self.assertEqual(quick.typed(), [CODE, "271828"])

    def test_it_inserts_what_was_dictated_while_it_was_away_unless_that_is_old(self):
        for age, typed in ((30, ["ten of clubs"]), (90, [])):
            with self.subTest(age=age):
                self.store_transcript("ten of clubs", age)
                self.assertEqual(self.whole_life().typed(), typed)
                self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_it_leaves_a_transcript_whose_stamp_may_not_be_its_own(self):
        self.store_transcript("ten of clubs", age=0)
        self.suite.set("dictationState", "string", "working")
        self.assertEqual(self.whole_life().typed(), [])
        self.assertIsNone(self.suite.get("tUsed"))

    def test_it_begins_with_the_default_of_a_setting_and_follows_its_changes(self):
        keyboard = self.start_keyboard()
        keyboard.wait_for("[keys] 54 points high")
        self.session.ctl("set", "rowH", "60")
        keyboard.wait_for("[keys] 60 points high")
        self.session.ctl("reset", "rowH")
        wait_until(lambda: keyboard.drawn()[-1] == "[keys] 54 points high", "the default is back")

    def test_it_takes_a_value_of_another_kind_for_the_default_and_one_beyond_the_range_for_its_end(self):
        cases = (("string", "60", "54"), ("date", 60.0, "54"), ("int", 60, "60"), ("double", 1e21, "80"),
                 ("double", -5.0, "36"))
        for kind, value, drawn in cases:
            with self.subTest(kind, value=value):
                self.suite.set("rowH", kind, value)
                self.assertIn(f"[keys] {drawn} points high", self.whole_life().drawn())

    def test_it_takes_a_time_that_is_no_number_for_none(self):
        cases = (("dictationAlive", lambda keyboard: "[microphone] not running" in keyboard.drawn()),
                 ("tStamp", lambda keyboard: not keyboard.typed()),
                 ("otpAt", lambda keyboard: f"[code] {CODE}" not in keyboard.drawn()))
        for key, is_ignored in cases:
            with self.subTest(key):
                self.store_transcript("ten of clubs", age=0)
                self.store_code()
                self.suite.set(key, "string", str(time.time()))
                self.assertTrue(is_ignored(self.whole_life()))

    def test_it_offers_codes_as_a_toggle_of_any_kind_says(self):
        self.store_code()
        for kind, value, offered in (("bool", 0, False), ("int", 0, False), ("double", 0.0, False), ("int", 2, True),
                                     ("string", "false", True)):
            with self.subTest(kind, value=value):
                self.suite.set("codeChips", kind, value)
                self.assertEqual(f"[code] {CODE}" in self.whole_life().drawn(), offered)
                self.assertEqual(self.session.ctl("get", "codeChips"), str(offered).lower())

    def test_it_marks_an_empty_transcript_as_used_and_inserts_nothing(self):
        self.store_transcript("", age=0)
        self.assertEqual(self.whole_life().typed(), [])
        self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_it_waits_for_a_file_that_is_just_being_made(self):
        keyboard = self.start_keyboard()
        keyboard.wait_for("[keys] 54 points high")
        for file in self.path.parent.glob("defaults.sqlite*"):
            file.unlink()
        self.path.touch(mode=0o600)  # as it is before it has its version
        keyboard.wait_for("[suite] not available")
        self.assertEqual(self.path.stat().st_size, 0)
        self.session.ctl("set", "rowH", "60")
        keyboard.wait_for("[keys] 60 points high")

    def test_the_catalogue_and_the_state_are_printed_in_the_documented_form(self):
        page, = json.loads(example("docs/keyboard.md", "json"))
        real = next(other for other in json.loads(self.session.ctl("catalogue", "--json")) if other["id"] == page["id"])
        section, item = page["sections"][0], page["sections"][0]["items"][0]
        self.assertIn(item, real["sections"][0]["items"])
        self.assertEqual({**section, "items": []}, {**real["sections"][0], "items": []})
        self.assertEqual({**page, "sections": []}, {**real, "sections": []})
        self.suite.set("dictationState", "string", "idle")
        self.session.start_kavrin("--background")
        documented = re.search(r'`(\{"running".*?\})`', read("docs/keyboard.md"))[1]
        self.assertEqual(json.loads(self.session.ctl("dictate", "status", "--json")), json.loads(documented))

    def test_it_tells_kavrin_that_it_shares_the_suite(self):
        start = time.time()
        self.whole_life()
        self.assertGreaterEqual(self.suite.get("probeKb"), start)

    def test_it_inserts_a_code_once_when_the_user_takes_it(self):
        keyboard = self.start_keyboard()
        keyboard.wait_for("[code] ")
        self.store_code()
        keyboard.wait_for(f"[code] {CODE}")
        keyboard.enter("code")
        keyboard.enter("code")
        self.assertEqual(keyboard.end(), 0)
        self.assertEqual(keyboard.typed(), [CODE])
        self.assertEqual(self.suite.get("otpUsed"), 1)

    def test_it_offers_a_code_that_is_fresh_unused_and_wanted(self):
        cases = (
            ("fresh", {}, True, 5, True),
            ("nearly too old", {"age": 4.5 * 60}, True, 5, True),
            ("too old", {"age": 5.5 * 60}, True, 5, False),
            ("kept for longer", {"age": 5.5 * 60}, True, 10, True),
            ("used", {"used": True}, True, 5, False),
            ("not wanted", {}, False, 5, False),
        )
        for name, code, chips, minutes, offered in cases:
            with self.subTest(name):
                self.session.ctl("set", "codeChips", str(chips).lower())
                self.session.ctl("set", "codeMinutes", str(minutes))
                self.store_code(**code)
                self.assertEqual(f"[code] {CODE}" in self.whole_life().drawn(), offered)

    def test_it_says_that_kavrin_is_not_running(self):
        for age in (None, 4):
            with self.subTest(age=age):
                if age is not None:
                    self.suite.set("dictationAlive", "double", time.time() - age)
                keyboard = self.start_keyboard()
                keyboard.enter()
                keyboard.wait_for("[strip] Kavrin is not running. Start it and try again.")
                self.assertIn("[microphone] not running", keyboard.drawn())
                self.assertEqual(keyboard.end(), 0)
                self.assertIsNone(self.suite.get("dictationCommand"))

    def test_it_takes_back_a_command_that_nobody_takes(self):
        keyboard = self.start_keyboard()
        wait_until(lambda: self.beat() or "[microphone] idle" in keyboard.drawn(), "the keyboard sees a heartbeat")
        keyboard.enter()
        wait_until(lambda: self.beat() or self.suite.get("dictationCommand") == "start", "it gives a command")
        self.suite.wait_for("dictationCommand", "")
        keyboard.wait_for("[strip] Nothing is recorded. Kavrin may need a microphone, or the permission to use it.")

    def test_it_starts_whatever_a_kavrin_that_ended_has_left(self):
        self.start_kavrin()
        for state in ("recording", "working", "starting"):
            with self.subTest(state):
                self.suite.set("dictationState", "string", state)
                keyboard = self.start_keyboard(state)
                keyboard.enter()
                keyboard.wait_for("[strip] Speak, then press Return.")
                self.assertEqual(keyboard.end(), 0)
                self.session.ctl("dictate", "stop")
                self.suite.wait_for("dictationState", "done")

    def test_it_endures_a_suite_that_is_locked(self):
        nothing = "[strip] Nothing is recorded. Kavrin may need a microphone, or the permission to use it."
        self.store_code()
        keyboard = self.start_keyboard()
        wait_until(lambda: self.beat() or "[microphone] idle" in keyboard.drawn(), "the keyboard sees a heartbeat")
        with Holder(self.path, "BEGIN IMMEDIATE"):
            keyboard.enter("code")
            keyboard.enter()
            keyboard.wait_for(nothing)  # after some seconds
            self.assertEqual(keyboard.typed(), [])
        keyboard.enter("code")
        keyboard.wait_for_text(CODE)
        self.assertEqual(keyboard.end(), 0)
        self.assertIn(self.suite.get("dictationCommand"), (None, ""))

    def test_it_goes_on_with_a_suite_that_was_damaged_and_made_anew(self):
        keyboard = self.start_keyboard()
        keyboard.wait_for("[keys] 54 points high")
        for file in self.path.parent.glob("defaults.sqlite-*"):
            file.unlink()
        rubbish = self.path.with_name("rubbish")
        rubbish.write_bytes(b"no database " * 500)
        rubbish.replace(self.path)
        keyboard.wait_for("[suite] not available")
        self.session.ctl("set", "rowH", "60")
        keyboard.wait_for("[keys] 60 points high")
        self.assertEqual(keyboard.end(), 0)

    def test_it_goes_on_with_a_suite_that_was_deleted_and_made_anew(self):
        keyboard = self.start_keyboard()
        keyboard.wait_for("[keys] 54 points high")
        for file in self.path.parent.glob("defaults.sqlite*"):
            file.unlink()
        keyboard.wait_for("[suite] not available")
        self.assertFalse(self.path.exists())
        self.session.ctl("set", "rowH", "60")
        keyboard.wait_for("[keys] 60 points high")
        wait_until(lambda: self.session.suite().get("probeKb"), "the keyboard announces itself again")
        self.assertEqual(keyboard.end(), 0)

    def test_it_leaves_a_suite_alone_that_kavrin_does_not_share(self):
        self.suite.database.execute("PRAGMA user_version = 2")
        keyboard = self.start_keyboard()
        self.assertEqual(keyboard.end(), 1)
        self.assertEqual(keyboard.drawn()[-1], "This Kavrin has no suite that this keyboard can share.")
        self.assertIsNone(self.suite.get("probeKb"))

    def test_the_call_on_the_session_bus_starts_a_dictation(self):
        self.start_kavrin()
        self.run_block("gdbus call")
        self.suite.wait_for("dictationState", "recording")

    def test_the_command_for_the_settings_on_the_clipboard_prints_their_object(self):
        self.session.ctl("set", "rowH", "60")
        self.suite.set("userDict", "string", "omw=on my way\n")
        self.assertEqual(json.loads(self.run_block("kavrinctl export")), {"rowH": 60, "userDict": "omw=on my way\n"})


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
