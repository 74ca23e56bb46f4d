# SPDX-License-Identifier: MIT
"""The window where something that it needs is missing: it opens, does all that can be done, and says what cannot."""

import signal
import unittest

from support.private_session import (SPEECH, enter_private_namespaces, fill, make_read_only, small_disk, undo_mount,
                                     wait_until)
from support.screen_reader import WindowSession
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"


DICTIONARY = ("Personal dictionary & shortcuts", "Dictionary")  # the page's row, and its title


class Hardship(unittest.TestCase):
    def open_window(self, session, beats=True):
        self.session = session
        self.window = session.open_window(beats=beats)

    def assert_ends(self, process):
        """A termination ends it as ever."""
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(10), 0)

    def open_dictation(self):
        self.window.open_page("Voice typing")
        self.window.find("Test voice typing", "push button").press()
        self.window.find("Dictation", "dialog")

    def close_dictation(self):
        self.window.find("Close", "push button").press()
        self.window.wait_until_gone("Dictation", "dialog")
        self.window.go_back()

    def labels(self):
        """What the page that is shown says."""
        return [element.name for element in self.window.pages()[0].below()]

    def assert_every_page_opens(self):
        buttons = [element.name for element in self.window.pages()[0].below() if element.role == "push button"]
        links = buttons[buttons.index("Layout"):][:12]
        self.assertEqual(links[-1], "Personal dictionary & shortcuts")
        for link in links:
            self.window.open_page(link, "Dictionary" if link.startswith("Personal") else link)
            self.window.go_back()


class SoundServer(Hardship):
    def test_without_one_the_dictation_screen_says_so_and_closes(self):
        self.open_window(self.enterContext(WindowSession(sound=False)))
        self.open_dictation()
        message = wait_until(self.failure, "the screen says what is wrong")
        self.assertIn("sound server", message)
        self.assertIsNone(self.window.look("Stop", "push button"))
        self.assertEqual(self.session.suite().get("dictationState"), "starting")
        self.close_dictation()
        self.assert_every_page_opens()
        self.assert_ends(self.window.process)

    def failure(self):
        return next((element.name for element in self.window.find("Dictation", "dialog").below()
                     if element.role == "label" and element.name.startswith("Recording failed: ")), None)

    def test_one_that_comes_later_is_used(self):
        self.open_window(self.enterContext(WindowSession(sound=False)))
        self.session.start_speech_service()
        self.open_dictation()
        wait_until(self.failure, "the screen says what is wrong")
        self.close_dictation()
        self.session.start_sound_server()
        self.open_dictation()
        self.window.find("Stop", "push button")
        self.session.play(CLIP)
        self.window.find("Stop", "push button").press()
        self.window.find(SPOKEN, "label")


