# SPDX-License-Identifier: MIT
"""`kavrinctl doctor`: what it says of a session where everything works, and of each thing that does not."""

import http.server
import json
import math
import socketserver
import struct
import subprocess
import threading
import unittest
import wave

from support.desktop import Bus, Notifications, Tray, _Mock
from support.private_session import (PORT, PrivateSession, enter_private_namespaces, make_read_only,
                                     port_of_another_user, undo_mount, wait_until)
from support.public_services import PublicServices

CHECKS = ["kavrin", "suite", f"port {PORT}", "sound server", "microphone", "speech service", "typing", "shortcut",
          "notifications", "tray"]
OPENAI_KEY = "sk-doctor-4711"
LISTENING = "kavrinctl: Say something: the microphone is open for a second. Nothing of it is kept or sent.\n"


class Service(http.server.BaseHTTPRequestHandler):
    """Answers everything with the server's `answer`."""

    def do_GET(self):
        self.server.asked.append((self.command, self.path, self.headers.get("Authorization")))
        self.send_response(200)
        self.send_header("Content-Length", str(len(self.server.answer)))
        self.end_headers()
        self.wfile.write(self.server.answer)

    do_POST = do_GET

    def log_message(self, *_):
        pass


class OneServer(socketserver.TCPServer):
    allow_reuse_address = True


class Typist(_Mock):
    """Types where the cursor is, or says why not."""

    def __init__(self, session, bus):
        super().__init__(session, bus, "app.kavrin.Typist", "/app/kavrin/Typist", "app.kavrin.Typist")
        self.says("Way", "X11")
        self.says("Shortcut", "Meta+D")

    def says(self, method, text):
        self.mock("AddMethod", "(sssss)", self.interface, method, "", "s", f"ret = {text!r}")


class Doctor(unittest.TestCase):
    sound = False

    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=self.sound))
        self.bus = Bus(self.session)

    def examine(self):
        """The exit code, the findings by the names of the checks, and what else was said."""
        done = self.session.run(self.session.bin / "kavrinctl", "doctor", "--json", check=False)
        self.findings = {entry["check"]: entry for entry in json.loads(done.stdout)}
        return done

    def finding(self, check):
        """Examines: "good", "bad" or "not checked"; what was found, and what to do."""
        self.examine()
        entry = self.findings[check]
        return f"{entry['result']}: {entry['finding']} {entry['advice']}".strip()

    def serve(self, answer, port=0):
        server = self.enterContext(OneServer(("127.0.0.1", port), Service))
        server.answer, server.asked = answer, []
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        return server

    def play_a_tone(self):
        """Before the microphone, for longer than the test takes."""
        path = self.session.folder / "tone.wav"
        second = b"".join(struct.pack("<h", round(8000 * math.sin(sample / 6))) for sample in range(16000))
        with wave.open(str(path), "wb") as file:
            file.setparams((1, 2, 16000, 0, "NONE", ""))
            file.writeframes(second * 300)
        self.session.start("paplay", path, stderr=subprocess.DEVNULL)
        wait_until(lambda: self.session.run("pactl", "list", "short", "sink-inputs").stdout, "the tone")


