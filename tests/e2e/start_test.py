# SPDX-License-Identifier: MIT
"""The card "Get started" of the window, with the programs that it starts."""

import os
import signal
import socket
import subprocess
import unittest

from support.desktop import Bus
from support.private_session import SPEECH, enter_private_namespaces, port_of_another_user, wait_until
from support.screen_reader import WindowSession
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
STT_PORT = 49732
STT = f"http://127.0.0.1:{STT_PORT}/v1/audio/transcriptions"
TYPIST = "app.kavrin.Typist"
NO_KEY = "kavrinctl type toggle"


class Start(unittest.TestCase):
    def open(self, sound=False):
        self.session = self.enterContext(WindowSession(sound=sound))
        self.bus = Bus(self.session)
        return self.session

    def open_window(self):
        self.window = self.session.open_window()

    def play_systemd(self, *, then="true", **commands):
        """A systemctl that starts what the unit starts, as this user's systemd would, and ends once `then` does."""
        folder = self.session.folder / "bin"
        folder.mkdir()
        systemctl = folder / "systemctl"
        cases = "".join(f'*{unit}*) "{self.session.bin}/{command[0]}" {" ".join(command[1:])} >/dev/null 2>&1 & '
                        f'echo $! >"{folder}/{unit}" ;;\n' for unit, command in commands.items())
        systemctl.write_text(f'#!/bin/sh\ncase "$*" in\n{cases}*) exit 1 ;;\nesac\n{then}\n')
        systemctl.chmod(0o755)
        self.session.env["PATH"] = f"{folder}:{os.environ['PATH']}"
        return folder

    def end(self, process_file, is_gone):
        if process_file.exists():
            os.kill(int(process_file.read_text()), signal.SIGTERM)
            wait_until(is_gone, f"{process_file.name} has ended")

    @staticmethod
    def is_served():
        with socket.socket() as client:
            return client.connect_ex(("127.0.0.1", STT_PORT)) == 0

    def press(self, name):
        self.window.find(name, "push button").press()

    def is_said(self, text):
        return self.window.find(text, "label")


class FirstTenSeconds(Start):
    def test_three_presses_lead_from_nothing_to_a_text(self):
        self.open(sound=True)
        folder = self.play_systemd(stt=("kavrin-stt", "--port", str(STT_PORT)))
        self.addCleanup(self.end, folder / "stt", lambda: not self.is_served())
        self.open_window()
        self.press("Use this machine")
        self.is_said("Done: Speech becomes text")
        suite = self.session.suite()
        self.assertEqual([suite.get("provider"), suite.get("customURL")], ["custom", STT])
        self.press("Dictate")
        self.window.find("Microphone on")
        self.session.play(CLIP)
        self.press("Stop")
        self.is_said(SPOKEN)
        self.press("Close")
        self.is_said("Done: You have dictated")

    def test_another_user_who_has_the_port_hears_nothing(self):
        self.open()
        self.enterContext(port_of_another_user(STT_PORT))
        self.open_window()
        self.press("Use this machine")
        wait_until(lambda: any("Another user's program has port" in element.name
                               for element in self.window.pages()[0].below()), "it says why not")
        self.assertIsNone(self.session.suite().get("provider"))


class DoneElsewhere(Start):
    def test_a_service_that_a_command_has_chosen_shows_at_once(self):
        self.open()
        self.open_window()
        self.is_said("Choose who turns speech into text")
        self.session.ctl("set", "openaiKey", "a key")
        self.is_said("Done: Speech becomes text")

    def test_a_dictation_that_a_command_has_begun_shows_when_its_text_is_there(self):
        self.open(sound=True)
        self.session.start_speech_service()
        self.open_window()
        self.is_said("Try it")
        self.session.ctl("dictate", "start")
        self.session.play(CLIP)
        self.session.ctl("dictate", "stop")
        self.is_said("Done: You have dictated")


class Key(Start):
    def test_the_typist_is_started_and_says_which_command_is_a_key(self):
        self.open()
        folder = self.play_systemd(Typist=("kavrin-typist",), then=f"gdbus wait --session --timeout 30 {TYPIST}")
        self.addCleanup(self.end, folder / "Typist", lambda: not self.bus.has(TYPIST))
        self.open_window()
        self.press("Set up a key")
        wait_until(lambda: self.bus.has(TYPIST), "the typist is there")
        self.press("Copy the command")
        self.assertEqual(self.session.clipboard(), NO_KEY)
        wait_until(lambda: any("The desktop gives Kavrin no shortcut." in element.name
                               for element in self.window.pages()[0].below() if element.role == "label"),
                   "the reason")

    def test_the_key_that_the_desktop_has_given_is_named(self):
        self.open()
        path = "/app/kavrin/Typist"
        mock = self.session.start("/usr/bin/python3", "-m", "dbusmock", "--session", TYPIST, path, TYPIST,
                                  stdout=subprocess.DEVNULL)
        wait_until(lambda: self.bus.has(TYPIST), "the typist is there")
        self.bus.call(TYPIST, path, "org.freedesktop.DBus.Mock", "AddMethod", "(sssss)", TYPIST, "Shortcut", "", "s",
                      'ret = "Ctrl+Alt+D"')
        self.open_window()
        self.is_said("Done: Ctrl+Alt+D types what you say")
        self.session.end(mock)
        wait_until(lambda: not self.bus.has(TYPIST), "the typist is gone")

    def test_without_a_typist_none_is_started_by_looking(self):
        self.open()
        self.open_window()
        self.is_said("Get a key that types what you say")
        self.assertFalse(self.bus.has(TYPIST))


class Dismissed(Start):
    def test_it_does_not_come_again(self):
        self.open()
        self.open_window()
        self.press("Dismiss")
        self.window.wait_until_gone("Get started", "heading")
        self.session.end(self.window.process)
        self.open_window()
        self.window.find("Setup", "heading")
        self.assertIsNone(self.window.look("Get started", "heading"))


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main()
