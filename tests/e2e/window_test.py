# SPDX-License-Identifier: MIT
"""The window as a person leaves it and finds it again."""

import pathlib
import unittest

from support.private_session import enter_private_namespaces, wait_until
from support.screen_reader import Window, WindowSession


class WindowCase(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(WindowSession())
        self.state = pathlib.Path(self.session.env["HOME"]) / ".local" / "state" / "kavrin" / "window.ini"

    def open(self, *arguments):
        self.window = Window(self.session, self.session.start_kavrin(*arguments))
        self.session.focus_window(self.window.process)

    def close(self):
        self.session.close_window(self.window.process)
        self.assertEqual(self.window.process.wait(), 0)

    def size(self):
        lines = self.session.run("xdotool", "getwindowgeometry", "--shell",
                                 self.session.window_number(self.window.process)).stdout.splitlines()
        values = dict(line.split("=") for line in lines)
        return int(values["WIDTH"]), int(values["HEIGHT"])

    def resize(self, *size):
        self.session.run("xdotool", "windowsize", self.session.window_number(self.window.process), *size)
        wait_until(lambda: self.size() == size, f"the window has the size {size}")


class ComesBack(WindowCase):
    def test_in_its_size_and_on_its_page(self):
        for size in ((500, 640), (900, 650)):
            with self.subTest(size):
                self.open()
                self.resize(*size)
                self.window.open_page("Gestures")
                self.close()
                self.open()
                self.window.wait_for_page("Gestures")
                self.assertEqual(self.size(), size)
                self.close()

    def test_in_the_size_that_it_is_told(self):
        self.open()
        self.close()
        self.open("-qwindowgeometry", "640x480+0+0")
        self.assertEqual(self.size(), (640, 480))

    def test_no_larger_than_the_screen(self):
        self.state.parent.mkdir(parents=True)
        self.state.write_text("[General]\nwidth=30000\nheight=20000\n")
        self.open()
        self.assertEqual(self.size(), (2048, 1536))

    def test_as_new_where_its_state_is_damaged_or_of_another_version(self):
        self.state.parent.mkdir(parents=True)
        for damage in (b"\0\xff garbage ]][[", b"[General]\npage=a page of tomorrow\nwidth=wide\nheight=-3\n"):
            with self.subTest(damage):
                self.state.write_bytes(damage)
                self.open()
                self.window.wait_for_page("Kavrin")
                self.assertEqual(self.size(), (420, 760))
                self.close()

    def test_as_new_where_nothing_can_be_kept(self):
        self.state.parent.parent.mkdir(parents=True)
        self.state.parent.write_text("no folder")
        self.open()
        self.window.open_page("Gestures")
        self.close()
        self.open()
        self.window.wait_for_page("Kavrin")


class Keys(WindowCase):
    def test_ctrl_w_closes_the_window(self):
        self.open()
        self.session.press_keys("ctrl+w")
        self.assertEqual(self.window.process.wait(30), 0)

    def test_ctrl_q_quits(self):
        self.open()
        self.session.press_keys("ctrl+q")
        self.assertEqual(self.window.process.wait(30), 0)

    def test_f1_shows_the_keys(self):
        self.open()
        self.session.press_keys("F1")
        self.window.wait_for_page("Help")
        self.window.find("Ctrl+W: Close the window", "label")

    def test_the_help_says_which_version_it_is(self):
        version = self.session.run(self.session.bin / "kavrin", "--version").stdout.split()[-1]
        self.open()
        self.window.open_page("Help")
        self.window.find(version + ": Version of Kavrin", "label")


class Search(WindowCase):
    def test_return_shows_the_row_that_was_found(self):
        for geometry in ("360x720+0+0", "1000x740+0+0"):
            with self.subTest(geometry):
                self.open("-qwindowgeometry", geometry)
                self.session.press_keys("ctrl+f")
                self.window.find("Search settings", "text")
                self.session.type("vibratoin")
                self.window.find("Haptics on key press", "list item")
                self.session.press_keys("Return")
                self.window.wait_for_page("Feedback")
                switch = self.window.find("Haptics on key press", "check box")
                wait_until(lambda: "focused" in switch.states, "the row has the keyboard")
                self.close()

    def test_typing_begins_it_and_escape_ends_it(self):
        self.open()
        self.window.wait_for_page("Kavrin")
        self.session.press_keys("space")
        self.session.type("dark")
        field = self.window.find("Search settings", "text")
        wait_until(lambda: field.text == "dark", "the text is that which was typed")
        self.session.press_keys("Escape")
        self.window.wait_for_page("Kavrin")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
