# SPDX-License-Identifier: MIT
"""What the user is told where no window tells it: failed dictations as notifications, and nothing that is secret."""

import json
import signal
import subprocess
import unittest

from faults_test import HangingService
from support.desktop import DICTATION, Bus, Notifications, Tray
from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.screen_reader import Window, WindowSession
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
PROSE = SPEECH / "librivox" / "sense_and_sensibility_01_austen_64kb-0870.wav"
TITLE = "Voice typing"
TYPED = "sk-typed-2358"
MESSAGE = "Hazel Bank: your code is 482913"
KEYS = {"openaiKey": "sk-openai-4711", "customKey": "sk-openai-4711-custom", "geminiKey": "gm 0815/äöü",
        "giphyKey": 'sk-"quo\\te'}


class RefusingService(HangingService):
    """A speech service that refuses everything with the JSON of the test."""

    def __init__(self, answer):
        super().__init__(answer.encode(), status=401)
        self.release.set()


def choose(session, service):
    """Makes it the service that transcribes."""
    session.ctl("set", "provider", "custom")
    session.ctl("set", "customURL", service.url)


def dictate_with(session, service):
    choose(session, service)
    session.ctl("dictate", "start")
    session.ctl("dictate", "stop")


def fail_with(session, service):
    """Dictates with a service that refuses, until it has."""
    dictate_with(session, service)
    session.suite().wait_for("dictationState", "idle")


