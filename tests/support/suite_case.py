# SPDX-License-Identifier: MIT
"""What the tests of the shared suite have in common."""

import contextlib
import os
import signal
import sqlite3
import unittest

from support.private_session import PrivateSession, Suite, wait_until

SETTINGS = {"rowH": "60", "numberRow": "true", "provider": "custom", "customModel": "whisper-large"}


class SuiteTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.folder = self.session.folder / "home/data/app-groups/group.app.kavrin.shared"
        self.path = self.folder / "defaults.sqlite"
        self.log = self.folder / "defaults.sqlite-wal"

    def refused(self, *arguments):
        """What kavrinctl says when it refuses."""
        done = self.session.run(self.session.bin / "kavrinctl", *arguments, check=False)
        self.assertEqual(done.returncode, 1, done.stderr)
        return done.stderr

    def store_settings(self):
        for key, value in SETTINGS.items():
            self.session.ctl("set", key, value)
        self.session.ctl("defaults", "write", "transcript", "--string", "said before")

    def bring_the_log_into_the_file(self):
        """As the last of those who have the file open does when it closes it; kavrinctl leaves its log."""
        suite = Suite(self.path)
        suite.get("rowH")
        suite.database.close()
        self.assertFalse(self.log.exists())

    def expect_settings(self):
        for key, value in SETTINGS.items():
            self.assertEqual(self.session.ctl("get", key), value)

    def expect_service(self, kavrin):
        """Kavrin runs, beats, takes commands over both ways and answers."""
        beat = self.beat()
        wait_until(lambda: self.beat() != beat, "another beat")
        self.expect_command_taken()
        self.expect_command_over_http_taken()
        self.assertIsNone(kavrin.poll())

    def beat(self):
        return self.session.http("/get").get("dictationAlive")

    def expect_command_taken(self):
        self.session.ctl("defaults", "write", "dictationCommand", "--string", "stop")
        wait_until(self.command_is_taken, "the command from the suite is taken")

    def expect_command_over_http_taken(self):
        self.assertEqual(self.session.http("/cmd?v=stop"), {"ok": True})
        wait_until(self.command_is_taken, "the command over HTTP is taken")

    def command_is_taken(self):
        return self.session.ctl("defaults", "read", "dictationCommand") == '""'


class Holder:
    """Another process that keeps the suite locked, with a write of its own not yet committed."""

    def __init__(self, path, *statements):
        read, write = os.pipe()
        self.pid = os.fork()
        if self.pid == 0:
            with contextlib.suppress(BaseException):
                database = sqlite3.connect(path, isolation_level=None, timeout=30)
                for statement in statements:
                    database.execute(statement)
                os.write(write, b"x")
                signal.pause()
            os._exit(1)
        os.close(write)
        with os.fdopen(read, "rb") as held:
            if not held.read(1):
                raise RuntimeError("the suite could not be locked")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.pid:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
            self.pid = 0
