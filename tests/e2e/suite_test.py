# SPDX-License-Identifier: MIT
"""What becomes of the shared suite when it is full, read-only, locked, and filled with the wrong types: Kavrin runs on,
and nothing that was acknowledged is lost."""

import contextlib
import itertools
import signal
import sqlite3
import struct
import subprocess
import threading
import time
import unittest

from support.desktop import DICTATION, Bus
from support.private_session import Suite, enter_private_namespaces, make_read_only, small_disk, undo_mount, wait_until
from support.suite_case import Holder, SuiteTest

DICTATION_KEYS = ("dictationCommand", "dictationAlive", "dictationState", "transcript", "tStamp", "tUsed", "probeApp")
MEBIBYTE = 1024 * 1024


class FullDisk(SuiteTest):
    def setUp(self):
        super().setUp()
        self.ballast = self.folder / "ballast"
        self.folder.mkdir(mode=0o700, parents=True)
        small_disk(self.folder, MEBIBYTE)

    def fill(self):
        with open(self.ballast, "wb", buffering=0) as file, contextlib.suppress(OSError):
            while file.write(bytes(4096)):
                pass

    def make_room(self):
        self.ballast.unlink()

    def expect_refusal(self):
        message = self.refused("set", "customModel", "x" * 10_000)
        self.assertIn("the disk is full", message)
        self.assertIn("Make room", message)
        self.assertIn(str(self.path), message)

    def test_kavrin_started_without_room_for_a_suite_has_one_as_soon_as_there_is_room(self):
        self.fill()
        kavrin = self.session.start_kavrin("--background", beats=False)
        self.assertEqual(self.session.http("/get"), {})
        self.assertEqual(self.session.http("/cmd?v=stop"), {"ok": True})
        self.expect_refusal()
        self.assertIn("could not be read", self.refused("get", "rowH"))
        self.make_room()
        self.expect_service(kavrin)
        self.session.ctl("set", "rowH", "61")

    def test_a_suite_on_a_disk_that_is_full_can_be_read(self):
        self.store_settings()
        self.bring_the_log_into_the_file()
        self.fill()
        self.expect_settings()
        kavrin = self.session.start_kavrin("--background", beats=False)
        self.assertEqual(self.session.http("/get"), {"transcript": "said before"})
        self.expect_refusal()
        self.expect_settings()
        self.make_room()
        self.expect_service(kavrin)
        self.expect_settings()

    def test_a_disk_that_becomes_full_takes_nothing_that_was_acknowledged(self):
        self.store_settings()
        kavrin = self.session.start_kavrin("--background")
        self.fill()
        acknowledged = self.write_until_refused()
        self.expect_refusal()
        self.assertEqual(self.session.ctl("get", "openaiKey"), acknowledged)
        self.assertEqual(self.session.http("/get")["transcript"], "said before")
        self.assertIsNone(kavrin.poll())
        self.make_room()
        self.assertEqual(self.session.ctl("get", "openaiKey"), acknowledged)
        self.expect_settings()
        self.expect_service(kavrin)
        self.session.ctl("set", "openaiKey", "after")
        self.assertEqual(self.session.ctl("get", "openaiKey"), "after")

    def write_until_refused(self):
        """The last value that was acknowledged."""
        acknowledged = ""
        for number in itertools.count():
            value = f"{number}-" * 100
            done = self.session.run(self.session.bin / "kavrinctl", "set", "openaiKey", value, check=False)
            if done.returncode != 0:
                # The value and the revision after it are two writes; the second may be what was refused.
                stored = self.session.ctl("get", "openaiKey")
                self.assertIn(stored, (acknowledged, value))
                return stored
            acknowledged = value
        return None

    def test_a_damaged_suite_on_a_full_disk_is_kept_until_there_is_room_for_its_copy(self):
        self.store_settings()
        self.bring_the_log_into_the_file()
        rubbish = b"no database " * 500
        self.path.write_bytes(rubbish)
        self.fill()
        kavrin = self.session.start_kavrin("--background", beats=False)
        message = self.refused("set", "rowH", "61")
        self.assertIn("damaged", message)
        self.assertEqual(self.path.read_bytes(), rubbish)
        self.assertEqual(list(self.folder.glob("*.damaged-*")), [])
        self.make_room()
        self.expect_service(kavrin)
        self.assertEqual([copy.read_bytes() for copy in self.folder.glob("*.damaged-*Z")], [rubbish])


