# SPDX-License-Identifier: MIT
"""What is asked of a running Kavrin while the shared suite takes nothing: it is done all the same, and what fails is
told to who has asked."""

import contextlib
import http.server
import json
import subprocess
import threading
import time
import unittest

from gi.repository import GLib

from faults_test import HangingService
from support.desktop import APPLICATION, DICTATION, Bus, Notifications, Tray
from support.private_session import (PrivateSession, enter_private_namespaces, fill, make_read_only, small_disk,
                                     undo_mount, wait_until)
from support.suite_case import Holder


class Service:
    """A speech service that answers, and knows when its client has the answer."""

    def __init__(self):
        self.asked = 0
        self.done = threading.Event()
        outer = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                outer.asked += 1
                self.rfile.read(int(self.headers["Content-Length"]))
                body = json.dumps({"text": "said"}).encode()
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.send_header("Connection", "close")
                self.end_headers()
                self.wfile.write(body)
                self.wfile.flush()
                self.rfile.read()  # until the client has closed
                outer.done.set()

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.url = f"http://127.0.0.1:{self.server.server_port}/v1/audio/transcriptions"

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()


@contextlib.contextmanager
def locked(suite):
    """Another program that is about to write and takes its time."""
    suite.database.execute("BEGIN IMMEDIATE")
    try:
        yield
    finally:
        suite.database.execute("ROLLBACK")


class Commands(unittest.TestCase):
    display = False

    def setUp(self):
        self.session = self.enterContext(PrivateSession(display=self.display))
        self.bus = Bus(self.session)
        self.suite = self.session.suite()

    def microphones_in_use(self):
        streams = self.session.run("pactl", "list", "short", "source-outputs").stdout.splitlines()
        return [stream for stream in streams if "protocol-native" in stream]

    def wait_until_the_microphone_is_free(self):
        wait_until(lambda: not self.microphones_in_use(), "the microphone is free")

    def refused(self, *arguments):
        """What kavrinctl says when it refuses."""
        done = self.session.run(self.session.bin / "kavrinctl", *arguments, check=False)
        self.assertEqual(done.returncode, 1, done.stdout)
        return done.stderr.strip()


class WithoutTheSuite(Commands):
    def setUp(self):
        super().setUp()
        self.service = self.enterContext(Service())
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", self.service.url)
        self.path = json.loads(self.session.ctl("where", "--json"))["suite"]
        self.session.start_kavrin("--background")

    def test_kavrinctl_starts_and_stops(self):
        with locked(self.suite):
            self.session.ctl("dictate", "start")
            self.assertTrue(self.microphones_in_use())
            self.session.ctl("dictate", "stop")
            self.wait_until_the_microphone_is_free()
        self.suite.wait_for("dictationState", "done")
        self.assertIsNone(self.suite.get("dictationCommand"))

    def test_the_bus_starts_and_stops(self):
        with locked(self.suite):
            self.bus.act("dictate")
            self.assertTrue(self.microphones_in_use())
            self.bus.act("dictate")
            self.wait_until_the_microphone_is_free()

    def test_http_stops_once_its_command_is_given_up_and_nothing_is_recorded_after_that(self):
        self.session.ctl("dictate", "start")
        self.suite.wait_for("dictationState", "recording")
        with locked(self.suite):
            asked = self.session.start("curl", "--silent", "http://127.0.0.1:49731/cmd?v=stop")
            self.wait_until_the_microphone_is_free()
            self.assertEqual(asked.wait(10), 0)
        self.suite.wait_for("dictationState", "done")
        self.assertFalse(self.suite.get("dictationCommand"))
        self.wait_until_the_microphone_is_free()

    def test_http_commands_that_had_to_wait_are_acted_on_once(self):
        for command in ("start", "stop"):
            with contextlib.ExitStack() as lock:
                lock.enter_context(Holder(self.path, "BEGIN IMMEDIATE"))
                threading.Timer(3, lock.close).start()
                self.assertEqual(self.session.http(f"/cmd?v={command}"), {"ok": True})
                wait_until(lambda: bool(self.microphones_in_use()) == (command == "start"), f"{command} is obeyed")
        self.assert_one_recording_was_made()

    def test_an_http_start_that_cannot_be_consumed_is_acted_on_once(self):
        self.session.http("/cmd?v=start")
        with Holder(self.path, "BEGIN IMMEDIATE"):
            wait_until(self.microphones_in_use, "a recording begins")
            self.session.http("/cmd?v=stop")
            self.wait_until_the_microphone_is_free()
        self.assert_one_recording_was_made()

    def assert_one_recording_was_made(self):
        """And nothing takes a command that would make another: Kavrin looks for one eight times between two beats."""
        self.suite.wait_for("dictationCommand", "")
        for _ in range(2):
            beat = self.suite.get("dictationAlive")
            wait_until(lambda: self.suite.get("dictationAlive") != beat, "another beat")
        self.suite.wait_for("dictationState", "done")
        self.assertEqual((self.service.asked, self.microphones_in_use()), (1, []))

    def test_a_url_starts_once_its_command_is_given_up(self):
        with locked(self.suite):
            self.bus.call(*APPLICATION, "Open", "(asa{sv})", ["kavrin://dictate"], {})
            wait_until(self.microphones_in_use, "a recording begins")
        self.session.ctl("dictate", "stop")


