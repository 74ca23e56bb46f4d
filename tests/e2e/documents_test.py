# SPDX-License-Identifier: MIT
"""The examples of the documents, run as they stand against the real application; and where the documents lead."""

import contextlib
import http.server
import itertools
import json
import os
import pathlib
import re
import socketserver
import subprocess
import sys
import textwrap
import threading
import unittest

from support.private_session import PORT, ROOT, SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN
from support.suite_case import Holder

CLIP = SPEECH / "cards" / "001.wav"
DOCUMENTS = [*sorted(ROOT.glob("*.md")), *sorted((ROOT / "docs").glob("*.md"))]


def read(document):
    return (ROOT / document).read_text(encoding="utf-8")


def blocks(text, language):
    """The blocks of code, those in lists as well."""
    found = re.findall(rf"^( *)```{language}\n(.*?)^\1```$", text, re.MULTILINE | re.DOTALL)
    return [textwrap.dedent(block) for _, block in found]


def section(document, heading):
    """What stands below a heading of the second level."""
    return re.search(rf"^## {re.escape(heading)}\n(.*?)(?=^## |\Z)", read(document), re.MULTILINE | re.DOTALL).group(1)


def example(document, language):
    return max(blocks(read(document), language), key=len)


def anchors(text):
    """What a link may name after the sign #: the headings as GitHub turns them into names."""
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^ *```.*?^ *```$", "", text, flags=re.MULTILINE | re.DOTALL),
                          re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


SUITE_EXAMPLE = (sys.executable, "-c", example("docs/shared-suite.md", "python"))
LOOPBACK_EXAMPLE = ("sh", "-eu", "-c", example("docs/loopback.md", "sh"))