class ReadOnly(SuiteTest):
    def expect_to_run_on_what_is_there(self, read_only):
        """Kavrin started where nothing can be written reads, refuses to write, and writes once it can."""
        make_read_only(read_only)
        kavrin = self.session.start_kavrin("--background", beats=False)
        self.assertEqual(self.session.http("/get")["transcript"], "said before")
        self.expect_settings()
        self.assertEqual(self.session.http("/cmd?v=start"), {"ok": True})
        message = self.refused("set", "rowH", "61")
        self.assertIn("cannot be written to", message)
        self.assertIn("Make both writable", message)
        self.assertIn(str(self.path), message)
        self.expect_settings()
        undo_mount(read_only)
        self.expect_service(kavrin)
        self.expect_settings()
        self.session.ctl("set", "rowH", "61")
        self.assertEqual(self.session.ctl("get", "rowH"), "61")

    def test_a_read_only_folder(self):
        self.store_settings()
        self.bring_the_log_into_the_file()
        self.expect_to_run_on_what_is_there(self.folder)

    def test_a_read_only_folder_with_a_log(self):
        self.store_settings()
        self.assertGreater(self.log.stat().st_size, 0)
        self.expect_to_run_on_what_is_there(self.folder)

    def test_a_read_only_file(self):
        self.store_settings()
        self.expect_to_run_on_what_is_there(self.path)

    def test_a_folder_that_became_writable_gets_its_suite_without_a_restart(self):
        self.folder.mkdir(mode=0o700, parents=True)
        make_read_only(self.folder)
        kavrin = self.session.start_kavrin("--background", beats=False)
        self.assertEqual(self.session.http("/get"), {})
        self.refused("set", "rowH", "61")
        undo_mount(self.folder)
        self.expect_service(kavrin)


UNCOMMITTED = "INSERT INTO defaults VALUES ('org.example.uncommitted', 'int', 1)"


class Locked(SuiteTest):
    def setUp(self):
        super().setUp()
        self.store_settings()

    def test_reading_goes_on_and_a_write_waits_for_a_lock_that_is_held_for_seconds(self):
        kavrin = self.session.start_kavrin("--background")
        for begin in ("BEGIN IMMEDIATE", "BEGIN EXCLUSIVE"):
            with self.subTest(begin):
                with Holder(self.path, begin, UNCOMMITTED):
                    write = self.session.start(self.session.bin / "kavrinctl", "set", "openaiKey", begin)
                    time.sleep(2)  # the lock is held that long
                    self.expect_settings()
                    self.assertEqual(self.session.http("/get")["transcript"], "said before")
                    self.assertIsNone(write.poll())
                self.assertEqual(write.wait(30), 0)
                self.assertEqual(self.session.ctl("get", "openaiKey"), begin)
                self.expect_service(kavrin)
                self.assertIsNone(Suite(self.path).get("org.example.uncommitted"))

    def test_a_lock_held_beyond_the_limit_is_explained_and_nothing_is_lost(self):
        kavrin = self.session.start_kavrin("--background")
        with Holder(self.path, "BEGIN IMMEDIATE", UNCOMMITTED):
            commands = ("set", "rowH", "61"), ("reset", "--all"), ("tools", "set", "gif,emoji", "gif")
            refused = [self.session.start(self.session.bin / "kavrinctl", *arguments, stderr=subprocess.PIPE)
                       for arguments in commands]
            for write in refused:
                _, message = write.communicate()
                self.assertEqual(write.returncode, 1)
                self.assertIn("another program keeps the file locked", message)
                self.assertIn("try again", message)
            self.expect_settings()
        self.expect_service(kavrin)
        self.expect_settings()
        self.session.ctl("set", "rowH", "61")
        self.assertEqual(self.session.ctl("get", "rowH"), "61")

    def test_a_file_that_another_process_has_for_itself_is_served_once_that_has_ended(self):
        with Holder(self.path, "PRAGMA locking_mode = EXCLUSIVE", "BEGIN EXCLUSIVE", UNCOMMITTED):
            kavrin = self.session.start(self.session.bin / "kavrin", stdout=None)
            wait_until(self.http_answers, "Kavrin answers")
            self.assertEqual(self.session.http("/get"), {})
            self.assertEqual(self.session.http("/cmd?v=stop"), {"ok": True})
        self.expect_service(kavrin)
        self.expect_settings()

    def test_the_bus_answers_while_a_suite_that_takes_the_place_of_another_is_locked(self):
        kavrin = self.session.start_kavrin("--background")
        bus = Bus(self.session)
        new = self.path.with_name("new.sqlite")
        for begin in ("BEGIN IMMEDIATE", "BEGIN EXCLUSIVE"):
            with self.subTest(begin), Holder(new, begin):
                other = self.enterContext(contextlib.closing(self.open_patiently(new)))
                waiting = threading.Thread(target=self.wait_for_lock, args=(other,))
                waiting.start()
                self.replace_suite(new, kavrin)
                reading = threading.Thread(target=self.session.http, args=("/get",))
                reading.start()
                while reading.is_alive():
                    self.assertEqual(bus.call(*DICTATION, "State"), ("idle",))
                self.assertEqual(bus.call(*DICTATION, "State"), ("idle",))
                self.assertTrue(waiting.is_alive(), "the lock is held, and another program still waits")
                waiting.join()
            self.expect_service(kavrin)

    def open_patiently(self, path):
        """With a patience a little shorter than Kavrin's to write."""
        return sqlite3.connect(path, isolation_level=None, timeout=4, check_same_thread=False)

    def wait_for_lock(self, database):
        self.assertRaises(sqlite3.OperationalError, database.execute, "BEGIN IMMEDIATE")

    def replace_suite(self, new, kavrin):
        """With a file that holds nothing yet. Kavrin does not get to see it half done."""
        kavrin.send_signal(signal.SIGSTOP)
        for path in self.folder.glob("defaults.sqlite-*"):
            path.unlink()
        new.rename(self.path)
        kavrin.send_signal(signal.SIGCONT)

    def http_answers(self):
        with contextlib.suppress(OSError):
            return self.session.http("/nowhere") == {}


