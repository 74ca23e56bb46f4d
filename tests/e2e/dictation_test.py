# SPDX-License-Identifier: MIT
"""A whole dictation, from the keyboard's command to the transcript, through every channel that there is."""

import json
import stat
import subprocess
import unittest

from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"


class Dictation(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_speech_service()
        self.kavrin = self.session.start_kavrin()
        self.suite = self.session.suite()

    def speak(self):
        self.suite.wait_for("dictationState", "recording")
        self.session.play(CLIP)

    def test_over_the_shared_suite(self):
        self.suite.set("dictationCommand", "string", "start")
        self.speak()
        self.suite.set("dictationCommand", "string", "stop")
        self.suite.wait_for("dictationState", "done")
        self.assertEqual(self.suite.get("transcript"), SPOKEN)
        self.assertIsInstance(self.suite.get("tStamp"), float)
        self.assertEqual(self.suite.get("dictationCommand"), "")

    def test_over_the_loopback_server(self):
        self.assertEqual(self.session.http("/cmd?v=start"), {"ok": True})
        self.speak()
        self.session.http("/cmd?v=stop")
        answer = wait_until(lambda: (now := self.session.http("/get")).get("dictationState") == "done" and now,
                            "a transcript")
        self.assertEqual(answer["transcript"], SPOKEN)
        self.session.http(f"/used?t={answer['tStamp']!r}")
        self.assertEqual(self.suite.get("tUsed"), answer["tStamp"])

    def test_from_the_command_line(self):
        self.session.ctl("dictate", "toggle")
        self.speak()
        self.session.ctl("dictate", "toggle")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
        self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_from_a_url_handed_to_a_second_process(self):
        self.session.run(self.session.bin / "kavrin", "kavrin://dictate")
        self.speak()
        self.session.ctl("dictate", "stop")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)

    def test_a_url_opened_while_recording_and_transcribing_changes_nothing(self):
        self.session.ctl("dictate", "start")
        self.session.run(self.session.bin / "kavrin", "kavrin://dictate")
        self.suite.wait_for("dictationCommand", "")
        self.speak()
        self.session.ctl("dictate", "stop")
        self.session.run(self.session.bin / "kavrin", "kavrin://dictate")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)

    def test_one_after_the_other(self):
        stamps = set()
        for _ in range(3):
            self.session.ctl("dictate", "start")
            self.speak()
            self.session.ctl("dictate", "stop")
            self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            stamps.add(self.suite.get("tStamp"))
        self.assertEqual(len(stamps), 3)

    def test_a_second_start_does_not_disturb_the_recording(self):
        self.session.ctl("dictate", "start")
        self.suite.set("dictationCommand", "string", "start")
        self.suite.wait_for("dictationCommand", "")
        self.speak()
        self.session.ctl("dictate", "stop")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)

    def test_a_stop_while_idle_is_swallowed(self):
        self.suite.set("dictationCommand", "string", "stop")
        self.suite.wait_for("dictationCommand", "")
        self.assertIsNone(self.suite.get("dictationState"))

    def test_the_recording_is_private_aac_at_16_kilohertz(self):
        self.session.ctl("dictate", "start")
        self.speak()
        self.session.ctl("dictate", "stop")
        self.session.ctl("dictate", "wait", "--timeout", "60")
        path = json.loads(self.session.ctl("where", "--json"))["recording"]
        probe = json.loads(subprocess.run(
            ["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json", path],
            capture_output=True, check=True).stdout)
        stream = probe["streams"][0]
        self.assertEqual((stream["codec_name"], stream["sample_rate"], stream["channels"]), ("aac", "16000", 1))
        self.assertIn("mp4", probe["format"]["format_name"])
        mode = stat.S_IMODE(self.session.folder.joinpath(path).stat().st_mode)
        self.assertEqual(mode, 0o600)

    def test_transcribing_the_recording_again_gives_the_same_words(self):
        self.session.ctl("dictate", "start")
        self.speak()
        self.session.ctl("dictate", "stop")
        self.session.ctl("dictate", "wait", "--timeout", "60")
        path = json.loads(self.session.ctl("where", "--json"))["recording"]
        self.assertEqual(self.session.ctl("transcribe", path), SPOKEN)


class Clipboard(unittest.TestCase):
    def test_the_transcript_is_on_the_desktop_s_clipboard(self):
        with PrivateSession(display=True) as session:
            session.start_speech_service()
            session.start_kavrin()
            session.ctl("dictate", "start")
            session.play(CLIP)
            session.ctl("dictate", "stop")
            session.ctl("dictate", "wait", "--timeout", "60")
            self.assertEqual(session.run("xclip", "-selection", "clipboard", "-o").stdout, SPOKEN)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