class OnADiskThatTakesNothing(Commands):
    def setUp(self):
        super().setUp()
        self.home = self.session.folder / "home"

    def assert_stopped_each_way(self):
        self.session.start_kavrin("--background", beats=False)
        for way, stop in (("HTTP", lambda: self.session.http("/cmd?v=stop")),
                          ("kavrinctl", lambda: self.session.ctl("dictate", "stop")),
                          ("bus", lambda: self.bus.call(*DICTATION, "Stop"))):
            with self.subTest(way):
                self.session.ctl("dictate", "start")
                self.assertTrue(self.microphones_in_use())
                stop()
                self.wait_until_the_microphone_is_free()
                wait_until(lambda: self.bus.call(*DICTATION, "State") == ("idle",), "the dictation has ended")

    def test_that_is_read_only_a_recording_is_stopped(self):
        make_read_only(self.home)
        self.addCleanup(undo_mount, self.home)
        self.assert_stopped_each_way()

    def test_that_is_full_a_recording_is_stopped(self):
        small_disk(self.home, 64 * 1024)
        self.addCleanup(undo_mount, self.home)
        fill(self.home)
        self.assert_stopped_each_way()


class Failures(Commands):
    def test_who_asks_for_what_the_state_does_not_permit_is_told(self):
        self.session.start_kavrin("--background")
        self.assertEqual(self.refused("dictate", "stop"), "kavrinctl: There is no recording to stop.")
        with self.assertRaisesRegex(GLib.Error, "There is no recording to stop"):
            self.bus.call(*DICTATION, "Stop")

    def test_who_asks_for_a_recording_that_cannot_begin_is_told_why(self):
        self.session.end(self.session.sound_server)
        self.session.start_kavrin("--background")
        self.assertIn("The sound server cannot be reached", self.refused("dictate", "start"))
        with self.assertRaisesRegex(GLib.Error, "The sound server cannot be reached"):
            self.bus.act("dictate")

    def test_who_asks_to_save_a_code_that_cannot_be_stored_is_told(self):
        self.session.start_kavrin("--background")
        with locked(self.suite), self.assertRaisesRegex(GLib.Error, "keeps the file locked"):
            self.bus.act("save-code", "Your code is 482913")


class WithoutAnAnswer(Commands):
    def setUp(self):
        super().setUp()
        self.service = self.enterContext(HangingService(b'{"text": "late"}', status=200))
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", self.service.url)

    def assert_nothing_comes(self):
        self.suite.wait_for("dictationState", "idle")
        self.service.release.set()
        self.assertEqual(self.refused("dictate", "wait"), "kavrinctl: The dictation was cancelled.")
        self.assertEqual([self.suite.get(key) for key in ("dictationState", "transcript", "tStamp")], ["idle", None, None])


class Cancelling(WithoutAnAnswer):
    def test_a_recording_is_given_up_and_kept(self):
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "cancel")
        self.wait_until_the_microphone_is_free()
        self.assert_nothing_comes()
        self.assertTrue((self.session.folder / "run/kavrin/dict.m4a").exists())
        self.assertEqual(self.refused("dictate", "cancel"), "kavrinctl: There is no dictation to cancel.")

    def test_a_transcription_is_given_up(self):
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "stop")
        self.session.ctl("dictate", "cancel")
        self.assert_nothing_comes()

    def test_a_notification_offers_it_when_it_takes_long(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "stop")
        wait_until(notifications.shown, "a notification")
        self.assertEqual(notifications.shown(), [("Transcribing", "The service has not answered yet.")])
        self.assertEqual(notifications.actions(), ["default", "Open voice typing", "give-up", "Cancel"])
        notifications.press("give-up")
        self.assert_nothing_comes()
        wait_until(lambda: notifications.calls("CloseNotification"), "the notification is taken back")


