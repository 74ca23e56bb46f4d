# SPDX-License-Identifier: MIT
"""The examples of the documents, run as they stand against the real application."""

import os
import re
import subprocess
import sys
import unittest

from support.private_session import ROOT, SPEECH, PrivateSession, enter_private_namespaces

CLIP = SPEECH / "cards" / "001.wav"
SPOKEN = "ten of clubs"


def blocks(document, language):
    text = (ROOT / "docs" / document).read_text(encoding="utf-8")
    return re.findall(rf"^```{language}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def example(document, language):
    return max(blocks(document, language), key=len)


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
        self.assertIn(SPOKEN, self.dictate_with(sys.executable, "-c", example("shared-suite.md", "python")))
        suite = self.session.suite()
        self.assertEqual(suite.get("tUsed"), suite.get("tStamp"))

    def test_the_shell_example_of_the_loopback_server(self):
        self.assertIn(SPOKEN, self.dictate_with("sh", "-eu", "-c", example("loopback.md", "sh")))
        suite = self.session.suite()
        self.assertEqual(suite.get("tUsed"), suite.get("tStamp"))


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
