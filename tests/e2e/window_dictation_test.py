# SPDX-License-Identifier: MIT
"""Dictation with the window open: in its dictation screen, and from other programs beside it."""

import contextlib
import json
import os
import signal
import subprocess
import unittest

from faults_test import HangingService
from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.screen_reader import WindowSession
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"

LISTENING = "Listening… Press Stop when you are done."
NO_ANSWER = ("Recording failed: The sound server cannot be reached (it does not answer). Check that PipeWire or "
             "PulseAudio is running, then try again.")
HINT = "The text is on your clipboard: paste it where you want it. A keyboard inserts it by itself."

# What the screen shows, from top to bottom.
MESSAGE, STOP, CLOSE = "label", ("push button", "Stop"), ("push button", "Close")


class WindowDictation(unittest.TestCase):
    def open_window(self, session):
        self.session = session
        self.window = session.open_window()
        self.suite = session.suite()

    def open_screen(self):
        self.window.open_page("Voice typing")
        self.window.find("Test voice typing", "push button").press()
        self.window.find("Dictation", "dialog")

    def screen(self):
        """All that there is to read in the dictation screen, but what is only announced, and that nothing is heard."""
        return [(element.role, element.name) for element in self.window.find("Dictation", "dialog").below()
                if element.role not in ("alert", "notification", "scroll bar")]

    def wait_for_screen(self, *lines):
        with contextlib.suppress(TimeoutError):
            wait_until(lambda: self.screen() == list(lines), f"the screen shows {lines}")
        self.assertEqual(self.screen(), list(lines))

    def announced(self):
        return [element.name for element in self.window.find("Dictation", "dialog").below()
                if element.role == "notification"]

    def press(self, name):
        self.window.find(name, "push button").press()

    def close_screen(self):
        self.press("Close")
        self.window.wait_until_gone("Dictation", "dialog")

    def wait_until_listening(self):
        self.wait_for_screen(("image", "Microphone on"), (MESSAGE, LISTENING), STOP, CLOSE)

    def microphones_in_use(self):
        streams = self.session.run("pactl", "list", "short", "source-outputs").stdout.splitlines()
        return [stream for stream in streams if "protocol-native" in stream]


class Strip(WindowDictation):
    """What the window shows of a dictation that was begun elsewhere."""

    def setUp(self):
        self.open_window(self.enterContext(WindowSession(sound=True)))

    def test_it_shows_and_stops_a_recording_that_a_command_has_begun(self):
        self.session.start_speech_service()
        self.session.ctl("dictate", "start")
        self.window.find("Recording", "label")
        self.session.play(CLIP)
        self.press("Stop")
        self.window.wait_until_gone("Recording", "label")
        self.suite.wait_for("transcript", SPOKEN)
        self.window.wait_until_gone("Transcribing…", "label")

    def test_it_says_why_a_dictation_has_failed_until_it_is_closed(self):
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("dictate", "start")
        self.session.play(CLIP)
        self.press("Stop")
        self.press("Close")
        self.window.wait_until_gone("Close", "push button")