class SendingAgain(Commands):
    def use(self, url):
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", url)

    def fail_to_dictate(self):
        self.use("http://127.0.0.1:1/")
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "stop")
        self.wait_until_idle()

    def wait_until_idle(self):
        wait_until(lambda: self.bus.call(*DICTATION, "State") == ("idle",), "the dictation has ended")

    def kept(self):
        return sorted(path.name for path in (self.session.folder / "run/kavrin").glob("failed-*"))

    def test_the_text_of_the_latest_goes_the_way_of_any_other_also_after_a_restart(self):
        kavrin = self.session.start_kavrin("--background")
        for _ in range(4):
            self.fail_to_dictate()
        self.assertEqual(self.kept(), ["failed-2.m4a", "failed-3.m4a", "failed-4.m4a"])
        self.session.end(kavrin)
        self.session.start_kavrin("--background")
        with Service() as service:
            self.use(service.url)
            self.session.ctl("dictate", "again")
            self.assertEqual(self.session.ctl("dictate", "wait"), "said")
        self.assertEqual(self.suite.get("dictationState"), "done")
        self.assertEqual(self.kept(), ["failed-2.m4a", "failed-3.m4a"])

    def test_the_notification_of_the_failure_offers_it(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.fail_to_dictate()
        wait_until(notifications.shown, "a notification")
        self.assertEqual(notifications.actions()[2:], ["again", "Try again", "settings", "Settings"])
        with Service() as service:
            self.use(service.url)
            notifications.press("again")
            self.suite.wait_for("transcript", "said")
        wait_until(lambda: not self.kept(), "the recording is removed")
        self.wait_until_idle()
        notifications.press("again")
        wait_until(lambda: ("Voice typing", "There is no recording to send again.") in notifications.shown(), "the reason")

    def test_who_asks_for_what_cannot_be_sent_is_told_why(self):
        self.assertIn("Kavrin is not running", self.refused("dictate", "again"))
        self.session.start_kavrin("--background")
        self.assertEqual(self.refused("dictate", "again"), "kavrinctl: There is no recording to send again.")
        self.fail_to_dictate()
        self.session.ctl("dictate", "start")
        self.assertEqual(self.refused("dictate", "again"),
                         "kavrinctl: A dictation is running. Wait until it has ended.")
        self.session.ctl("dictate", "cancel")
        self.wait_until_the_microphone_is_free()


class Announced(Commands):
    def test_a_notification_shows_how_it_goes_on_until_the_text_is_delivered(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        with Service() as service:
            self.session.ctl("set", "provider", "custom")
            self.session.ctl("set", "customURL", service.url)
            self.suite.set("dictationCommand", "string", "start")
            self.suite.wait_for("dictationState", "recording")
            number, = self.bus.call(*DICTATION, "Commanded")
            self.bus.call(*DICTATION, "Announce", "(t)", number)
            wait_until(lambda: [title for title, _ in notifications.shown()] == ["Listening"], "the notification")
            notifications.press("stop")
            self.suite.wait_for("transcript", "said")
        wait_until(lambda: notifications.shown()[-1][0] == "Transcribing", "the next stage")
        self.assertEqual(notifications.calls("CloseNotification"), [])
        self.bus.call(*DICTATION, "Delivered", "(ts)", number, "")
        wait_until(lambda: notifications.calls("CloseNotification"), "the notification is taken back")
        self.assertEqual(notifications.replaced(), [0, 1])


class InTheTray(WithoutAnAnswer):
    display = True

    def test_the_tray_offers_it(self):
        tray = Tray(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        item = tray.item()
        wait_until(lambda: "Cancel dictation" in item.menu(), "the menu offers it")
        item.choose("Cancel dictation")
        self.assert_nothing_comes()
        wait_until(lambda: "Cancel dictation" not in item.menu(), "the menu offers it no more")

    def test_the_tray_tells_that_the_last_dictation_is_still_transcribed(self):
        notifications = Notifications(self.session, self.bus)
        tray = Tray(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "stop")
        reason = "The last dictation is still being transcribed."
        self.assertEqual(self.refused("dictate", "start"), f"kavrinctl: {reason}")
        tray.item().choose("Start dictation")
        wait_until(notifications.shown, "a notification")
        self.assertEqual(notifications.shown(), [("Voice typing", reason)])


class Waiting(Commands):
    """What "dictate wait" comes to, where there is a transcript of before that nobody has used."""

    def setUp(self):
        super().setUp()
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customKey", "sk-secret-4711")
        self.session.ctl("defaults", "write", "transcript", "--string", "of before")
        self.session.ctl("defaults", "write", "tStamp", "--double", "1000.5")
        self.session.ctl("defaults", "write", "dictationState", "--string", "done")
        self.kavrin = self.session.start_kavrin("--background")

    def use(self, service):
        self.session.ctl("set", "customURL", service.url)

    def dictate(self):
        self.session.ctl("dictate", "start")
        self.session.ctl("dictate", "stop")

    def test_a_failure_is_told_once_with_every_key_masked_however_late_it_is_asked_for(self):
        service = self.enterContext(HangingService(b'["bad sk-secret-4711"]', status=401))
        service.release.set()
        self.use(service)
        self.dictate()
        self.suite.wait_for("dictationState", "idle")
        self.assertEqual(self.refused("dictate", "wait"), 'kavrinctl: Error: ["bad •••"]')
        self.assertIn("No transcript has come", self.refused("dictate", "wait", "--timeout", "0"))

    def test_a_failure_hides_the_text_of_the_dictation_before(self):
        self.suite.set("transcript", "string", "of before")
        self.suite.set("tStamp", "double", time.time() - 5)
        service = self.enterContext(HangingService(b'["no"]', status=401))
        service.release.set()
        self.use(service)
        self.dictate()
        self.suite.wait_for("dictationState", "idle")
        self.assertIn("Error: ", self.refused("dictate", "wait"))
        self.assertIn("No transcript has come", self.refused("dictate", "wait", "--timeout", "0"))

    def test_a_failure_that_is_waited_for(self):
        service = self.enterContext(HangingService())
        self.use(service)
        self.dictate()
        waiting = self.session.start(self.session.bin / "kavrinctl", "dictate", "wait", stderr=subprocess.PIPE)
        with self.assertRaises(subprocess.TimeoutExpired):
            waiting.wait(0.5)
        service.release.set()
        self.assertIn("Error: ", waiting.communicate(timeout=10)[1])
        self.assertEqual(waiting.returncode, 1)

    def test_a_recording_that_cannot_begin(self):
        self.session.end(self.session.sound_server)
        self.refused("dictate", "start")
        self.assertIn("The sound server cannot be reached", self.refused("dictate", "wait"))

    def test_a_text_after_a_failure(self):
        service = self.enterContext(HangingService())
        service.release.set()
        self.use(service)
        self.dictate()
        self.suite.wait_for("dictationState", "idle")
        self.use(self.enterContext(Service()))
        self.dictate()
        self.assertEqual(self.session.ctl("dictate", "wait"), "said")

    def test_a_kavrin_that_ends(self):
        self.use(self.enterContext(HangingService()))
        self.dictate()
        waiting = self.session.start(self.session.bin / "kavrinctl", "dictate", "wait", stderr=subprocess.PIPE)
        with self.assertRaises(subprocess.TimeoutExpired):
            waiting.wait(0.5)
        self.session.end(self.kavrin)
        self.assertIn("Kavrin is not running", waiting.communicate(timeout=10)[1])
        self.assertEqual(waiting.returncode, 1)


class Ending(Commands):
    def test_a_transcript_that_waits_for_the_suite_is_handed_over_before_it_ends(self):
        service = self.enterContext(Service())
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", service.url)
        kavrin = self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.suite.wait_for("dictationState", "recording")
        with locked(self.suite):
            self.session.ctl("dictate", "stop")
            self.assertTrue(service.done.wait(10))
            kavrin.terminate()
            with self.assertRaises(subprocess.TimeoutExpired):
                kavrin.wait(0.5)
        self.assertEqual(kavrin.wait(10), 0)
        self.assertEqual([self.suite.get(key) for key in ("dictationState", "transcript")], ["done", "said"])


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