class InTheBackground(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.bus = Bus(self.session)
        self.suite = self.session.suite()

    def expect_notice(self, notifications, text):
        wait_until(notifications.shown, "a notification")
        self.assertEqual(notifications.shown(), [(TITLE, text)])

    def test_a_recording_that_cannot_begin(self):
        notifications = Notifications(self.session, self.bus)
        self.session.end(self.session.sound_server)
        self.session.start_kavrin("--background")
        self.suite.set("dictationCommand", "string", "start")
        wait_until(notifications.shown, "a notification")
        title, text = notifications.shown()[0]
        self.assertEqual(title, TITLE)
        self.assertTrue(text.startswith("Recording failed: The sound server cannot be reached"), text)

    def test_a_recording_without_a_sound_is_not_sent_and_told_at_its_start_and_its_stop(self):
        def take_microphone_away():
            for module in ("module-remap-source", "module-null-sink"):
                self.session.run("pactl", "unload-module", module)

        def freeze_sound_server():
            self.session.ctl("dictate", "start")  # so that Kavrin is connected
            self.session.ctl("dictate", "stop")
            self.suite.wait_for("dictationState", "done")
            self.session.sound_server.send_signal(signal.SIGSTOP)

        for break_sound in (freeze_sound_server, take_microphone_away):
            with self.subTest(break_sound.__name__), RefusingService('{"text":"invented"}') as service:
                notifications = Notifications(self.session, self.bus)
                kavrin = self.session.start_kavrin("--background")
                choose(self.session, service)
                break_sound()
                told, sent = len(notifications.shown()), len(service.received)
                for key, kind, value in (("transcript", "string", "old"), ("tStamp", "double", 1.5)):
                    self.suite.set(key, kind, value)
                self.suite.set("dictationCommand", "string", "start")
                wait_until(lambda: len(notifications.shown()) == told + 1, "the notification at the start")
                self.assertEqual(self.suite.get("dictationState"), "recording")
                self.suite.set("dictationCommand", "string", "stop")
                wait_until(lambda: len(notifications.shown()) == told + 2, "the notification at the stop")
                texts = [text.partition(": ")[::2] for _, text in notifications.shown()[told:]]
                self.assertEqual([text[0] for text in texts], ["Recording failed", "Error"])
                self.assertTrue(all(text[1].startswith("No sound comes from the microphone.") for text in texts), texts)
                self.suite.wait_for("dictationState", "idle")
                self.assertEqual((self.suite.get("transcript"), self.suite.get("tStamp")), ("old", 1.5))
                self.assertEqual(len(service.received), sent)
                self.session.end(kavrin)
                notifications.end()
                self.session.end(self.session.sound_server)
                self.session.start_sound_server()

    def test_each_failure_takes_the_place_of_the_one_before(self):
        notifications = Notifications(self.session, self.bus)
        self.session.end(self.session.sound_server)
        self.session.start_kavrin("--background")
        for count in (1, 2, 3):
            self.suite.set("dictationCommand", "string", "start")
            wait_until(lambda wanted=count: len(notifications.shown()) == wanted, f"notification {count}")
            wait_until(lambda: self.bus.call(*DICTATION, "State") == ("idle",), "the end of the dictation")
        self.assertEqual(notifications.replaced(), [0, 1, 1])

    def test_what_a_service_says_with_every_key_masked(self):
        cases = [
            ('{"error":"no"}', 'Error: {"error":"no"}'),
            ('{\n  "error":\t"Incorrect key sk-openai-4711."\n}\n', 'Error: { "error": "Incorrect key •••." }'),
            ('{"error":"sk-openai-4711-custom, not sk-openai-4711"}', 'Error: {"error":"•••, not •••"}'),
            ('["gm 0815/äöü","gm 0815/\\u00e4\\u00f6\\u00fc","gm 0815\\/\\u00e4\\u00f6\\u00fc"]', 'Error: ["•••","•••","•••"]'),
            ('["?key=gm%200815%2F%C3%A4%C3%B6%C3%BC","gm+0815%2f%c3%a4öü"]', 'Error: ["?key=•••","•••"]'),
            (r'["sk-\"quo\\te", "sk-\u0022quo\u005Cte"]', 'Error: ["•••", "•••"]'),
            ('["' + "x" * 400 + '"]', 'Error: ["' + "x" * 190 + "…"),
            ('["' + "x" * 180 + "sk-openai-4711" + "y" * 50 + '"]', 'Error: ["' + "x" * 180 + "•••" + "y" * 7 + "…"),
        ]
        for key, value in KEYS.items():
            self.session.ctl("set", key, value)
        self.session.start_kavrin("--background")
        for answer, shown in cases:
            with self.subTest(answer), RefusingService(answer) as service:
                notifications = Notifications(self.session, self.bus)
                fail_with(self.session, service)
                self.expect_notice(notifications, shown)
                error = json.loads(self.suite.get("dictationError"))
                self.assertEqual((error["code"], error["message"]), ("stt", shown))
                notifications.end()

    def test_the_key_that_was_sent_is_masked_though_it_has_been_changed_since(self):
        notifications = Notifications(self.session, self.bus)
        self.session.ctl("set", "customKey", "sk-old-4711")
        self.session.start_kavrin("--background")
        with HangingService(b'["bad Bearer sk-old-4711"]') as service:
            dictate_with(self.session, service)
            self.session.ctl("set", "customKey", "sk-new-4712")
            service.release.set()
            self.expect_notice(notifications, 'Error: ["bad Bearer •••"]')

    def test_quitting_during_a_transcription_is_told(self):
        notifications = Notifications(self.session, self.bus)
        kavrin = self.session.start_kavrin("--background")
        with HangingService() as service:
            dictate_with(self.session, service)
            kavrin.terminate()
            self.assertEqual(kavrin.wait(10), 0)
        self.expect_notice(notifications, "Error: The exchange with 127.0.0.1 was given up.")

    def test_where_markup_is_understood_the_text_is_still_shown_as_it_is(self):
        notifications = Notifications(self.session, self.bus, capabilities="body body-markup")
        self.session.start_kavrin("--background")
        with RefusingService('["<b>a</b> & b"]') as service:
            fail_with(self.session, service)
        self.expect_notice(notifications, "Error: [&quot;&lt;b&gt;a&lt;/b&gt; &amp; b&quot;]")

    def test_a_dictation_that_succeeds_and_a_code_show_nothing(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_speech_service()
        self.session.start_kavrin("--background")
        self.bus.act("save-code", "Your code is 482913")
        self.suite.wait_for("otpCode", "482913")
        self.session.ctl("dictate", "start")
        self.session.play(CLIP)
        self.session.ctl("dictate", "stop")
        self.suite.wait_for("transcript", SPOKEN)
        with RefusingService('["no"]') as service:  # whatever came before it was shown before it
            fail_with(self.session, service)
        self.expect_notice(notifications, 'Error: ["no"]')

    def test_a_silence_is_told_until_sound_comes_and_whether_the_microphone_is_muted(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        for count, (muted, reason) in enumerate((("0", "Speak louder"), ("1", "The microphone is muted.")), 1):
            with self.subTest(reason):
                self.session.run("pactl", "set-source-mute", "microphone", muted)
                self.suite.set("dictationCommand", "string", "start")
                wait_until(lambda told=reason: any(told in text for _, text in notifications.shown()), reason)
                self.assertEqual({title for title, _ in notifications.shown()}, {"Kavrin hears nothing"})
                self.session.run("pactl", "set-source-mute", "microphone", "0")
                self.session.play(CLIP)
                wait_until(lambda closed=count: len(notifications.calls("CloseNotification")) == closed, "it goes")
                self.session.ctl("dictate", "cancel")

    def test_speech_is_no_silence(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.session.ctl("dictate", "start")
        self.session.play(PROSE)
        self.session.ctl("dictate", "cancel")
        with RefusingService('["no"]') as service:  # whatever came before it was shown before it
            fail_with(self.session, service)
        self.expect_notice(notifications, 'Error: ["no"]')

    def test_no_service_for_notifications_leaves_dictation_working(self):
        self.session.start_kavrin("--background")
        with RefusingService('["no"]') as service:
            fail_with(self.session, service)
        self.session.start_speech_service()
        self.session.ctl("dictate", "start")
        self.session.play(CLIP)
        self.session.ctl("dictate", "stop")
        self.suite.wait_for("transcript", SPOKEN)


class WithAWindow(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(WindowSession(sound=True))
        self.bus = Bus(self.session)
        self.suite = self.session.suite()
        self.notifications = Notifications(self.session, self.bus)
        self.addCleanup(self.notifications.end)

    def dictate_on_the_screen(self, window, service):
        choose(self.session, service)
        window.open_page("Voice typing")
        window.find("Test voice typing", "push button").press()
        self.suite.wait_for("dictationState", "recording")
        window.find("Stop", "push button").press()
        # A service that answers at once soon has the state "idle".
        wait_until(lambda: self.suite.get("dictationState") in ("working", "idle"), "the recording ends")

    def test_a_click_opens_the_settings_of_dictation(self):
        kavrin = self.session.start_kavrin("--background")
        with RefusingService('["no"]') as service:
            fail_with(self.session, service)
        wait_until(self.notifications.shown, "a notification")
        self.assertEqual(self.notifications.actions()[:2], ["default", "Open voice typing"])
        self.notifications.click()
        Window(self.session, kavrin).wait_for_page("Voice typing")

    def test_so_does_its_button(self):
        kavrin = self.session.start_kavrin("--background")
        with RefusingService('["no"]') as service:
            fail_with(self.session, service)
        wait_until(self.notifications.shown, "a notification")
        self.notifications.press("settings")
        Window(self.session, kavrin).wait_for_page("Voice typing")

    def test_a_click_leads_there_from_any_page(self):
        window = self.session.open_window()
        window.open_page("Layout")
        with RefusingService('["no"]') as service:
            fail_with(self.session, service)
        wait_until(self.notifications.shown, "a notification")
        self.notifications.click()
        window.wait_for_page("Voice typing")
        window.go_back()

    def test_what_the_dictation_screen_shows_is_not_notified(self):
        window = self.session.open_window()
        with RefusingService('["on the screen"]') as service:
            self.dictate_on_the_screen(window, service)
            window.find('Error: ["on the screen"]', "label")
        window.find("Close", "push button").press()
        window.wait_until_gone("Dictation", "dialog")
        with RefusingService('["to the keyboard"]') as service:
            fail_with(self.session, service)
        wait_until(self.notifications.shown, "a notification")
        self.assertEqual(self.notifications.shown(), [(TITLE, 'Error: ["to the keyboard"]')])

    def test_what_fails_behind_another_window_is_notified(self):
        with HangingService() as service:
            window = self.session.open_window()
            self.dictate_on_the_screen(window, service)
            self.session.start("xmessage", "-geometry", "1000x1000+0+0", "Something else")
            search = ("xdotool", "search", "--onlyvisible", "--name", "xmessage")
            other = wait_until(lambda: self.session.run(*search, check=False).stdout.strip(), "the other window")
            self.session.run("xdotool", "windowfocus", "--sync", other)
            wait_until(lambda: not window.is_active(), "Kavrin knows that its window is not the active one")
            service.release.set()
            wait_until(self.notifications.shown, "a notification")

    def test_closing_the_window_during_a_transcription_ends_it_in_order(self):
        with HangingService() as service:
            window = self.session.open_window()
            self.dictate_on_the_screen(window, service)
            self.session.close_window(window.process)
            self.assertEqual(window.process.wait(10), 0)
        wait_until(self.notifications.shown, "a notification")

    def test_a_click_closes_a_dictation_screen_on_which_nothing_goes_on(self):
        window = self.session.open_window()
        with RefusingService('["on the screen"]') as service:
            self.dictate_on_the_screen(window, service)
            window.find('Error: ["on the screen"]', "label")
            fail_with(self.session, service)
        wait_until(self.notifications.shown, "a notification")
        self.notifications.click()
        window.wait_until_gone("Dictation", "dialog")
        window.wait_for_page("Voice typing")

    def test_what_fails_once_the_dictation_screen_is_closed_is_notified(self):
        with HangingService() as service:
            window = self.session.open_window()
            self.dictate_on_the_screen(window, service)
            window.find("Close", "push button").press()
            window.wait_until_gone("Dictation", "dialog")
            service.release.set()
        wait_until(self.notifications.shown, "a notification")
        self.assertEqual([title for title, _ in self.notifications.shown()], [TITLE])


class Log(unittest.TestCase):
    """A whole run, with every line that the programs can be asked for."""

    SECRETS = (*KEYS.values(), SPOKEN, "482913", "Hazel", "echoed", TYPED)

    def setUp(self):
        self.session = self.enterContext(WindowSession())
        self.bus = Bus(self.session)
        self.log = (self.session.folder / "log").open("w+", encoding="utf-8")
        self.addCleanup(self.log.close)
        for service in (Tray(self.session, self.bus), Notifications(self.session, self.bus)):
            self.addCleanup(service.end)

    def run_everything(self):
        ctl = self.session.bin / "kavrinctl"
        for key, value in KEYS.items():
            self.logged(ctl, "set", key, value)
        kavrin = self.session.start(self.session.bin / "kavrin", stdout=self.log, stderr=subprocess.STDOUT)
        suite = self.session.suite()
        wait_until(lambda: suite.get("dictationAlive"), "the heartbeat")
        suite.set("dictationCommand", "string", "start")  # there is no sound server yet
        suite.wait_for("dictationState", "starting")
        self.session.start_sound_server()
        self.logged(ctl, "save-code", MESSAGE)
        self.bus.act("save-code", MESSAGE)
        service = self.session.start(self.session.bin / "kavrin-stt", "--port", "0", stderr=self.log)
        self.logged(ctl, "set", "provider", "custom")
        self.logged(ctl, "set", "customURL", service.stdout.readline().strip())
        self.logged(ctl, "dictate", "start")
        self.session.play(CLIP)
        self.logged(ctl, "dictate", "stop")
        suite.wait_for("transcript", SPOKEN)
        self.session.http("/get")
        self.type_a_key(kavrin)
        with RefusingService(json.dumps(["echoed", *KEYS.values()])) as refusing:
            self.logged(ctl, "set", "customURL", refusing.url)
            self.logged(ctl, "dictate", "start")
            self.logged(ctl, "dictate", "stop")
            suite.wait_for("dictationState", "idle")
        kavrin.terminate()
        self.assertEqual(kavrin.wait(10), 0)
        self.log.seek(0)
        return self.log.read()

    def type_a_key(self, kavrin):
        self.session.focus_window(kavrin)
        window = Window(self.session, kavrin)
        window.open_page("Voice typing")
        window.fill(window.find("API key", "text"), TYPED)
        wait_until(lambda: self.session.suite().get("customKey") == TYPED, "the key is stored")

    def logged(self, *command):
        subprocess.run([str(part) for part in command], env=self.session.env, stdout=subprocess.DEVNULL,
                       stderr=self.log, check=False)

    def test_by_default_there_is_none(self):
        self.assertEqual(self.run_everything(), "")

    def test_nothing_of_what_is_said_received_or_secret_is_in_it(self):
        self.session.env.update(QT_LOGGING_RULES="*=true", QDBUS_DEBUG="1")
        log = self.run_everything()
        for category in ("application", "store", "dictation", "sound", "transcription", "loopback", "codes"):
            self.assertIn(f"kavrin.{category}: ", log)
        for secret in self.SECRETS:
            self.assertNotIn(secret, log)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