def overwrite(path):
    """Damages a suite that programs have open, all of it."""
    for part in (path, f"{path}-wal"):
        with open(part, "r+b") as file:
            file.write(b"no database " * (os.path.getsize(part) // 12))


def delete(path):
    for file in pathlib.Path(path).parent.glob("defaults.sqlite*"):
        file.unlink()


class Examples(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_speech_service()
        self.session.start_kavrin("--background")
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"
        self.path = json.loads(self.session.ctl("where", "--json"))["suite"]

    def dictate_with(self, command, meanwhile=lambda: None):
        """Runs an example, speaks when it asks for that, and tells it on its standard input that the user is done. What
        it has printed, its exit code and its complaints."""
        process = self.enterContext(subprocess.Popen(command, env=self.session.env, stdin=subprocess.PIPE,
                                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True))
        self.assertEqual(process.stderr.readline(), "Speak, then press Enter.\n")
        self.session.play(CLIP)
        meanwhile()
        output, complaints = process.communicate("\n", timeout=150)
        return output.strip(), process.returncode, complaints

    def test_that_of_the_shared_suite_and_that_of_the_loopback_server(self):
        suite = self.session.suite()
        for command in (SUITE_EXAMPLE, LOOPBACK_EXAMPLE):
            with self.subTest(command[0]):
                self.assertEqual(self.dictate_with(command), (SPOKEN, 0, ""))
                self.assertEqual(suite.get("tUsed"), suite.get("tStamp"))

    def test_they_dictate_whatever_state_was_left_over(self):
        suite = self.session.suite()
        for command, state in itertools.product((SUITE_EXAMPLE, LOOPBACK_EXAMPLE), ("recording", "working")):
            with self.subTest(command[0], state=state):
                suite.set("dictationState", "string", state)
                self.assertEqual(self.dictate_with(command), (SPOKEN, 0, ""))

    def test_they_wait_for_a_suite_that_is_locked_for_seconds(self):
        for command, seconds in ((SUITE_EXAMPLE, 6), (LOOPBACK_EXAMPLE, 3), (LOOPBACK_EXAMPLE, 7)):
            with self.subTest(command[0], seconds=seconds), contextlib.ExitStack() as lock:
                def keep_locked():
                    lock.enter_context(Holder(self.path, "BEGIN IMMEDIATE"))
                    threading.Timer(seconds, lock.close).start()
                self.assertEqual(self.dictate_with(command, keep_locked), (SPOKEN, 0, ""))

    def expect_complaint(self, command, break_suite):
        output, code, complaints = self.dictate_with(command, lambda: break_suite(self.path))
        self.assertEqual((output, code), ("", 1))
        self.assertRegex(complaints, r"\A[A-Z][^\n]*\.\n\Z")

    def test_that_of_the_shared_suite_says_that_it_was_damaged(self):
        self.expect_complaint(SUITE_EXAMPLE, overwrite)

    def test_that_of_the_loopback_server_says_that_nothing_came_of_a_damaged_suite(self):
        self.expect_complaint(LOOPBACK_EXAMPLE, overwrite)

    def test_that_of_the_loopback_server_says_that_nothing_came_of_a_deleted_suite(self):
        self.expect_complaint(LOOPBACK_EXAMPLE, delete)

    def test_the_dictation_of_the_read_me_says_that_nothing_came_of_a_damaged_or_deleted_suite(self):
        block, = (block for block in blocks(read("README.md"), "sh") if "dictate wait" in block)
        start, stop, wait = block.splitlines()
        for break_suite in (overwrite, delete):
            with self.subTest(break_suite.__name__):
                self.session.run("sh", "-c", start)
                break_suite(self.path)
                self.session.run("sh", "-c", stop)
                done = self.session.run("sh", "-c", wait, check=False)
                self.assertEqual((done.stdout, done.returncode), ("", 1))
                self.assertRegex(done.stderr, r"\Akavrinctl: [A-Z][^\n]*\.\n\Z")

    def test_that_of_the_shared_suite_says_that_the_file_was_replaced(self):
        def replace():
            delete(self.path)
            self.session.ctl("set", "rowH", "60")

        self.assertEqual(self.dictate_with(SUITE_EXAMPLE, replace),
                         ("", 1, "The suite was replaced by another. Try again.\n"))

    def test_the_dictation_of_the_read_me_and_the_recording_sent_again(self):
        block, = (block for block in blocks(read("README.md"), "sh") if "dictate wait" in block)
        start, stop, wait = block.splitlines()
        self.session.run("sh", "-c", start)
        self.session.play(CLIP)
        self.session.run("sh", "-c", stop)
        self.assertEqual(self.session.run("sh", "-c", wait).stdout.strip(), SPOKEN)
        again, = blocks(section("docs/troubleshooting.md", "The service does not transcribe"), "sh")
        self.assertEqual(self.session.run("sh", "-c", again).stdout.strip(), SPOKEN)


class SlowKavrin(http.server.BaseHTTPRequestHandler):
    """Answers as a Kavrin that takes a command only when it was asked three times since. A "recording" is left over."""

    keys = {"dictationState": "recording", "dictationAlive": 1.5}
    command = ""
    replaced = []
    asked = 0

    def do_GET(self):
        cls = type(self)
        if self.path.startswith("/cmd?v="):
            cls.replaced += [cls.command] if cls.command else []
            cls.command, cls.asked = self.path[7:], 0
        cls.asked += 1
        if cls.asked % 3 == 0:
            cls.keys["dictationAlive"] += 1
            if cls.command == "stop":
                cls.keys |= {"dictationState": "done", "tStamp": 2.5, "transcript": SPOKEN}
            cls.command = ""
        body = json.dumps(cls.keys).encode()
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


class OneServer(socketserver.TCPServer):
    allow_reuse_address = True


class OrderOfCommands(unittest.TestCase):
    def test_the_example_of_the_loopback_server_replaces_no_command_that_was_not_taken(self):
        with OneServer(("127.0.0.1", PORT), SlowKavrin) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            done = subprocess.run(LOOPBACK_EXAMPLE, input="\n", capture_output=True, text=True, check=False)
            server.shutdown()
        self.assertEqual((done.stdout.strip(), SlowKavrin.replaced), (SPOKEN, []))


class Commands(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"

    def test_kavrinctl_takes_every_command_that_needs_no_application(self):
        verbs = "catalogue|get|set|reset|extract-code|save-code"
        for document in DOCUMENTS:
            for block in blocks(read(document), "sh"):
                for command in re.findall(rf"^kavrinctl (?:{verbs}) .*$", block, re.MULTILINE):
                    with self.subTest(command, document=document.name):
                        self.session.run("sh", "-c", command, input="sk-typed\n")

    def test_the_recipe_of_the_embedded_service(self):
        recipe = blocks(section("docs/speech-services.md", "kavrin-stt"), "sh")
        start, settings = (block for block in recipe if "systemctl" not in block)
        service = self.session.start("sh", "-c", f"exec {start}")
        address = service.stdout.readline().strip()
        self.session.run("sh", "-eu", "-c", settings)
        self.assertEqual(self.session.ctl("get", "customURL"), address)
        self.assertEqual(self.session.ctl("transcribe", CLIP), SPOKEN)

    def test_the_log_of_a_bug_report_is_written(self):
        block, = blocks(section("README.md", "Report a bug"), "sh")
        self.session.start("sh", "-c", f"cd '{self.session.folder}'; exec env {block}")
        log = self.session.folder / "kavrin.log"
        wait_until(lambda: log.exists() and "kavrin.application" in log.read_text(encoding="utf-8"), "a log")


class Links(unittest.TestCase):
    def test_each_leads_to_a_file_and_a_heading(self):
        for document in DOCUMENTS:
            links = re.findall(r"\]\(([^)]+)\)", re.sub(r"`[^`\n]*`", "", read(document)))
            for link in links:
                if link.startswith("https://"):
                    continue
                with self.subTest(link, document=document.name):
                    path, _, anchor = link.partition("#")
                    target = document.parent / path if path else document
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, anchors(read(target)))


class Figures(unittest.TestCase):
    def test_those_of_the_read_me_are_those_of_the_table(self):
        figures = re.findall(r"\*\*([\d.]+ \S+)\*\*", section("README.md", "How fast it is"))
        self.assertEqual(len(figures), 3)
        table = read("docs/performance.md")
        for figure in figures:
            number, unit = figure.split()
            self.assertRegex(table, rf"\| {re.escape(number)} (/ \S+ )?{re.escape(unit)} \|")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