class SessionBus(Hardship):
    def test_without_one_the_window_is_used_with_the_keyboard(self):
        session = self.enterContext(WindowSession())
        session.env["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={session.folder}/run/no-session-bus"
        process = session.start_kavrin()
        session.focus_window(process)
        suite = session.suite()
        session.type("key height")  # searches
        session.press_keys("Return")

        def moves_the_slider():
            session.press_keys("Right")
            return suite.get("rowH")

        wait_until(moves_the_slider, "the slider that was found is moved", interval=0.2)
        self.assert_ends(process)


class Home(Hardship):
    """A home that takes nothing any more: the screens say so, and show what is stored."""

    def notes(self):
        return [label for label in self.labels() if label.startswith("This could not be saved. ")]

    def assert_nothing_is_stored(self, change, shown):
        """After the change the page has one more note, and the same is shown again as before."""
        before, notes = shown(), len(self.notes())
        change()
        wait_until(lambda: len(self.notes()) == notes + 1, "a note says that it could not be saved")
        wait_until(lambda: shown() == before, f"{before} is shown again")

    def assert_controls_go_back(self):
        self.window.open_page("Layout")
        toggle = self.window.find("Number row", "check box")
        self.assert_nothing_is_stored(toggle.press, lambda: "checked" in toggle.states)
        slider = self.window.find("Key height", "slider")
        self.assert_nothing_is_stored(lambda: slider.do("Increase"), lambda: (slider.description, slider.value))
        choice = self.window.find("Key hints", "combo box")
        self.assert_nothing_is_stored(lambda: self.window.choose("Key hints", "Numbers"), lambda: choice.description)

        self.window.open_page("Reorder & hide toolbar icons", "Toolbar icons")
        handle = self.window.find("Move Clipboard", "slider")
        self.assert_nothing_is_stored(lambda: handle.do("Increase"), lambda: (handle.description, handle.value))
        self.window.go_back("Layout")
        self.window.go_back()

    def assert_what_is_typed_is_kept(self, page, name):
        self.window.open_page(*page)
        field = self.window.find(name, "text")
        self.window.fill(field, "abc")
        wait_until(self.notes, "a note says that it could not be saved")
        wait_until(lambda: field.text == "abc", "the text is kept")
        self.window.go_back()

    def assert_the_dictionary_takes_no_text(self):
        """Nobody knows what is in it, so an edit could lose that."""
        self.window.open_page(*DICTIONARY)
        field = self.window.find("Dictionary", "text")
        wait_until(lambda: any(label.startswith("This could not be read. ") for label in self.labels()), "a note says so")
        self.window.fill(field, "abc")
        self.assertEqual((field.text, self.notes()), ("", []))
        self.window.go_back()

    def assert_reset_is_refused(self):
        self.window.open_page("Backup & reset")
        self.window.find("Reset all settings", "push button").press()
        wait_until(lambda: any(label.startswith("Nothing was reset. ") for label in self.labels()), "a note says so")
        self.window.go_back()

    def test_that_is_read_only_keeps_what_was_stored(self):
        session = self.enterContext(WindowSession(sound=True))
        session.ctl("set", "rowH", "61")
        session.start_speech_service()
        home = session.folder / "home"
        make_read_only(home)
        self.addCleanup(undo_mount, home)
        self.open_window(session, beats=False)
        self.assert_every_page_opens()

        self.window.open_page("Layout")
        self.assertEqual(self.window.find("Key height", "slider").description, "61 pt")
        self.window.go_back()
        self.assert_controls_go_back()
        self.assert_what_is_typed_is_kept(("Extensions",), "Search engine ID (cx)")
        self.assert_what_is_typed_is_kept(DICTIONARY, "Dictionary")
        self.assert_reset_is_refused()
        self.assertEqual(session.ctl("get", "rowH"), "61")

        self.open_dictation()
        self.window.find("Stop", "push button")
        session.play(CLIP)
        self.window.find("Stop", "push button").press()
        self.window.find(SPOKEN, "label")
        self.assertEqual(session.clipboard(), SPOKEN)
        self.close_dictation()
        self.assert_ends(self.window.process)

    def test_that_was_full_from_the_beginning_shows_the_defaults(self):
        session = self.enterContext(WindowSession(sound=True))
        home = session.folder / "home"
        small_disk(home, 64 * 1024)
        self.addCleanup(undo_mount, home)
        fill(home)
        self.open_window(session, beats=False)
        self.assert_every_page_opens()
        self.assert_controls_go_back()
        self.assert_what_is_typed_is_kept(("Extensions",), "Search engine ID (cx)")
        self.assert_the_dictionary_takes_no_text()
        self.assert_reset_is_refused()
        self.open_dictation()
        self.window.find("Stop", "push button")
        self.close_dictation()
        self.assert_ends(self.window.process)

    def test_that_becomes_full_tells_what_is_stored_and_goes_on_once_there_is_room(self):
        session = self.enterContext(WindowSession())
        home = session.folder / "home"
        small_disk(home, 8 * 1024 * 1024)
        self.addCleanup(undo_mount, home)
        self.open_window(session)
        suite = session.suite()
        self.window.open_page("Layout")
        toggle = self.window.find("Number row", "check box")
        filled = fill(home)

        # Room that the database has made for itself may still take it.
        toggle.press()
        wait_until(lambda: self.notes() or suite.get("numberRow"), "it is stored, or a note says that it is not")
        wait_until(lambda: ("checked" in toggle.states) == bool(suite.get("numberRow")), "what is stored is shown")

        filled.unlink()
        on = "checked" not in toggle.states
        toggle.press()
        suite.wait_for("numberRow", int(on))
        wait_until(lambda: not self.notes(), "the note is gone")
        self.assertEqual("checked" in toggle.states, on)
        self.assert_ends(self.window.process)


class Closing(Hardship):
    def test_the_window_closed_by_its_user_ends_it_and_each_appearance_is_stamped(self):
        session = self.enterContext(WindowSession())
        stamps = []
        for _ in range(2):
            self.open_window(session)
            stamps.append(session.suite().get("probeApp"))
            session.close_window(self.window.process)
            self.assertEqual(self.window.process.wait(10), 0)
        self.assertLess(*stamps)

    def test_the_window_closed_while_recording_ends_it(self):
        self.open_window(self.enterContext(WindowSession(sound=True)))
        self.open_dictation()
        self.window.find("Stop", "push button")
        self.session.close_window(self.window.process)
        self.assertEqual(self.window.process.wait(10), 0)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
