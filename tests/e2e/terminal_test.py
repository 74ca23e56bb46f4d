# SPDX-License-Identifier: MIT
"""kavrinctl at a terminal: it asks for keys, and shows nothing of them."""

import fcntl
import os
import pty
import signal
import subprocess
import termios
import unittest

from support.private_session import PrivateSession, wait_until

KEY = "sk-typed-4711"
PROMPT = "openaiKey: "


class Terminal:
    """A program that has a terminal of its own as its standard input and output."""

    def __init__(self, env, *command):
        self.keyboard, screen = pty.openpty()
        os.set_blocking(self.keyboard, False)
        self.text = ""
        self.process = subprocess.Popen(command, env=env, stdin=screen, stdout=screen, stderr=screen,
                                        start_new_session=True,
                                        preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.screen = screen  # kept open, so that the terminal is there after the program

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.keyboard)
        os.close(self.screen)

    def shown(self):
        try:
            self.text += os.read(self.keyboard, 4096).decode()
        except BlockingIOError:
            pass
        return self.text

    def type(self, text):
        os.write(self.keyboard, text.encode())

    def shows_typing(self):
        return bool(termios.tcgetattr(self.screen)[3] & termios.ECHO)


class AskingForAKey(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.session.ctl("set", "openaiKey", "sk-before")
        self.terminal = self.enterContext(
            Terminal(self.session.env, self.session.bin / "kavrinctl", "set", "openaiKey", "-"))
        wait_until(lambda: PROMPT in self.terminal.shown(), "the question")

    def test_the_answer_is_stored_and_not_shown(self):
        self.terminal.type(f"{KEY}\n")
        self.assertEqual(self.terminal.process.wait(30), 0)
        self.assertEqual(self.terminal.shown(), f"{PROMPT}\r\n")
        self.assertEqual(self.session.ctl("get", "openaiKey"), KEY)
        self.assertTrue(self.terminal.shows_typing())

    def test_no_answer_changes_nothing(self):
        self.terminal.type("\n")
        self.assertEqual(self.terminal.process.wait(30), 1)
        self.assertIn("Nothing was entered", self.terminal.shown())
        self.assertEqual(self.session.ctl("get", "openaiKey"), "sk-before")

    def test_the_end_of_the_input_changes_nothing(self):
        self.terminal.type("\x04")
        self.assertEqual(self.terminal.process.wait(30), 1)
        self.assertEqual(self.session.ctl("get", "openaiKey"), "sk-before")

    def test_giving_up_leaves_a_terminal_that_shows_what_is_typed(self):
        self.assertFalse(self.terminal.shows_typing())
        self.terminal.type("sk-half\x03")
        self.assertEqual(self.terminal.process.wait(30), -signal.SIGINT)
        self.assertTrue(self.terminal.shows_typing())
        self.assertNotIn("half", self.terminal.shown())
        self.assertEqual(self.session.ctl("get", "openaiKey"), "sk-before")


if __name__ == "__main__":
    unittest.main(verbosity=2)