class WhereAllWorks(Doctor):
    sound = True

    def setUp(self):
        super().setUp()
        self.typist = Typist(self.session, self.bus)
        self.notifications = Notifications(self.session, self.bus)
        self.tray = Tray(self.session, self.bus)
        self.session.start_speech_service()
        self.session.start_kavrin("--background")
        self.play_a_tone()

    def expect_one_bad_thing(self, check, finding):
        self.assertRegex(self.finding(check), f"^bad: {finding}")
        bad = [name for name, entry in self.findings.items() if entry["result"] == "bad"]
        self.assertEqual(bad, [check])

    def test_nothing_is_bad(self):
        done = self.examine()
        self.assertEqual({name: entry["result"] for name, entry in self.findings.items()}, dict.fromkeys(CHECKS, "good"))
        self.assertEqual((done.returncode, done.stderr), (0, LISTENING))

    def test_people_read_a_line_for_each_thing(self):
        done = self.session.run(self.session.bin / "kavrinctl", "doctor")
        lines = done.stdout.splitlines()
        self.assertEqual([line.partition(": ")[0] for line in lines], [f"good         {name}" for name in CHECKS])
        self.assertRegex(lines[0], r": Kavrin \d+\.\d+\.\d+ runs\.$")
        self.assertIn("good         typing: The text is typed with: X11.", lines)
        self.assertIn("good         shortcut: The key for dictation is: Meta+D.", lines)

    def test_the_microphone_is_open_only_meanwhile_and_nothing_is_stored(self):
        suite = self.session.suite()

        def keys():
            return [row[0] for row in suite.database.execute("SELECT key FROM defaults ORDER BY key")]

        before = keys()
        self.examine()
        self.assertEqual(keys(), before)
        wait_until(lambda: "protocol-native" not in self.session.run("pactl", "list", "short", "source-outputs").stdout,
                   "the microphone is free")
        self.assertFalse((self.session.folder / "run/kavrin/dict.m4a").exists())

    def test_a_microphone_that_hears_nothing(self):
        for change, undo, finding in (
                (("set-source-mute", "microphone", "1"), ("set-source-mute", "microphone", "0"), ".* is muted. Unmute"),
                (("set-source-volume", "microphone", "0"), ("set-source-volume", "microphone", "65536"),
                 ".* is muted. Unmute"),
                (("set-default-source", "speaker.monitor"), ("set-default-source", "microphone"),
                 "There is no microphone. Plug one in"),
                (("set-sink-mute", "speaker", "1"), ("set-sink-mute", "speaker", "0"), ".* hears nothing at all"),
        ):
            with self.subTest(change):
                self.session.run("pactl", *change)
                self.expect_one_bad_thing("microphone", finding)
                self.session.run("pactl", *undo)

    def test_no_sound_server(self):
        self.session.end(self.session.sound_server)
        self.expect_one_bad_thing("sound server", "The sound server cannot be reached")
        self.assertEqual(self.findings["microphone"]["result"], "not checked")

    def test_a_desktop_that_lacks_something(self):
        self.typist.says("Way", "The portal refuses to type. Allow it in the settings.")
        self.expect_one_bad_thing("typing", "The portal refuses to type. Allow it")
        self.typist.says("Way", "X11")
        self.notifications.end()
        self.expect_one_bad_thing("notifications", "No program shows notifications")

    def test_a_desktop_that_gives_no_shortcut_and_may_have_a_key_of_its_own(self):
        self.typist.says("Shortcut", "The desktop gives no key. Make one.")
        done = self.examine()
        self.assertEqual(self.findings["shortcut"], {"check": "shortcut", "result": "not checked",
                                                     "finding": "The desktop gives no key. Make one.", "advice": ""})
        self.assertEqual(done.returncode, 0)

    def test_a_desktop_without_a_tray(self):
        self.tray.end()
        self.assertEqual(self.finding("tray"), "good: The desktop has no tray. Kavrin needs none.")

    def test_no_typist(self):
        self.typist.end()
        done = self.session.run(self.session.bin / "kavrinctl", "doctor", check=False)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, "(?m)^bad          typing: kavrin-typist, .* is not installed. Install Kavrin")
        self.assertRegex(done.stderr, "2 things are bad")