class Screen(WindowDictation):
    def setUp(self):
        self.open_window(self.enterContext(WindowSession(sound=True)))

    def test_it_brings_what_is_said_to_the_clipboard(self):
        self.session.start_speech_service()
        self.open_screen()
        self.wait_until_listening()
        self.assertEqual(self.suite.get("dictationState"), "recording")
        self.session.play(CLIP)
        self.press("Stop")
        self.wait_for_screen(("image", "Microphone off"), (MESSAGE, SPOKEN), (MESSAGE, HINT), CLOSE)
        self.assertEqual(self.announced(), [SPOKEN])
        self.assertEqual(self.session.clipboard(), SPOKEN)
        self.assertEqual([self.suite.get(key) for key in ("dictationState", "transcript")], ["done", SPOKEN])
        self.close_screen()
        self.assertEqual(self.window.page(), "Voice typing")

    def test_a_screen_reader_does_not_find_what_is_beneath_it(self):
        self.session.ctl("set", "rowH", "61")
        blob = self.session.ctl("export")
        self.session.ctl("set", "rowH", "70")
        self.session.ctl("import", blob)
        self.window.find("Undo", "push button")
        beneath = (("Provider", "combo box"), ("Undo", "push button"))
        self.open_screen()
        self.wait_until_listening()
        self.assertEqual([self.window.look(*element) for element in beneath], [None, None])
        self.close_screen()
        for element in beneath:
            self.window.find(*element)

    def test_it_tells_every_state_on_the_way_to_an_error(self):
        service = self.enterContext(HangingService())
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", service.url)
        self.session.sound_server.send_signal(signal.SIGSTOP)
        self.open_screen()
        self.wait_for_screen(("image", "Microphone off"), (MESSAGE, NO_ANSWER), CLOSE)
        self.assertEqual(self.suite.get("dictationState"), "starting")
        self.close_screen()
        self.session.sound_server.send_signal(signal.SIGCONT)
        self.press("Test voice typing")
        self.wait_until_listening()
        self.assertEqual(self.announced(), [LISTENING])
        self.press("Stop")
        self.wait_for_screen(("image", "Transcribing"), (MESSAGE, "Transcribing…"), CLOSE)
        self.assertEqual(self.suite.get("dictationState"), "working")
        service.release.set()
        self.wait_for_screen(("image", "Microphone off"), (MESSAGE, 'Error: {"error":{"message":"no"}}'), CLOSE)
        self.assertEqual(self.suite.get("dictationState"), "idle")
        self.close_screen()

    def test_closed_while_recording_it_drops_what_was_said(self):
        self.session.start_speech_service()
        self.open_screen()
        self.wait_until_listening()
        self.session.play(CLIP)
        self.assertEqual(len(self.microphones_in_use()), 1)
        self.close_screen()
        wait_until(lambda: not self.microphones_in_use(), "the microphone is free")
        self.assertEqual([self.suite.get(key) for key in ("dictationState", "transcript")], ["recording", None])

    def status(self):
        return self.session.ctl("dictate", "status")

    def test_closed_while_recording_what_the_process_does_is_told(self):
        self.open_screen()
        self.wait_until_listening()
        self.assertEqual(self.status(), "recording")
        self.close_screen()
        wait_until(lambda: self.status() == "idle", "nothing is recorded")
        refused = self.session.run(self.session.bin / "kavrinctl", "dictate", "stop", check=False)
        self.assertEqual(refused.returncode, 1)

    def test_each_way_to_stop_ends_its_recording(self):
        self.session.start_speech_service()
        ways = (lambda: self.session.ctl("dictate", "stop"), lambda: self.session.ctl("dictate", "toggle"),
                lambda: self.session.http("/cmd?v=stop"),
                lambda: self.suite.set("dictationCommand", "string", "stop"))
        for way in ways:
            self.open_screen()
            self.wait_until_listening()
            self.session.play(CLIP)
            way()
            self.wait_for_screen(("image", "Microphone off"), (MESSAGE, SPOKEN), (MESSAGE, HINT), CLOSE)
            wait_until(lambda: not self.microphones_in_use(), "the microphone is free")
            self.close_screen()
            self.window.go_back()

    def test_opened_during_another_recording_it_shows_and_stops_that_one(self):
        self.session.start_speech_service()
        self.session.ctl("dictate", "start")
        self.open_screen()
        self.wait_until_listening()
        self.assertEqual(len(self.microphones_in_use()), 1)
        self.session.play(CLIP)
        self.press("Stop")
        wait_until(lambda: not self.microphones_in_use(), "the microphone is free")
        self.window.find(SPOKEN, "label")
        self.close_screen()
        self.assertEqual(self.status(), "done")

    def test_closed_during_another_recording_it_leaves_that_one_running(self):
        self.session.start_speech_service()
        self.session.ctl("dictate", "start")
        self.open_screen()
        self.wait_until_listening()
        self.close_screen()
        self.session.play(CLIP)
        self.assertEqual(self.status(), "recording")
        self.session.ctl("dictate", "stop")
        self.suite.wait_for("transcript", SPOKEN)

    def test_escape_closes_it_and_the_next_one_begins_anew(self):
        self.session.start_speech_service()
        self.open_screen()
        self.wait_until_listening()
        self.session.press_keys("Escape")
        self.window.wait_until_gone("Dictation", "dialog")
        self.assertEqual(self.window.page(), "Voice typing")
        self.press("Test voice typing")
        self.wait_until_listening()
        self.session.play(CLIP)
        self.assertIn("focused", self.window.find("Stop", "push button").states)
        self.session.press_keys("Return")
        self.window.find(HINT, "label")

    def test_closed_while_transcribing_the_transcript_comes_all_the_same(self):
        self.session.start_speech_service()
        self.open_screen()
        self.wait_until_listening()
        self.session.play(CLIP)
        self.press("Stop")
        self.close_screen()
        self.suite.wait_for("transcript", SPOKEN)
        wait_until(lambda: self.session.clipboard() == SPOKEN, "the transcript is on the clipboard")


