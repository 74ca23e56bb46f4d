# SPDX-License-Identifier: MIT
"""The examples of the documents, run as they stand against the real application; and where the documents lead."""

import os
import re
import subprocess
import sys
import textwrap
import unittest

from support.private_session import ROOT, SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN

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


class Examples(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_speech_service()
        self.session.start_kavrin()
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"

    def dictate_with(self, *command):
        """Runs an example, speaks when it records, and tells it on its standard input that the user is done."""
        process = subprocess.Popen(command, env=self.session.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   text=True)
        self.session.suite().wait_for("dictationState", "recording")
        self.session.play(CLIP)
        output, _ = process.communicate("\n", timeout=60)
        self.assertEqual(process.returncode, 0)
        return output

    def test_the_python_example_of_the_shared_suite(self):
        self.assertIn(SPOKEN, self.dictate_with(sys.executable, "-c", example("docs/shared-suite.md", "python")))
        suite = self.session.suite()
        self.assertEqual(suite.get("tUsed"), suite.get("tStamp"))

    def test_the_shell_example_of_the_loopback_server(self):
        self.assertIn(SPOKEN, self.dictate_with("sh", "-eu", "-c", example("docs/loopback.md", "sh")))
        suite = self.session.suite()
        self.assertEqual(suite.get("tUsed"), suite.get("tStamp"))

    def test_the_dictation_of_the_read_me_and_the_recording_sent_again(self):
        block, = (block for block in blocks(read("README.md"), "sh") if "dictate wait" in block)
        start, stop, wait = block.splitlines()
        self.session.run("sh", "-c", start)
        self.session.play(CLIP)
        self.session.run("sh", "-c", stop)
        self.assertEqual(self.session.run("sh", "-c", wait).stdout.strip(), SPOKEN)
        again, = blocks(section("docs/troubleshooting.md", "The service does not transcribe"), "sh")
        self.assertEqual(self.session.run("sh", "-c", again).stdout.strip(), SPOKEN)


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
        self.assertIn(settings.splitlines(), [block.splitlines()[1:] for block in blocks(read("README.md"), "sh")])

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