def nested_list(depth):
    """A binary property list of arrays in arrays."""
    objects = [b"\xa1" + struct.pack(">I", number + 1) for number in range(depth - 1)] + [b"\xa0"]
    return binary_list(objects, 4)


def doubling_list(levels):
    """A binary property list of a hundred bytes that stands for 2 to the power of `levels` arrays."""
    return binary_list([bytes((0xA2, number + 1, number + 1)) for number in range(levels - 1)] + [b"\xa0"], 1)


def binary_list(objects, reference_size):
    offsets = itertools.accumulate(map(len, objects[:-1]), initial=8)
    body = b"bplist00" + b"".join(objects)
    table = b"".join(struct.pack(">I", offset) for offset in offsets)
    return body + table + struct.pack(">6xBBQQQ", 4, reference_size, len(objects), 0, len(body))


NOT_THERE = object()
ARRAY = binary_list([b"\xa1\x01", b"\x51x"], 1)
DICT = binary_list([b"\xd1\x01\x02", b"\x51k", b"\x51x"], 1)

# A type, a value, and what /get says of it: NOT_THERE for a row that counts as absent, None where the value cannot be
# said in JSON, so that nothing can.
ROWS = (
    ("bool", 1, True),
    ("int", 7, 7),
    ("double", 2.5, 2.5),
    ("string", "x", "x"),
    ("date", 1766310000.5, None),
    ("data", b"x", None),
    ("array", ARRAY, ["x"]),
    ("dict", DICT, {"k": "x"}),
    ("bool", "start", NOT_THERE),
    ("int", 2.5, NOT_THERE),
    ("double", "start", NOT_THERE),
    ("string", 7, NOT_THERE),
    ("string", b"start", NOT_THERE),
    ("date", "start", NOT_THERE),
    ("data", "start", NOT_THERE),
    ("array", DICT, NOT_THERE),
    ("array", nested_list(200_000), NOT_THERE),
    ("array", doubling_list(40), NOT_THERE),
    ("dict", b"bplist00", NOT_THERE),
    ("dict", b"", NOT_THERE),
)

# What a setting reads where it is not its default; a choice and a text take any string.
SETTINGS_READ = {
    "numberRow": {("bool", 1): "true"},
    "rowH": {("bool", 1): "1", ("int", 7): "7", ("double", 2.5): "2.5"},
    "provider": {("string", "x"): "x"},
    "customModel": {("string", "x"): "x"},
}


class UnexpectedTypes(SuiteTest):
    def label(self, kind, value):
        return f"{kind} {value[:20]!r}" if isinstance(value, (bytes, str)) else f"{kind} {value!r}"

    def stored(self, suite, key):
        return suite.database.execute("SELECT type, value FROM defaults WHERE key = ?", (key,)).fetchone()

    def test_dictation_keys_of_every_type_are_answered_and_left(self):
        kavrin = self.session.start_kavrin("--background")
        suite = self.session.suite()
        for kind, value, said in ROWS:
            with self.subTest(self.label(kind, value)):
                for key in DICTATION_KEYS:
                    suite.set(key, kind, value)
                answer = self.session.http("/get")
                wait_until(lambda: self.stored(suite, "dictationAlive") not in ((kind, value), None), "a beat")
                self.assertEqual(self.stored(suite, "dictationCommand"), (kind, value))
                expected = {} if said in (None, NOT_THERE) else {"transcript": said, "tUsed": said}
                self.assertEqual({key: answer[key] for key in ("transcript", "tUsed") if key in answer}, expected)
        self.expect_service(kavrin)

    def test_settings_of_every_type_read_their_defaults_where_they_are_not_of_theirs(self):
        defaults = {key: self.session.ctl("get", key) for key in SETTINGS_READ}
        suite = self.session.suite()
        for kind, value, _ in ROWS:
            with self.subTest(self.label(kind, value)):
                for key in SETTINGS_READ:
                    suite.set(key, kind, value)
                for key, read in SETTINGS_READ.items():
                    self.assertEqual(self.session.ctl("get", key), read.get((kind, value), defaults[key]))
                    self.assertEqual(self.stored(suite, key), (kind, value))


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