class OtherPrograms(WindowDictation):
    def setUp(self):
        self.open_window(self.enterContext(WindowSession(sound=True)))
        self.session.start_speech_service()

    def call(self, method, *arguments):
        self.session.run("gdbus", "call", "--session", "--dest", "app.kavrin.Kavrin",
                         "--object-path", "/app/kavrin/Kavrin",
                         "--method", f"org.freedesktop.Application.{method}", *arguments)

    def assert_it_dictates(self):
        self.suite.wait_for("dictationState", "recording")
        self.session.play(CLIP)
        self.session.ctl("dictate", "stop")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
        self.assertEqual(self.session.clipboard(), SPOKEN)
        self.assertEqual(self.window.page(), "Kavrin")
        self.assertIsNone(self.window.look("Dictation", "dialog"))

    def test_a_second_process_hands_the_url_over(self):
        self.assertEqual(self.session.run(self.session.bin / "kavrin", "kavrin://dictate").returncode, 0)
        self.assert_it_dictates()

    def test_a_desktop_opens_the_url_over_the_session_bus(self):
        self.call("Open", "['kavrin://dictate']", "{}")
        self.assert_it_dictates()

    def test_another_url_opened_changes_nothing(self):
        self.call("Open", "['kavrin://Dictate', 'kavrin:dictate', 'kavrin://settings']", "{}")
        beat = self.suite.get("dictationAlive")
        wait_until(lambda: self.suite.get("dictationAlive") > beat, "another beat")
        self.assertIsNone(self.suite.get("dictationState"))

    def test_a_desktop_activates_the_window(self):
        self.call("Activate", "{}")
        self.assertEqual(self.window.page(), "Kavrin")


class WithoutSessionBus(unittest.TestCase):
    def test_a_second_process_hands_the_url_over(self):
        with PrivateSession(display=True) as session:
            session.env["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={session.folder}/run/no-session-bus"
            session.start_speech_service()
            first = session.start_kavrin()
            self.assertEqual(session.run(session.bin / "kavrin", "kavrin://dictate").returncode, 0)
            session.suite().wait_for("dictationState", "recording")
            session.play(CLIP)
            session.ctl("dictate", "stop")
            self.assertEqual(session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            self.assertEqual(session.run("xclip", "-selection", "clipboard", "-o").stdout, SPOKEN)
            self.assertIsNone(first.poll())


class WaylandSession(WindowSession):
    """A session whose display is a compositor without a screen."""

    def _start_display(self):
        runtime = self.folder / "compositor"
        runtime.mkdir(mode=0o700)
        configuration = runtime / "sway.conf"
        configuration.write_text("xwayland disable\nexec printenv WAYLAND_DISPLAY SWAYSOCK\n", encoding="utf-8")
        as_user = []
        if os.geteuid() == 0:  # sway refuses to run as root
            nobody = 65534
            os.chown(runtime, nobody, nobody)
            self.folder.chmod(0o711)
            as_user = ["setpriv", f"--reuid={nobody}", f"--regid={nobody}", "--clear-groups"]
        compositor = self.start(*as_user, "env", f"XDG_RUNTIME_DIR={runtime}", "WLR_BACKENDS=headless",
                                "WLR_LIBINPUT_NO_DEVICES=1", "WLR_RENDERER=pixman",
                                "sway", "--config", configuration, stderr=subprocess.DEVNULL)
        self.env["WAYLAND_DISPLAY"] = str(runtime / compositor.stdout.readline().strip())
        self.compositor_socket = compositor.stdout.readline().strip()
        self.env["QT_QPA_PLATFORM"] = "wayland"

    def focus_window(self, process):
        """The compositor gives the keyboard to each new window by itself."""
        wait_until(lambda: self.focused_process() == process.pid, "the window has the focus")

    def focused_process(self):
        tree = json.loads(self.run("swaymsg", "--socket", self.compositor_socket, "--raw", "--type", "get_tree").stdout)
        nodes = [tree]
        for node in nodes:
            nodes += node["nodes"] + node["floating_nodes"]
        return next((node["pid"] for node in nodes if node["focused"] and "pid" in node), None)

    def clipboard(self):
        return self.run("wl-paste", "--no-newline").stdout


class Wayland(WindowDictation):
    def test_a_transcript_reaches_the_clipboard_while_another_window_has_the_focus(self):
        self.open_window(self.enterContext(WaylandSession(sound=True)))
        self.session.start_speech_service()
        self.open_screen()
        self.wait_until_listening()

        with PrivateSession(sound=False) as other:
            other.env["WAYLAND_DISPLAY"] = self.session.env["WAYLAND_DISPLAY"]
            other.env["QT_QPA_PLATFORM"] = "wayland"
            window = other.start(other.bin / "kavrin")
            wait_until(lambda: self.session.focused_process() == window.pid, "another window has the focus")
            self.session.play(CLIP)
            self.press("Stop")
            self.wait_for_screen(("image", "Microphone off"), (MESSAGE, SPOKEN), (MESSAGE, HINT), CLOSE)
            self.assertEqual(self.session.focused_process(), window.pid)
            self.assertEqual(self.session.clipboard(), SPOKEN)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
