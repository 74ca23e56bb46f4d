# SPDX-License-Identifier: MIT
"""Moments in which the shared suite takes nothing, as every process of the soak is to know them."""

import multiprocessing
import sys
import threading
import unittest

from support.private_session import Suite, fill, small_disk, undo_mount

_DISK = 16 * 1024 * 1024  # bytes: more than the suite and its log ever need
_LOCK = """
import sqlite3, sys, time
suite = sqlite3.connect(sys.argv[1], isolation_level=None, timeout=30)
suite.execute("BEGIN IMMEDIATE")
print(flush=True)
time.sleep(float(sys.argv[2]))
"""


class Disk:
    """A small disk for the suite. Use it in a `with` statement."""

    def __init__(self, session):
        self._folder = session.folder / "home/data"
        self.refusal = ""  # why there is none

    def __enter__(self):
        try:
            small_disk(self._folder, _DISK)
        except unittest.SkipTest as skip:
            self.refusal = str(skip)
        return self

    def __exit__(self, *_):
        if not self.refusal:
            undo_mount(self._folder)

    def fill(self):
        """Returns the file that takes all the room."""
        return fill(self._folder)


class Troubles:
    """One at a time. It is over by itself after some seconds."""

    def __init__(self, session, path, disk):
        self.path = path
        self._session = session
        self._disk = disk
        self._changes = multiprocessing.get_context("fork").Value("i", 0)  # odd while there is trouble
        self._wait = lambda: None

    def open(self):
        """The suite, as a keyboard opens it."""
        return Suite(self.path)

    def lock(self, seconds):
        """Another program is about to write and takes its time."""
        self._changes.value += 1
        holder = self._session.start(sys.executable, "-c", _LOCK, self.path, seconds)
        holder.stdout.readline()
        self._wait = lambda: (holder.wait(), self._session.end(holder))

    def fill(self, seconds):
        """There is no room on the disk."""
        self._changes.value += 1
        filled = self._disk.fill()
        timer = threading.Timer(seconds, filled.unlink)
        timer.start()
        self._wait = timer.join

    def wait_until_over(self):
        self._wait()
        self._wait = lambda: None
        self._changes.value += self._changes.value % 2

    def mark(self):
        """The present moment, for were_there_since()."""
        return self._changes.value

    def were_there_since(self, mark):
        return mark % 2 == 1 or self._changes.value != mark
