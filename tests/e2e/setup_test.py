# SPDX-License-Identifier: MIT
"""`kavrinctl setup`: chooses a speech service, and tries it with recorded speech before anything is stored."""

import http.server
import json
import os
import re
import signal
import socket
import threading
import unittest

from support.private_session import PrivateSession, enter_private_namespaces, port_of_another_user, wait_until
from support.public_services import PublicServices
from terminal_test import Terminal

SAMPLE = "go forward ten meters"
STT_PORT = 49732
STT = f"http://127.0.0.1:{STT_PORT}/v1/audio/transcriptions"
KEY = "sk-setup-4711"
BEFORE = {"provider": "custom", "customURL": "https://before.example/v1/audio/transcriptions",
          "customKey": "sk-before-1", "customModel": "before"}
OPENAI = ("POST", "/v1/audio/transcriptions")
GEMINI = ("POST", "/v1beta/models/gemini-flash-latest:generateContent")


class Service(http.server.BaseHTTPRequestHandler):
    """A server with OpenAI's interface that answers with `answer`, and notes what it is sent."""

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.server.asked.append((self.headers.get("Authorization"), body))
        self.send_response(200)
        self.send_header("Content-Length", str(len(self.server.answer)))
        self.end_headers()
        self.wfile.write(self.server.answer)

    def log_message(self, *_):
        pass


class Setup(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))

    def set_up(self, *arguments, key=None):
        return self.session.run(self.session.bin / "kavrinctl", "setup", *arguments, input=key, check=False)

    def settings(self, *keys):
        suite = self.session.suite()
        return [suite.get(key) for key in keys]

    def store_before(self):
        for key, value in BEFORE.items():
            self.session.ctl("set", key, value)

    def expect_before(self):
        self.assertEqual(self.settings(*BEFORE), list(BEFORE.values()))

    def serve(self, answer):
        server = self.enterContext(http.server.ThreadingHTTPServer(("127.0.0.1", 0), Service))
        server.answer, server.asked = json.dumps(answer).encode(), []
        server.url = f"http://127.0.0.1:{server.server_port}/v1/audio/transcriptions"
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        return server


class Embedded(Setup):
    def end(self, process):
        os.kill(process, signal.SIGTERM)
        wait_until(lambda: not self.is_served(), "kavrin-stt has ended")

    @staticmethod
    def is_served():
        with socket.socket() as client:
            return client.connect_ex(("127.0.0.1", STT_PORT)) == 0

    def test_it_is_started_where_there_is_no_systemd_and_hears_the_sample(self):
        done = self.set_up("embedded")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        first, *rest = done.stdout.splitlines()
        process = re.fullmatch(r"kavrin-stt runs as process (\d+). Nothing starts it at the next login.", first)[1]
        self.addCleanup(self.end, int(process))
        self.assertEqual(rest, [f"Sends three seconds of recorded speech, none of it yours, to {STT}",
                                f"Spoken: {SAMPLE}", f"Heard:  {SAMPLE}", "Kavrin uses this service from now on."])
        self.assertEqual(self.settings("provider", "customURL"), ["custom", STT])
        again = self.set_up("embedded").stdout
        self.assertIn("kavrin-stt runs already.", again)
        self.assertIn(f"Heard:  {SAMPLE}", again)

    def test_systemd_starts_it_where_there_is_one(self):
        folder = self.session.folder / "bin"
        folder.mkdir()
        systemctl = folder / "systemctl"
        systemctl.write_text(f'#!/bin/sh\necho "$@" >"{folder}/asked"\n'
                             f'"{self.session.bin}/kavrin-stt" --port {STT_PORT} >/dev/null 2>&1 &\n'
                             f'echo $! >"{folder}/process"\n')
        systemctl.chmod(0o755)
        self.session.env["PATH"] = f"{folder}:{os.environ['PATH']}"
        done = self.set_up("embedded")
        self.addCleanup(self.end, int((folder / "process").read_text()))
        self.assertEqual((folder / "asked").read_text(), "--user enable --now kavrin-stt.service\n")
        self.assertEqual(done.stdout.splitlines()[0], "kavrin-stt runs, now and after each login.")
        self.assertIn(f"Heard:  {SAMPLE}", done.stdout)

    def test_another_user_who_has_its_port_hears_nothing(self):
        self.store_before()
        self.enterContext(port_of_another_user(STT_PORT))
        done = self.set_up("embedded")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn(f"Another user's program has port {STT_PORT}", done.stderr)
        self.expect_before()


