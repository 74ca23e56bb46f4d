# SPDX-License-Identifier: MIT
"""A terminal window to type into, and when each part of the text came."""

import subprocess
import sys

from support.private_session import wait_until

# A terminal program that notes how many bytes have come, and when.
_NOTER = """
import os, sys, time, tty
tty.setraw(0)
total = 0
with open(sys.argv[1], "w", buffering=1) as seen:
    while part := os.read(0, 4096):
        total += len(part)
        print(total, time.monotonic(), file=seen)
"""


class TerminalField:
    """A terminal that has the focus."""

    def __init__(self, session, *terminal):
        self._file = session.folder / "seen"
        self._length = 0
        session.start(*terminal, sys.executable, "-c", _NOTER, self._file, stderr=subprocess.DEVNULL)
        wait_until(self._file.exists, "the terminal runs its program")

    @classmethod
    def under_x11(cls, session):
        field = cls(session, "xterm", "-u8", "-e")
        search = ("xdotool", "search", "--onlyvisible", "--class", "xterm")
        window = wait_until(lambda: session.run(*search, check=False).stdout.strip(), "the terminal is shown")
        session.run("xdotool", "windowfocus", "--sync", window)
        return field

    def time_of_next_text(self, text):
        """When the last character of it came, in seconds of the monotonic clock."""
        self._length += len(text.encode())

        def came():
            lines = [line.split() for line in self._file.read_text(encoding="ascii").splitlines(keepends=True)
                     if line.endswith("\n")]
            return next((float(moment) for total, moment in lines if int(total) >= self._length), None)

        return wait_until(came, "the text is typed")
