# SPDX-License-Identifier: MIT
"""What becomes of the shared suite when its files are damaged, and when keyboards are killed while they write: Kavrin
runs on, and nothing that was acknowledged is lost."""

import contextlib
import itertools
import json
import os
import random
import shutil
import signal
import sqlite3
import struct
import threading
import time
import unittest

from support.desktop import Bus, Notifications
from support.private_session import Failure, Suite, enter_private_namespaces, wait_until
from support.suite_case import SETTINGS, Holder, SuiteTest

FORMAT_NUMBER = range(60, 64)  # of the file; one that is not known is no damage
RUBBISH = (b"no database " * 500, bytes(100), b"no")  # nothing, and a single byte, SQLite takes for a new file


def seeded_random():
    """Random numbers, other ones every time; KAVRIN_TEST_SEED brings those of an earlier run back."""
    seed = int(os.environ.get("KAVRIN_TEST_SEED") or random.randrange(2 ** 32))
    print(f"KAVRIN_TEST_SEED={seed}", flush=True)
    return random.Random(seed)


class Damage(SuiteTest):
    PLACES = 100

    def copies(self):
        return [path for path in self.folder.glob("*.damaged-*") if not path.name.endswith("-wal")]

    def make_files(self, killed):
        """A suite with settings: one file, or a log beside it, as they are left by a Kavrin that was killed."""
        shutil.rmtree(self.folder, ignore_errors=True)
        self.store_settings()
        self.bring_the_log_into_the_file()
        if killed:
            kavrin = self.session.start_kavrin("--background")
            self.store_settings()
            self.session.end(kavrin)
        files = [self.path, self.log] if killed else [self.path]
        return {path: path.read_bytes() for path in files}

    def lay_out(self, files):
        shutil.rmtree(self.folder)
        self.folder.mkdir(mode=0o700)
        for path, content in files.items():
            path.write_bytes(content)
            path.chmod(0o600)

    def damaged(self, files, numbers):
        """The files with one byte changed, and where."""
        path = numbers.choice(list(files))
        content = bytearray(files[path])
        # Headers say more per byte than values do.
        place = self.place(path, numbers.choice((100, len(content))), numbers)
        content[place] ^= numbers.randrange(1, 256)
        return {**files, path: bytes(content)}, f"byte {place} of {path.name}"

    def place(self, path, end, numbers):
        return numbers.choice([at for at in range(end) if path == self.log or at not in FORMAT_NUMBER])

    def test_kavrin_starts_on_a_file_that_was_damaged_anywhere(self):
        numbers = seeded_random()
        for killed in (False, True):
            files = self.make_files(killed)
            for _ in range(self.PLACES // 2):
                damaged, where = self.damaged(files, numbers)
                with self.subTest(where):
                    self.lay_out(damaged)
                    self.expect_kavrin_works()
                    self.expect_copy_of(damaged, damaged[self.path] != files[self.path])

    def expect_kavrin_works(self):
        before = time.time()
        kavrin = self.session.start_kavrin("--background")
        wait_until(lambda: self.session.http("/get").get("dictationAlive", 0) > before, "a beat")
        self.session.ctl("set", "rowH", "61")
        self.assertEqual(self.session.ctl("get", "rowH"), "61")
        self.assertIsNone(kavrin.poll())
        self.session.end(kavrin)

    def expect_copy_of(self, damaged, is_in_the_database):
        """A file that was begun anew is kept beside it. (A damaged log is shorter to SQLite, and sound.)"""
        suite = Suite(self.path)
        suite.database.text_factory = bytes
        is_begun_anew = all(suite.get(key) is None for key in SETTINGS if key != "rowH")
        if is_in_the_database and is_begun_anew:
            self.assertEqual([copy.read_bytes() for copy in self.copies()], [damaged[self.path]])

    def test_kavrin_goes_on_when_the_file_is_damaged_anywhere_under_it(self):
        numbers = seeded_random()
        self.store_settings()
        kavrin = self.session.start_kavrin("--background")
        for _ in range(self.PLACES):
            path = numbers.choice((self.path, self.log))
            place = self.place(path, path.stat().st_size, numbers)
            with self.subTest(f"byte {place} of {path.name}"):
                with open(path, "r+b") as file:
                    byte = os.pread(file.fileno(), 1, place)[0]
                    os.pwrite(file.fileno(), bytes([byte ^ numbers.randrange(1, 256)]), place)
                wait_until(self.takes_a_command, "a command is taken")
        self.expect_service(kavrin)

    def takes_a_command(self):
        """False where the command went aside with the damaged file, before Kavrin had seen it."""
        self.session.ctl("defaults", "write", "dictationCommand", "--string", "stop")
        wait_until(lambda: self.stored_command() != '"stop"', "the command is gone")
        return self.stored_command() == '""'

    def stored_command(self):
        with contextlib.suppress(Failure):  # nothing is stored
            return self.session.ctl("defaults", "read", "dictationCommand")

    def test_kavrin_goes_on_when_the_file_is_overwritten_under_it(self):
        kavrin = self.session.start_kavrin("--background")
        for rubbish in RUBBISH:
            with self.subTest(rubbish[:12]):
                before = set(self.copies())
                self.overwrite(rubbish, kavrin)
                self.expect_service(kavrin)
                self.assertEqual([copy.read_bytes() for copy in set(self.copies()) - before], [rubbish])

    def overwrite(self, rubbish, kavrin):
        """Both files, one after the other, which Kavrin does not get to see half done."""
        kavrin.send_signal(signal.SIGSTOP)
        for path in (self.path, self.log):
            path.write_bytes(rubbish)
        kavrin.send_signal(signal.SIGCONT)

    def test_kavrin_goes_on_when_the_file_is_overwritten_that_a_keyboard_has_open(self):
        kavrin = self.session.start_kavrin("--background")
        keyboard = Suite(self.path)
        self.assertIsNotNone(keyboard.get("dictationAlive"))
        for rubbish in RUBBISH:
            with self.subTest(rubbish[:12]):
                self.overwrite(rubbish, kavrin)
                self.expect_service(kavrin)
                keyboard.set("org.example.keyboard", "string", "still here")
                self.assertEqual(self.session.ctl("defaults", "read", "org.example.keyboard"), '"still here"')

    def test_the_user_is_told_where_the_copy_is(self):
        notifications = Notifications(self.session, Bus(self.session))
        kavrin = self.session.start_kavrin("--background")
        self.overwrite(RUBBISH[0], kavrin)
        wait_until(notifications.shown, "a notification")
        (title, text), = notifications.shown()
        self.assertEqual(title, "Settings")
        self.assertIn(str(self.copies()[0]), text)

        self.session.end(kavrin)
        before = self.copies()
        self.path.write_bytes(RUBBISH[0])
        said = self.session.run(self.session.bin / "kavrinctl", "get", "rowH").stderr
        copy, = set(self.copies()) - set(before)
        self.assertIn(str(copy), said)

    def test_a_log_that_is_removed_under_kavrin_takes_nothing_along(self):
        self.store_settings()
        kavrin = self.session.start_kavrin("--background")
        for height in ("56", "57", "58", "59", "60"):
            with self.subTest(height):
                self.session.ctl("set", "rowH", height)
                self.log.unlink()
                self.assertEqual(self.session.ctl("get", "rowH"), height)
        self.expect_settings()
        self.expect_service(kavrin)
        self.assertEqual(self.copies(), [])

    def test_a_file_of_another_format_is_left_alone_and_kavrin_serves_http(self):
        self.store_settings()
        with Holder(self.path, "PRAGMA user_version = 2"):
            pass  # killed, so that the number is in the log
        content = self.path.read_bytes(), self.log.read_bytes()
        kavrin = self.session.start_kavrin("--background")
        wait_until(lambda: "dictationAlive" in self.session.http("/get"), "a beat")
        self.expect_command_over_http_taken()
        self.assertIsNone(kavrin.poll())
        self.assertEqual((self.path.read_bytes(), self.log.read_bytes()), content)
        self.assertFalse(json.loads(self.session.ctl("where", "--json"))["shared"])


class Killed(SuiteTest):
    """Keyboards that are killed while they write, one after another, while Kavrin and readers go on."""

    KILLS = 500
    NUMBERS_PER_ROUND = 1_000_000
    KEYS = [f"org.example.keyboard.{number}" for number in range(3)]

    def setUp(self):
        super().setUp()
        self.kavrin = self.session.start_kavrin("--background")
        self.numbers = seeded_random()
        self.done = threading.Event()
        self.problems = []

    def test_keyboards_with_our_library(self):
        program = self.session.bin.parent / "tests-bin" / "killed_writers"
        keyboards = self.session.start(program, self.KILLS, self.numbers.randrange(2 ** 32))
        self.check(keyboards.stdout.fileno())
        self.assertEqual(keyboards.wait(), 0)

    def test_keyboards_with_plain_sqlite(self):
        read, write = os.pipe()
        keyboards = os.fork()
        if keyboards == 0:
            with contextlib.suppress(BaseException):
                os.close(read)
                self.write_and_kill(write)
                os._exit(0)
            os._exit(1)
        os.close(write)
        self.check(read)
        self.assertEqual(os.waitpid(keyboards, 0)[1], 0)
        os.close(read)

    def write_and_kill(self, acknowledgements):
        for round_ in range(self.KILLS):
            keyboard = os.fork()
            if keyboard == 0:
                with contextlib.suppress(BaseException):
                    self.write_until_killed(round_ * self.NUMBERS_PER_ROUND, acknowledgements)
                os._exit(1)
            time.sleep(self.numbers.uniform(0, 0.02))
            os.kill(keyboard, signal.SIGKILL)
            if not os.WIFSIGNALED(os.waitpid(keyboard, 0)[1]):
                raise RuntimeError("a keyboard could not write")

    def write_until_killed(self, first, acknowledgements):
        suite = Suite(self.path)
        for number in itertools.count(first):
            suite.set(self.KEYS[number % len(self.KEYS)], "string", f"{number} " * 300)
            os.write(acknowledgements, struct.pack("q", number))

    def check(self, acknowledgements):
        threads = [threading.Thread(target=target) for target in (self.read_values, self.command, self.ask)]
        for thread in threads:
            thread.start()
        try:
            last, count = self.last_acknowledged(acknowledgements)
        finally:
            self.done.set()
            for thread in threads:
                thread.join()
        print(f"{self.KILLS} keyboards killed, {count} writes acknowledged", flush=True)
        self.assertEqual(self.problems, [])
        self.assertEqual(len(last), len(self.KEYS))
        suite = Suite(self.path)
        for key, number in last.items():
            self.assertGreaterEqual(self.number_in(suite.get(key)), number)
        self.expect_service(self.kavrin)
        self.assertEqual(suite.database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])
        self.assertEqual(list(self.folder.glob("*.damaged-*")), [])

    def last_acknowledged(self, acknowledgements):
        """The last number that was acknowledged for each key, when all keyboards have been killed. Each is in the suite
        at once."""
        suite = Suite(self.path)
        last = {}
        count = 0
        while content := os.read(acknowledgements, 8 * 100):
            for (number,) in struct.iter_unpack("q", content):
                last[self.KEYS[number % len(self.KEYS)]] = number
                count += 1
            for key, number in last.items():
                stored = self.number_in(suite.get(key))
                if stored < number:
                    self.problems.append(f"{number} is lost, {stored} is there")
        return last, count

    def number_in(self, value):
        """The number that a value says over and over."""
        number, _, _ = value.partition(" ")
        if value != f"{number} " * 300:
            self.problems.append(f"torn: {value[:50]!r}")
        return int(number)

    # What goes on meanwhile, in threads

    def until_done(self, action):
        while not self.done.wait(0.002):
            try:
                action()
            except (OSError, ValueError, TimeoutError, sqlite3.Error) as error:
                self.problems.append(repr(error))

    def read_values(self):
        suite = Suite(self.path)

        def read():
            for key in self.KEYS:
                if value := suite.get(key):
                    self.number_in(value)

        self.until_done(read)

    def command(self):
        suite = Suite(self.path)

        def command():
            suite.set("dictationCommand", "string", "stop")
            suite.wait_for("dictationCommand", "")

        self.until_done(command)

    def ask(self):
        def ask():
            if self.session.http("/get")["dictationAlive"] < time.time() - 60:
                self.problems.append("the heart has stopped")

        self.until_done(ask)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