class Server(Setup):
    def test_it_is_sent_the_sample_and_then_used_without_key_and_model_of_the_one_before(self):
        self.store_before()
        server = self.serve({"text": "Go forward 10 metres."})
        done = self.set_up("server", server.url)
        self.assertEqual(done.stdout.splitlines(),
                         [f"Sends three seconds of recorded speech, none of it yours, to {server.url}",
                          f"Spoken: {SAMPLE}", "Heard:  Go forward 10 metres.",
                          "Kavrin uses this service from now on.", "The key of the server before it was removed."])
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        (authorization, body), = server.asked
        self.assertIsNone(authorization)
        self.assertIn(b"\r\n\r\nwhisper-1\r\n", body)
        self.assertIn((self.session.bin / "../share/kavrin/sample.m4a").read_bytes(), body)
        self.assertEqual(self.settings(*BEFORE), ["custom", server.url, None, None])

    def test_key_and_model_are_what_is_said(self):
        server = self.serve({"text": "heard"})
        self.assertEqual(self.set_up("server", server.url, "--model", "large", "--key", key=f"{KEY}\n").returncode, 0)
        (authorization, body), = server.asked
        self.assertEqual(authorization, f"Bearer {KEY}")
        self.assertIn(b"\r\n\r\nlarge\r\n", body)
        self.assertEqual(self.settings("customURL", "customKey", "customModel"), [server.url, KEY, "large"])

    def test_key_and_model_of_the_same_address_stay(self):
        server = self.serve({"text": "heard"})
        for key, value in (BEFORE | {"customURL": server.url}).items():
            self.session.ctl("set", key, value)
        self.assertEqual(self.set_up("server", server.url).returncode, 0)
        self.assertEqual(self.settings("customKey", "customModel"), ["sk-before-1", "before"])
        self.assertEqual(server.asked[0][0], "Bearer sk-before-1")

    def test_what_fails_says_why_and_what_to_do_and_changes_nothing(self):
        with socket.create_server(("127.0.0.1", 0)) as closed:
            nobody = f"http://127.0.0.1:{closed.getsockname()[1]}/v1/audio/transcriptions"
        for url, said in (
                (nobody, "The connection to 127.0.0.1 was refused. Start the service, or check the address"),
                ("http://a b/", "Bad endpoint URL Give the whole address, such as"),
                (self.serve({"error": f"no such key: {KEY}"}).url,
                 '{"error": "no such key: •••"} Check key, model and address.'),
                (self.serve({"text": " "}).url, "The service answers, but heard nothing in the sample. Check the model."),
        ):
            with self.subTest(said):
                self.store_before()
                done = self.set_up("server", url, "--key", key=KEY)
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"kavrinctl: {said}", done.stderr)
                self.assertIn("\nThe settings are as they were.\n", done.stderr)
                self.expect_before()

    def test_what_fails_is_kept_if_that_is_said(self):
        server = self.serve({"text": ""})
        done = self.set_up("server", server.url, "--keep")
        self.assertEqual(done.returncode, 1)
        self.assertIn("Kavrin uses this service from now on.", done.stdout)
        self.assertIn("heard nothing", done.stderr)
        self.assertNotIn("as they were", done.stderr)
        self.assertEqual(self.settings("provider", "customURL"), ["custom", server.url])


class Public(Setup):
    def test_they_are_sent_the_sample_with_the_key_and_then_used(self):
        answers = {OPENAI: {"text": "heard"}, GEMINI: {"candidates": [{"content": {"parts": [{"text": "heard"}]}}]}}
        for name, address, target, authorization, stored in (
                ("openai", "https://api.openai.com/v1/audio/transcriptions", OPENAI[1], f"Bearer {KEY}",
                 {"provider": "openai", "openaiKey": KEY}),
                ("gemini", "https://generativelanguage.googleapis.com", f"{GEMINI[1]}?key={KEY}", None,
                 {"provider": "gemini", "geminiKey": KEY, "geminiModel": "gemini-flash-latest"}),
        ):
            with self.subTest(name), PublicServices(self.session, answers) as services:
                done = self.set_up(name, key=f" {KEY} \n")
                self.assertEqual(done.stdout.splitlines(),
                                 [f"Sends three seconds of recorded speech, none of it yours, to {address}",
                                  f"Spoken: {SAMPLE}", "Heard:  heard", "Kavrin uses this service from now on."])
                self.assertEqual([request[:3] for request in services.asked], [("POST", target, authorization)])
                self.assertEqual(self.settings(*stored), list(stored.values()))

    def test_a_key_that_is_refused_is_not_stored_and_not_shown(self):
        self.store_before()
        with PublicServices(self.session, {OPENAI: {"error": {"message": f"Incorrect API key provided: {KEY}"}}}):
            done = self.set_up("openai", key=KEY)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "Incorrect API key provided: •••.* Check key, model")
        self.assertNotIn(KEY, done.stdout + done.stderr)
        self.expect_before()
        self.assertEqual(self.settings("openaiKey"), [None])

    def test_no_key_is_entered(self):
        self.store_before()
        for name in ("openai", "gemini"):
            done = self.set_up(name, key="\n")
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertIn("Nothing was entered", done.stderr)
        self.expect_before()

    def test_a_terminal_asks_for_the_key_and_does_not_show_it(self):
        with PublicServices(self.session, {OPENAI: {"text": "heard"}}):
            terminal = self.enterContext(
                Terminal(self.session.env, self.session.bin / "kavrinctl", "setup", "openai"))
            wait_until(lambda: "openaiKey: " in terminal.shown(), "the question")
            terminal.type(f"{KEY}\n")
            self.assertEqual(terminal.process.wait(60), 0)
            self.assertIn("Heard:  heard", terminal.shown())
            self.assertNotIn(KEY, terminal.shown())


class Running(Setup):
    def test_a_running_kavrin_dictates_with_it_and_is_told(self):
        watch = self.session.start("dbus-monitor", "--session", "member=ActivateAction")
        server = self.serve({"text": "heard"})
        self.session.start_kavrin("--background")
        self.set_up("server", server.url)
        wait_until(lambda: "reload-settings" in watch.stdout.readline(), "Kavrin is told")


class MissingSample(Setup):
    def test_an_incomplete_installation_says_so(self):
        program = self.session.folder / "bin" / "kavrinctl"
        program.parent.mkdir()
        program.write_bytes((self.session.bin / "kavrinctl").read_bytes())
        program.chmod(0o755)
        done = self.session.run(program, "setup", "server", "http://127.0.0.1:9/", check=False)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("The sample of speech is missing. Install Kavrin whole.", done.stderr)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