class SpeechServices(Doctor):
    def use(self, port, path="/v1/audio/transcriptions", key=OPENAI_KEY):
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", f"http://127.0.0.1:{port}{path}")
        self.session.ctl("set", "customKey", key)

    def test_one_of_the_user_s_own_is_asked_for_its_models_with_the_key(self):
        server = self.serve(b'{"data": []}')
        self.use(server.server_address[1])
        self.assertEqual(self.finding("speech service"), "good: 127.0.0.1 answers. No sound was sent.")
        self.assertEqual(server.asked, [("GET", "/v1/models", f"Bearer {OPENAI_KEY}")])

    def test_one_without_a_list_of_models_is_not_checked(self):
        server = self.serve(b"File not found")
        self.use(server.server_address[1])
        self.assertRegex(self.finding("speech service"), "^not checked: 127.0.0.1 answers: File not found ")
        self.use(server.server_address[1], path="/inference")
        self.assertRegex(self.finding("speech service"), "^not checked: The service has no list of models")
        self.assertEqual(len(server.asked), 1)

    def test_a_key_that_is_repeated_is_masked(self):
        self.use(self.serve(f'{{"error": "no such key: {OPENAI_KEY}"}}'.encode()).server_address[1])
        self.assertIn("no such key: •••", self.finding("speech service"))

    def test_one_that_is_not_there(self):
        with OneServer(("127.0.0.1", 0), Service) as server:
            port = server.server_address[1]
        self.use(port)
        self.assertRegex(self.finding("speech service"), "^bad: The connection to 127.0.0.1 was refused.* Start the service")

    def test_none_is_set_up(self):
        for settings, finding in (
                ({}, "No key is set for OpenAI."),
                ({"provider": "gemini"}, "No key is set for Gemini."),
                ({"provider": "custom"}, "No address is set for the speech service."),
                ({"provider": "custom", "customURL": "http://a b/v1/audio/transcriptions"}, "Bad endpoint URL"),
        ):
            with self.subTest(finding):
                for key, value in settings.items():
                    self.session.ctl("set", key, value)
                self.assertRegex(self.finding("speech service"), f"^bad: {finding}")

    def test_the_public_ones_are_asked_for_their_models_with_the_key(self):
        for provider, key, answer, asked, finding in (
                ("openai", "openaiKey", {"data": []}, ("GET", "/v1/models", f"Bearer {OPENAI_KEY}", b""),
                 "good: api.openai.com answers"),
                ("openai", "openaiKey", {"error": f"bad {OPENAI_KEY}"},
                 ("GET", "/v1/models", f"Bearer {OPENAI_KEY}", b""),
                 r'bad: api.openai.com answers: {"error": "bad •••"} Check key'),
                ("gemini", "geminiKey", {"models": []}, ("GET", f"/v1beta/models?key={OPENAI_KEY}", None, b""),
                 "good: generativelanguage.googleapis.com answers"),
        ):
            with self.subTest(finding):
                answers = {("GET", "/v1/models"): answer, ("GET", "/v1beta/models"): answer}
                with PublicServices(self.session, answers) as services:
                    self.session.ctl("set", "provider", provider)
                    self.session.ctl("set", key, OPENAI_KEY)
                    self.assertRegex(self.finding("speech service"), f"^{finding}")
                    self.assertEqual(services.asked, [asked])


class KavrinItself(Doctor):
    def test_that_does_not_run(self):
        self.assertRegex(self.finding("kavrin"), '^bad: Kavrin is not running.* Start it: "kavrin"')
        self.assertEqual(self.findings[f"port {PORT}"]["finding"], "The port is free for Kavrin's HTTP server.")

    def test_of_another_version(self):
        old = _Mock(self.session, self.bus, "app.kavrin.Kavrin", "/app/kavrin/Kavrin/Dictation", "app.kavrin.Dictation")
        self.assertRegex(self.finding("kavrin"), "^bad: Kavrin runs in another version than kavrinctl.* start it again")
        self.assertRegex(self.findings[f"port {PORT}"]["finding"], "^Kavrin runs, but its HTTP server does not listen")
        old.mock("AddProperty", "(ssv)", old.interface, "Version", self.bus._glib.Variant("s", "0.0.9"))
        self.assertRegex(self.finding("kavrin"), "^bad: Kavrin runs in another version than kavrinctl")

    def test_whose_port_another_program_has(self):
        self.serve(b'{"dictationAlive": 1.5}', PORT)
        self.assertRegex(self.finding(f"port {PORT}"), "^bad: Another program of yours has the port")

    def test_whose_port_another_user_has(self):
        self.enterContext(port_of_another_user(PORT))
        self.assertRegex(self.finding(f"port {PORT}"), "^bad: Another user's program has the port")

    def test_whose_suite_another_program_holds(self):
        suite = self.session.suite()
        self.session.ctl("set", "rowH", "60")
        suite.database.execute("BEGIN IMMEDIATE")
        self.assertRegex(self.finding("suite"), "^bad: .*defaults.sqlite cannot be written: .* Make room, or end")
        suite.database.execute("ROLLBACK")

    def test_whose_suite_is_read_only(self):
        self.session.ctl("set", "rowH", "60")
        folder = self.session.folder / "home/data/app-groups"
        make_read_only(folder)
        self.addCleanup(undo_mount, folder)
        self.assertRegex(self.finding("suite"), "^bad: .*defaults.sqlite cannot be written")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
