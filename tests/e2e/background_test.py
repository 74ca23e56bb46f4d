# SPDX-License-Identifier: MIT
"""Life without a window: the tray, launches by a bus, and actions."""

import os
import re
import signal
import unittest

from support.desktop import APPLICATION, Bus, Tray
from support.private_session import ROOT, SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.screen_reader import WindowSession
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
MESSAGE = "Your Hazel Bank code is 482 913. Do not share it."


class Background(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(WindowSession(sound=True))
        self.bus = Bus(self.session)
        self.suite = self.session.suite()

    def start_tray(self):
        tray = Tray(self.session, self.bus)
        self.addCleanup(tray.end)
        return tray

    def record_on_the_screen(self):
        """Opens the window and its dictation screen, which records at once; returns the window."""
        window = self.session.open_window()
        window.open_page("Voice typing")
        window.find("Test voice typing", "push button").press()
        self.suite.wait_for("dictationState", "recording")
        return window

    def has_window(self, process):
        search = ("xdotool", "search", "--onlyvisible", "--pid", str(process.pid), "--name", "^Kavrin$")
        return bool(self.session.run(*search, check=False).stdout.strip())

    def beats(self):
        before = self.suite.get("dictationAlive")
        return wait_until(lambda: self.suite.get("dictationAlive") != before, "a beat")


class Window(Background):
    def test_in_the_background_it_serves_and_opens_no_window(self):
        kavrin = self.session.start_kavrin("--background")
        self.assertTrue(self.beats())
        self.assertFalse(self.has_window(kavrin))
        self.assertIsNone(self.suite.get("probeApp"))

    def test_a_launch_opens_the_window_of_the_one_in_the_background(self):
        kavrin = self.session.start_kavrin("--background")
        self.session.run(self.session.bin / "kavrin")
        wait_until(lambda: self.has_window(kavrin), "the window is shown")
        self.assertIsNotNone(self.suite.get("probeApp"))

    def test_a_second_one_in_the_background_leaves_the_first_as_it_is(self):
        kavrin = self.session.start_kavrin("--background")
        self.session.run(self.session.bin / "kavrin", "--background")
        self.assertTrue(self.beats())
        self.assertFalse(self.has_window(kavrin))

    def test_closing_the_window_without_a_tray_ends_it(self):
        kavrin = self.session.open_window().process
        self.session.close_window(kavrin)
        self.assertEqual(kavrin.wait(10), 0)

    def test_a_launch_while_it_ends_begins_anew(self):
        first = self.session.open_window().process
        self.session.close_window(first)
        wait_until(lambda: not self.bus.has("app.kavrin.Kavrin"), "it is no instance any more")
        second = self.session.start_kavrin()
        wait_until(lambda: self.has_window(second), "the window is shown")
        self.assertTrue(self.beats())

    def test_closing_the_window_with_a_tray_leaves_it_serving(self):
        tray = self.start_tray()
        kavrin = self.session.open_window().process
        tray.item()
        self.session.close_window(kavrin)
        wait_until(lambda: not self.has_window(kavrin), "the window is gone")
        self.assertTrue(self.beats())

    def test_each_time_the_window_opens_the_keyboard_is_told(self):
        tray = self.start_tray()
        kavrin = self.session.open_window().process
        item = tray.item()
        stamps = [self.suite.get("probeApp")]
        for _ in range(2):
            self.session.close_window(kavrin)
            wait_until(lambda: not self.has_window(kavrin), "the window is gone")
            self.assertEqual(self.suite.get("probeApp"), stamps[-1])
            item.click()
            wait_until(lambda: self.has_window(kavrin), "the window is shown")
            stamps.append(self.suite.get("probeApp"))
        self.assertEqual(stamps, sorted(set(stamps)))

    def close_and_open_again(self, window, tray, meanwhile=lambda: None):
        item = tray.item()
        self.session.close_window(window.process)
        wait_until(lambda: not self.has_window(window.process), "the window is gone")
        meanwhile()
        item.click()
        self.session.focus_window(window.process)
        return type(window)(self.session, window.process)

    def test_the_window_that_opens_again_works(self):
        tray = self.start_tray()
        window = self.session.open_window()
        window.open_page("Layout")
        again = self.close_and_open_again(window, tray)
        again.wait_for_page("Layout")
        again.go_back()
        again.open_page("Voice typing")

    def test_a_closed_window_has_forgotten_the_keys_that_it_showed(self):
        self.session.ctl("set", "openaiKey", "sk-before")
        tray = self.start_tray()
        window = self.session.open_window()
        window.open_page("Voice typing")
        wait_until(lambda: window.find("API key", "text").text, "the key is shown")
        again = self.close_and_open_again(window, tray, lambda: self.suite.set("openaiKey", "string", ""))
        again.wait_for_page("Voice typing")
        again.find("Paste API key", "push button")

    def test_a_closed_window_offers_no_undo_any_more(self):
        self.session.ctl("set", "rowH", "60")
        tray = self.start_tray()
        window = self.session.open_window()
        window.open_page("Backup & reset")
        window.find("Reset all settings", "push button").press()
        window.find("Undo", "push button")
        again = self.close_and_open_again(window, tray)
        again.wait_for_page("Backup & reset")
        self.assertIsNone(again.look("Undo", "push button"))

    def test_closing_the_window_over_a_recording_drops_what_was_said(self):
        tray = self.start_tray()
        window = self.record_on_the_screen()
        item = tray.item()
        wait_until(lambda: item.tool_tip == "Kavrin: recording", "the tray shows the recording")
        self.session.close_window(window.process)
        wait_until(lambda: item.tool_tip == "Kavrin: ready", "the tray shows that nothing is recorded")
        self.assertIsNone(self.suite.get("transcript"))
        self.assertTrue(self.beats())


class InTray(Background):
    def test_icon_tool_tip_and_menu_follow_a_dictation(self):
        self.session.start_speech_service()
        tray = self.start_tray()
        self.session.start_kavrin("--background")
        item = tray.item()
        pictures = {}
        for tool_tip, menu, choice in (("Kavrin: ready", ["Open", "Start dictation", "Quit"], "Start dictation"),
                                       ("Kavrin: recording", ["Open", "Stop dictation", "Cancel dictation", "Quit"],
                                        "Stop dictation"),
                                       ("Kavrin: transcribing", ["Open", "Start dictation", "Cancel dictation", "Quit"],
                                        None)):
            with self.subTest(tool_tip):
                wait_until(lambda tip=tool_tip: item.tool_tip == tip, f"the tool tip {tool_tip}", interval=0.002)
                pictures[tool_tip] = item.picture
                self.assertEqual(list(item.menu()), menu)
                if choice == "Stop dictation":
                    self.session.play(CLIP)
                if choice:
                    item.choose(choice)
        self.assertEqual(len({bytes(data) for _, _, data in pictures.values()}), 3)
        self.suite.wait_for("dictationState", "done")
        self.assertEqual(self.suite.get("transcript"), SPOKEN)
        wait_until(lambda: item.tool_tip == "Kavrin: ready", "the tray shows that it is over")

    def test_open_opens_the_window(self):
        tray = self.start_tray()
        kavrin = self.session.start_kavrin("--background")
        tray.item().choose("Open")
        wait_until(lambda: self.has_window(kavrin), "the window is shown")

    def test_quit_ends_it(self):
        tray = self.start_tray()
        kavrin = self.session.start_kavrin("--background")
        tray.item().choose("Quit")
        self.assertEqual(kavrin.wait(10), 0)

    def test_stop_ends_the_recording_of_the_dictation_screen(self):
        self.session.start_speech_service()
        tray = self.start_tray()
        window = self.record_on_the_screen()
        item = tray.item()
        wait_until(lambda: "Stop dictation" in item.menu(), "the menu offers to stop")
        item.choose("Stop dictation")
        self.suite.wait_for("dictationState", "done")

    def test_a_tray_that_comes_later_shows_it_too(self):
        self.session.start_kavrin("--background")
        self.assertEqual(self.start_tray().item().tool_tip, "Kavrin: ready")

    def test_a_tray_that_comes_anew_shows_it_again(self):
        tray = self.start_tray()
        kavrin = self.session.start_kavrin("--background")
        tray.item()
        tray.end()
        self.assertTrue(self.beats())
        tray.start()
        tray.item().click()
        wait_until(lambda: self.has_window(kavrin), "the window is shown")

    def test_once_the_tray_is_gone_closing_the_window_ends_it(self):
        tray = self.start_tray()
        kavrin = self.session.open_window().process
        tray.item()
        tray.end()
        self.beats()  # by then it has learnt of that
        self.session.close_window(kavrin)
        self.assertEqual(kavrin.wait(10), 0)


class Actions(Background):
    def test_dictate_starts_and_then_stops(self):
        self.session.start_speech_service()
        self.session.start_kavrin("--background")
        self.bus.act("dictate")
        self.suite.wait_for("dictationState", "recording")
        self.session.play(CLIP)
        self.bus.act("dictate")
        self.suite.wait_for("dictationState", "done")
        self.assertEqual(self.suite.get("transcript"), SPOKEN)

    def test_save_code_notes_the_code_of_a_text(self):
        self.session.start_kavrin("--background")
        self.bus.act("save-code", MESSAGE)
        self.suite.wait_for("otpCode", "482913")
        self.assertEqual(self.suite.get("otpSource"), "message")

    def test_save_code_without_a_text_takes_the_clipboards(self):
        self.session.copy(MESSAGE)
        kavrin = self.session.start_kavrin("--background")
        self.bus.act("save-code")
        self.suite.wait_for("otpCode", "482913")
        self.assertFalse(self.has_window(kavrin))

    def test_a_text_without_a_code_leaves_the_last_one(self):
        self.session.start_kavrin("--background")
        self.bus.act("save-code", MESSAGE)
        self.suite.wait_for("otpCode", "482913")
        self.bus.act("save-code", "See you at 18:30.")
        self.bus.act("no-such-action", "code 7777")
        self.assertTrue(self.beats())
        self.assertEqual(self.suite.get("otpCode"), "482913")


class Document(Background):
    """The examples of how to hand over a message, pasted as they stand."""

    def test_each_way_of_handing_over_a_message(self):
        document = (ROOT / "docs" / "everyday.md").read_text(encoding="utf-8")
        section = document[document.index("## Verification codes"):document.index("Without a keyboard")]
        examples = re.findall(r"^```sh\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
        commands = [command for example in examples for command in re.split(r"(?<!\\)\n", example.strip())
                    if not command.startswith("systemctl")]
        self.assertEqual([command.split()[0] for command in commands], ["kavrinctl", "echo", "gdbus", "gapplication"])
        self.session.copy("Your Hazel Bank code is 482 913.")
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"
        self.session.start_kavrin("--background")
        for command in commands:
            with self.subTest(command):
                self.suite.set("otpCode", "string", "")
                self.session.run("sh", "-eu", "-c", command)
                self.suite.wait_for("otpCode", "482913")


class WithoutADisplay(unittest.TestCase):
    def test_there_is_no_icon_that_would_open_a_window_nobody_sees(self):
        session = self.enterContext(PrivateSession())
        bus = Bus(session)
        tray = Tray(session, bus)
        session.start_kavrin("--background")
        bus.act("save-code", MESSAGE)
        session.suite().wait_for("otpCode", "482913")
        self.assertEqual(tray.calls("RegisterStatusNotifierItem"), [])


class LaunchedByTheBus(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        services = self.session.folder / "home/data/dbus-1/services"
        services.mkdir(parents=True)
        (services / "app.kavrin.Kavrin.service").write_text(
            f"[D-BUS Service]\nName=app.kavrin.Kavrin\nExec={self.session.bin / 'kavrin'} --background\n",
            encoding="ascii")
        self.bus = Bus(self.session)
        self.bus.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ReloadConfig")
        self.addCleanup(self.end_kavrin)
        self.suite = self.session.suite()

    def end_kavrin(self):
        process = self.bus.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                                "(s)", "app.kavrin.Kavrin")[0]
        os.kill(process, signal.SIGKILL)

    def test_an_action_starts_it_and_is_done(self):
        self.bus.act("save-code", MESSAGE)
        self.suite.wait_for("otpCode", "482913")
        self.assertIsNone(self.suite.get("probeApp"))

    def test_a_url_starts_it_and_a_dictation(self):
        self.bus.call(*APPLICATION, "Open", "(asa{sv})", ["kavrin://dictate"], {})
        self.suite.wait_for("dictationState", "recording")
        self.assertIsNone(self.suite.get("probeApp"))


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
