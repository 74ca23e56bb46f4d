# SPDX-License-Identifier: MIT
"""What goes wrong around a dictation, and that the next one works all the same."""

import http.server
import signal
import threading
import unittest

from support.private_session import (SPEECH, PrivateSession, enter_private_namespaces, make_read_only, undo_mount,
                                     wait_until)
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"


class Faults(unittest.TestCase):
    def dictate(self, session):
        session.ctl("dictate", "start")
        session.play(CLIP)
        session.ctl("dictate", "stop")
        return session.ctl("dictate", "wait", "--timeout", "60")

    def test_without_a_sound_server_the_state_stays_starting_until_there_is_one(self):
        with PrivateSession(sound=False) as session:
            session.start_speech_service()
            session.start_kavrin("--background")
            suite = session.suite()
            suite.set("dictationCommand", "string", "start")
            suite.wait_for("dictationState", "starting")
            refused = session.run(session.bin / "kavrinctl", "dictate", "start", check=False)
            self.assertEqual(refused.returncode, 1)
            self.assertIn("The sound server cannot be reached", refused.stderr)
            session.start_sound_server()
            self.assertEqual(self.dictate(session), SPOKEN)

    def test_a_sound_server_killed_while_recording_leaves_what_was_said(self):
        with PrivateSession() as session:
            session.start_speech_service()
            session.start_kavrin("--background")
            suite = session.suite()
            session.ctl("dictate", "start")
            session.play(CLIP)
            session.end(session.sound_server)
            self.assertEqual(suite.get("dictationState"), "recording")
            session.ctl("dictate", "stop")
            self.assertEqual(session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            session.start_sound_server()
            self.assertEqual(self.dictate(session), SPOKEN)

    def test_a_folder_that_becomes_unwritable_while_recording_leaves_what_was_said(self):
        with PrivateSession() as session:
            session.start_speech_service()
            session.start_kavrin("--background")
            folder = session.folder / "run" / "kavrin"
            session.ctl("dictate", "start")
            make_read_only(folder)
            session.play(CLIP)
            session.ctl("dictate", "stop")
            self.assertEqual(session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            refused = session.run(session.bin / "kavrinctl", "dictate", "start", check=False)
            self.assertEqual(refused.returncode, 1)
            undo_mount(folder)
            self.assertEqual(self.dictate(session), SPOKEN)

    def test_a_service_that_refuses_leaves_the_state_idle_and_the_last_transcript(self):
        with PrivateSession() as session:
            url = session.start_speech_service()
            session.start_kavrin("--background")
            suite = session.suite()
            self.assertEqual(self.dictate(session), SPOKEN)
            stamp = suite.get("tStamp")
            session.ctl("set", "customURL", "http://127.0.0.1:1/v1/audio/transcriptions")
            session.ctl("dictate", "start")
            session.play(CLIP)
            suite.set("dictationCommand", "string", "stop")
            suite.wait_for("dictationState", "idle")
            self.assertEqual((suite.get("transcript"), suite.get("tStamp")), (SPOKEN, stamp))
            session.ctl("set", "customURL", url)
            self.assertEqual(self.dictate(session), SPOKEN)

    def test_a_termination_while_transcribing_ends_it_with_code_0(self):
        with PrivateSession() as session, HangingService() as service:
            session.ctl("set", "provider", "custom")
            session.ctl("set", "customURL", service.url)
            kavrin = session.start_kavrin("--background")
            session.ctl("dictate", "start")
            session.ctl("dictate", "stop")
            kavrin.send_signal(signal.SIGTERM)
            self.assertEqual(kavrin.wait(10), 0)

    def test_a_process_killed_in_any_state_is_started_again(self):
        for state in ("idle", "starting", "recording", "working", "done"):
            with self.subTest(state), PrivateSession() as session, HangingService() as service:
                url = session.start_speech_service()
                kavrin = session.start_kavrin("--background")
                self.bring_into(state, session, service)
                session.end(kavrin)
                session.sound_server.send_signal(signal.SIGCONT)
                session.ctl("set", "customURL", url)
                session.start_kavrin("--background")
                left = {"idle": None, "done": "done"}.get(state, "idle")
                self.assertEqual(session.suite().get("dictationState"), left)
                self.assertEqual(self.dictate(session), SPOKEN)

    def bring_into(self, state, session, service):
        """Brings a dictation into the state, and keeps it there."""
        suite = session.suite()
        if state == "idle":
            return  # nothing is written before the first dictation
        if state == "starting":
            session.sound_server.send_signal(signal.SIGSTOP)
            suite.set("dictationCommand", "string", "start")
        elif state == "done":
            self.dictate(session)
        else:
            session.ctl("set", "customURL", service.url)
            session.ctl("dictate", "start")
            if state == "working":
                suite.set("dictationCommand", "string", "stop")
        suite.wait_for("dictationState", state)

    def test_what_was_said_before_the_process_was_killed_can_still_be_transcribed(self):
        with PrivateSession() as session:
            session.start_speech_service()
            kavrin = session.start_kavrin("--background")
            session.ctl("dictate", "start")
            session.play(CLIP)
            silence = session.folder / "silence.wav"
            session.run("sox", "-n", "-r", "16000", "-c", "1", silence, "trim", "0", "2")
            session.play(silence)
            session.end(kavrin)
            recording = session.folder / "run" / "kavrin" / "dict.m4a"
            self.assertEqual(session.ctl("transcribe", recording), SPOKEN)

    def test_services_get_ordinary_files_also_of_what_a_killed_process_has_recorded(self):
        with PrivateSession() as session, HangingService() as service:
            service.release.set()
            session.ctl("set", "provider", "custom")
            session.ctl("set", "customURL", service.url)
            kavrin = session.start_kavrin("--background")
            recording = session.folder / "run" / "kavrin" / "dict.m4a"
            session.ctl("dictate", "start")
            session.play(CLIP)
            session.ctl("dictate", "stop")
            session.suite().wait_for("dictationState", "idle")
            session.ctl("dictate", "start")
            wait_until(lambda: b"moof" in recording.read_bytes(), "a fragment")
            session.end(kavrin)
            session.run(session.bin / "kavrinctl", "transcribe", recording, check=False)
            self.assertIn(b"moof", recording.read_bytes())
        self.assertEqual([(body.count(b"moov"), body.count(b"moof")) for body in service.received], [(1, 0), (1, 0)])

    def test_a_damaged_suite_is_set_aside_and_the_dictation_goes_on(self):
        with PrivateSession() as session:
            session.start_speech_service()
            path = session.folder / "home/data/app-groups/group.app.kavrin.shared/defaults.sqlite"
            path.write_bytes(b"no database " * 500)
            for suffix in ("-wal", "-shm"):
                path.with_name(path.name + suffix).unlink(missing_ok=True)
            session.start_kavrin("--background")
            self.assertEqual(len(list(path.parent.glob("*.damaged-*"))), 1)
            session.start_speech_service()
            self.assertEqual(self.dictate(session), SPOKEN)


class HangingService:
    """A speech service that answers with an error, and only when it is released. Keeps what it received."""

    def __init__(self, body=b'{"error":{"message":"no"}}', status=500):
        self.release = threading.Event()
        release = self.release
        self.received = received = []

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                received.append(self.rfile.read(int(self.headers["Content-Length"])))
                release.wait()
                self.send_response(status)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.server.handle_error = lambda *_: None  # clients that were killed do not wait for their answer
        self.url = f"http://127.0.0.1:{self.server.server_port}/v1/audio/transcriptions"

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.release.set()
        self.server.shutdown()
        self.server.server_close()


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
