# SPDX-License-Identifier: MIT
"""From the key of kavrin-typist to the text in another program's window, with everything real but the service."""

import contextlib
import http.server
import json
import pathlib
import queue
import subprocess
import sys
import threading
import time
import unittest

from support.desktop import DICTATION, Bus, Notifications
from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN
from support.suite_case import Holder

CLIP = SPEECH / "cards" / "001.wav"
TYPIST = ("app.kavrin.Typist", "/app/kavrin/Typist", "app.kavrin.Typist")
ALL_OF_UNICODE = "Grüße – 2 €, naïve Straße, 日本語, 👍🏽"

# A terminal program that stores each byte that is typed.
CATCHER = """
import os, sys, tty
tty.setraw(0)
with open(sys.argv[1], "wb", buffering=0) as typed:
    while byte := os.read(0, 4096):
        typed.write(byte)
"""


class Service:
    """A speech service that answers with the next of its texts."""

    def __init__(self):
        self.asked = threading.Semaphore(0)
        self._texts = queue.Queue()
        outer = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                self.rfile.read(int(self.headers["Content-Length"]))
                outer.asked.release()
                text = outer._texts.get()
                body = json.dumps({"text": text}).encode()
                self.send_response(200 if text is not None else 500)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                with contextlib.suppress(OSError):  # the client may have gone
                    self.wfile.write(body)

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self.url = f"http://127.0.0.1:{self._server.server_port}/v1/audio/transcriptions"

    def answer(self, text):
        self._texts.put(text)

    def fail(self):
        self._texts.put(None)

    def __enter__(self):
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._server.shutdown()
        self._server.server_close()


class Terminal:
    """A terminal window that has the focus, and what is typed into it."""

    def __init__(self, session, name="typed"):
        self._file = session.folder / name
        session.start("xterm", "-u8", "-title", name, "-e", sys.executable, "-c", CATCHER, self._file,
                      stderr=subprocess.DEVNULL)
        # Not before the terminal is there: the display begins anew when its last client goes, and drops new ones.
        wait_until(self._file.exists, "the terminal runs its program")
        search = ("xdotool", "search", "--onlyvisible", "--name", f"^{name}$")
        window = wait_until(lambda: session.run(*search, check=False).stdout.strip(), "the terminal is shown")
        session.run("xdotool", "windowfocus", "--sync", window)

    def text(self):
        return self._file.read_text(encoding="utf-8", errors="replace")

    def wait_for(self, text):
        wait_until(lambda: self.text() == text, f"{text[:60]!r} is typed", limit=60)


class TypistTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(display=True))
        self.bus = Bus(self.session)
        self.suite = self.session.suite()
        self.service = self.enterContext(Service())
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", self.service.url)
        self.terminal = Terminal(self.session)

    def let_the_bus_start(self, name, program, *arguments):
        services = pathlib.Path(self.session.env["XDG_DATA_HOME"]) / "dbus-1" / "services"
        services.mkdir(parents=True, exist_ok=True)
        command = " ".join(str(part) for part in (self.session.bin / program, *arguments))
        (services / f"{name}.service").write_text(f"[D-BUS Service]\nName={name}\nExec={command}\n", encoding="utf-8")
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
        self.bus.call(*bus, "ReloadConfig")
        self.bus.call(*bus, "UpdateActivationEnvironment", "(a{ss})", self.session.env)

    def start_typist(self):
        typist = self.session.start(self.session.bin / "kavrin-typist")
        wait_until(lambda: self.bus.has("app.kavrin.Typist"), "the typist is there")
        return typist

    def start(self):
        """Both programs; returns their processes."""
        return self.session.start_kavrin("--background"), self.start_typist()

    def type(self, *arguments):
        self.session.ctl("type", *arguments)

    def refused(self, *arguments):
        """What kavrinctl says when the typist refuses."""
        done = self.session.run(self.session.bin / "kavrinctl", "type", *arguments, check=False)
        self.assertEqual(done.returncode, 1, done.stdout)
        return done.stderr.strip()

    def activity(self):
        return self.bus.call(*DICTATION, "State")[0]

    def wait_for_activity(self, activity):
        wait_until(lambda: self.activity() == activity, f"Kavrin is {activity}")

    def clipboard(self):
        return self.session.run("xclip", "-selection", "clipboard", "-o", check=False).stdout

    def begin(self, *arguments):
        """Begins a dictation, as soon as the one before is over."""
        toggle = (self.session.bin / "kavrinctl", "type", "toggle", *arguments)
        wait_until(lambda: self.session.run(*toggle, check=False).returncode == 0, "a dictation begins")
        self.wait_for_activity("recording")

    def end(self, *text):
        """Ends it. With a text, that is what the service answers."""
        for answer in text:
            self.service.answer(answer)
        self.type("toggle")
        self.assertTrue(self.service.asked.acquire(timeout=30), "the service is asked")

    def dictate(self, text, *arguments):
        self.begin(*arguments)
        self.end(text)

    def expect_nothing_typed(self, clipboard):
        """The dictation is over, its text is on the clipboard, and the next one is typed and nothing else."""
        wait_until(lambda: self.clipboard() == clipboard, "the text is on the clipboard")
        self.dictate("next")
        self.terminal.wait_for("next")


class Typed(TypistTest):
    def test_what_was_said_stands_where_the_cursor_is(self):
        self.session.start_speech_service()
        self.start()
        self.begin()
        self.session.play(CLIP)
        self.type("toggle")
        wait_until(lambda: SPOKEN == self.terminal.text(), "the spoken words are typed")

    def test_all_of_unicode_arrives_as_it_was(self):
        self.start()
        self.dictate(ALL_OF_UNICODE)
        self.terminal.wait_for(ALL_OF_UNICODE)
        self.assertEqual(self.clipboard(), ALL_OF_UNICODE)
        self.assertEqual(self.suite.get("tUsed"), self.suite.get("tStamp"))

    def test_a_key_that_is_held_records_until_it_is_released(self):
        self.start()
        self.service.answer("held")
        self.type("press")
        self.wait_for_activity("recording")
        time.sleep(0.5)  # the key is held that long
        self.type("release")
        self.terminal.wait_for("held")

    def test_no_control_character_is_typed(self):
        self.start()
        self.dictate("one\r\ntwo\tthree\x1b\x03\x04 four\n")
        self.terminal.wait_for("one two three four")

    def test_an_empty_text_is_marked_as_used(self):
        self.start()
        self.dictate("")
        wait_until(lambda: self.suite.get("tUsed"), "the transcript is marked")
        self.dictate("next")
        self.terminal.wait_for("next")

    def test_a_long_text_arrives_whole(self):
        text = "".join(f"{number:04} words " for number in range(1000))[:10_000].strip()
        self.start()
        self.dictate(text)
        self.terminal.wait_for(text)

    def test_a_text_goes_where_the_cursor_is_when_it_comes(self):
        self.start()
        self.begin()
        another = Terminal(self.session, "another")
        self.end("over there")
        another.wait_for("over there")
        self.assertEqual(self.terminal.text(), "")

    def test_two_presses_at_once_are_one(self):
        self.start()
        self.service.answer("once")
        for _ in range(2):
            self.bus.send(*TYPIST, "Press")
        self.wait_for_activity("recording")
        time.sleep(0.5)  # the key is held that long
        self.type("release")
        self.terminal.wait_for("once")


class NotTyped(TypistTest):
    def test_a_cancelled_recording(self):
        self.start()
        self.begin()
        self.type("cancel")
        self.wait_for_activity("idle")
        self.assertEqual([self.suite.get(key) for key in ("transcript", "tStamp", "tUsed")], [None, None, None])
        self.assertEqual(self.clipboard(), "")

    def test_a_cancelled_transcription(self):
        self.start()
        self.begin()
        self.end()
        self.type("cancel")
        self.wait_for_activity("idle")
        self.service.answer("too late")
        self.assertEqual([self.suite.get(key) for key in ("transcript", "tStamp", "tUsed")], [None, None, None])
        self.dictate("next")
        self.terminal.wait_for("next")

    def cancel_while_a_key_is_held(self, cancel):
        self.session.run("xdotool", "keydown", "ctrl")
        self.dictate("cancelled")
        wait_until(lambda: self.suite.get("tUsed"), "the text waits for the key's release")
        cancel()
        self.session.run("xdotool", "keyup", "ctrl")
        self.expect_nothing_typed(clipboard="cancelled")

    def test_a_text_that_the_key_cancels_while_another_is_held(self):
        self.start()
        self.cancel_while_a_key_is_held(lambda: self.type("cancel"))

    def test_a_text_that_the_notification_cancels_while_a_key_is_held(self):
        notifications = Notifications(self.session, self.bus)
        self.start()
        self.cancel_while_a_key_is_held(lambda: notifications.press("give-up"))

    def test_the_text_of_a_dictation_that_the_key_has_only_ended(self):
        self.start()
        self.session.ctl("dictate", "start")
        self.service.answer("somebody else's")
        self.end()
        self.expect_nothing_typed("somebody else's")

    def test_the_text_of_a_recording_that_is_sent_again(self):
        notifications = Notifications(self.session, self.bus)
        self.start()
        self.begin()
        self.service.fail()
        self.end()
        wait_until(lambda: "Try again" in notifications.actions(), "the failure is shown")
        self.service.answer("at the second try")
        notifications.press("again")
        self.assertTrue(self.service.asked.acquire(timeout=30), "the service is asked again")
        self.expect_nothing_typed(clipboard="at the second try")

    def test_a_text_that_another_keyboard_has_marked(self):
        self.start()
        self.suite.database.execute(
            "CREATE TRIGGER another AFTER UPDATE ON defaults WHEN NEW.key = 'tStamp' BEGIN INSERT OR REPLACE INTO"
            " defaults VALUES ('tUsed', 'double', NEW.value); END")
        self.suite.database.execute(
            "CREATE TRIGGER first AFTER INSERT ON defaults WHEN NEW.key = 'tStamp' BEGIN INSERT OR REPLACE INTO"
            " defaults VALUES ('tUsed', 'double', NEW.value); END")
        self.dictate("theirs")
        self.begin()
        self.assertEqual(self.clipboard(), "theirs")
        self.suite.database.execute("DROP TRIGGER another")
        self.suite.database.execute("DROP TRIGGER first")
        self.end("next")
        self.terminal.wait_for("next")

    def test_a_text_whose_mark_cannot_be_stored(self):
        self.start()
        for change in ("INSERT", "UPDATE"):
            self.suite.database.execute(f"CREATE TRIGGER refused{change} BEFORE {change} ON defaults WHEN NEW.key ="
                                        " 'tUsed' BEGIN SELECT RAISE(ABORT, 'no room'); END")
        self.dictate("unmarked")
        self.begin()
        self.assertEqual(self.clipboard(), "unmarked")
        for change in ("INSERT", "UPDATE"):
            self.suite.database.execute(f"DROP TRIGGER refused{change}")
        self.end("next")
        self.terminal.wait_for("next")

    def test_nothing_while_the_session_is_locked(self):
        self.start()
        screen_saver = self.session.start(
            "/usr/bin/python3", "-m", "dbusmock", "--session", "org.freedesktop.ScreenSaver",
            "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", stdout=subprocess.DEVNULL)
        wait_until(lambda: self.bus.has("org.freedesktop.ScreenSaver"), "the screen saver is there")
        self.bus.call("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.DBus.Mock",
                      "AddMethod", "(sssss)", "", "GetActive", "", "b", "ret = True")
        self.dictate("behind the lock")
        self.begin()
        self.assertEqual(self.clipboard(), "behind the lock")
        self.session.end(screen_saver)
        self.end("next")
        self.terminal.wait_for("next")


    def test_without_a_display_a_notification_says_which_key_pastes_the_text(self):
        notifications = Notifications(self.session, self.bus)
        self.session.start_kavrin("--background")
        self.session.start("env", "--unset=DISPLAY", self.session.bin / "kavrin-typist")
        wait_until(lambda: self.bus.has("app.kavrin.Typist"), "the typist is there")
        self.dictate("where to")
        said = ("There is no display to type at. Start this from a desktop session. The text is on the clipboard: Ctrl+V "
                "pastes it, in a terminal Ctrl+Shift+V.")
        wait_until(lambda: said in [text for _, text in notifications.shown()], "the notification says so")
        self.assertEqual(self.clipboard(), "where to")


class Started(TypistTest):
    def test_the_bus_starts_both_programs(self):
        self.let_the_bus_start("app.kavrin.Kavrin", "kavrin", "--background")
        self.let_the_bus_start("app.kavrin.Typist", "kavrin-typist")
        self.dictate("from nothing")
        self.terminal.wait_for("from nothing")

    def test_the_doctor_asks_it_how_it_types(self):
        self.start_typist()
        done = self.session.run(self.session.bin / "kavrinctl", "doctor", "--json", check=False)
        findings = {entry["check"]: entry for entry in json.loads(done.stdout)}
        self.assertEqual((findings["typing"]["result"], findings["shortcut"]["result"]), ("good", "not checked"))
        self.assertIn("X11", findings["typing"]["finding"])

    def test_it_loads_nothing_that_draws_windows(self):
        self.assertNotIn("Qt6Gui", self.session.run("ldd", self.session.bin / "kavrin-typist").stdout)

    def test_it_says_that_the_desktop_offers_no_shortcut(self):
        self.start_typist()
        self.assertIn("The desktop gives Kavrin no shortcut.", self.refused("shortcut"))

    def test_it_says_that_kavrin_cannot_be_started(self):
        self.start_typist()
        self.assertIn("Kavrin does not answer", self.refused("toggle"))
        self.assertIsNone(self.suite.get("dictationCommand"))



class KavrinEnds(TypistTest):
    def go_on(self, kavrin):
        """Kavrin is gone, and starts again: the next dictation is typed, and no other."""
        self.session.end(kavrin)
        wait_until(lambda: not self.bus.has("app.kavrin.Kavrin"), "Kavrin is gone")
        self.session.start_kavrin("--background")
        self.dictate("next")
        self.terminal.wait_for("next")

    def test_while_it_records_a_notification_says_so(self):
        notifications = Notifications(self.session, self.bus)
        kavrin, _ = self.start()
        self.begin()
        self.go_on(kavrin)
        wait_until(lambda: any(text.startswith("Kavrin does not answer") for _, text in notifications.shown()),
                   "the notification says so")

    def test_killed_while_it_records_its_notification_goes(self):
        notifications = Notifications(self.session, self.bus)
        kavrin, _ = self.start()
        self.begin()
        wait_until(lambda: notifications.shown(), "the notification is shown")
        self.assertEqual(notifications.shown()[0][0], "Listening")
        self.go_on(kavrin)
        wait_until(lambda: 1 in notifications.replaced() or [1] in notifications.calls("CloseNotification"),
                   "the notification gives way")

    def test_while_it_transcribes(self):
        kavrin, _ = self.start()
        self.begin()
        self.end()
        self.service.answer("lost")
        self.go_on(kavrin)


class TypistEnds(TypistTest):
    def setUp(self):
        super().setUp()
        self.kavrin, self.typist = self.start()

    def start_another(self):
        wait_until(lambda: not self.bus.has("app.kavrin.Typist"), "the typist is gone")
        self.start_typist()

    def test_killed_while_kavrin_records(self):
        self.begin()
        self.session.end(self.typist)
        self.start_another()
        self.service.answer("said before")
        self.end()
        self.expect_nothing_typed(clipboard="said before")

    def test_killed_while_kavrin_transcribes(self):
        self.begin()
        self.end()
        self.session.end(self.typist)
        self.start_another()
        self.service.answer("said before")
        self.expect_nothing_typed(clipboard="said before")

    def test_killed_as_soon_as_the_text_is_marked_it_types_nothing_twice(self):
        text = "words " * 500 + "end"
        self.service.answer(text)
        self.begin()
        self.type("toggle")
        wait_until(lambda: self.suite.get("tUsed"), "the text is marked", interval=0)
        self.session.end(self.typist)
        self.assertEqual(self.clipboard(), text)
        self.start_another()
        self.dictate("|next")
        wait_until(lambda: self.terminal.text().endswith("|next"), "the next text is typed")
        self.assertTrue(text.startswith(self.terminal.text().removesuffix("|next")), self.terminal.text())

    def test_killed_once_the_text_is_typed_it_leaves_it_on_the_clipboard(self):
        self.dictate("said\nbefore")
        self.terminal.wait_for("said before")
        self.session.end(self.typist)
        self.assertEqual(self.clipboard(), "said before")

    def test_asked_to_end_while_kavrin_records_it_ends_the_recording(self):
        self.service.answer("said before")
        self.begin()
        self.typist.terminate()
        self.assertEqual(self.typist.wait(30), 0)
        wait_until(lambda: self.clipboard() == "said before", "the text is on the clipboard")
        self.assertEqual(self.terminal.text(), "")

    def test_asked_to_end_while_kavrin_transcribes_it_ends_at_once(self):
        self.begin()
        self.end()
        self.typist.terminate()
        self.assertEqual(self.typist.wait(30), 0)
        self.service.answer("said before")
        wait_until(lambda: self.clipboard() == "said before", "the text is on the clipboard")
        self.assertEqual(self.terminal.text(), "")

    def test_asked_to_end_while_nothing_happens(self):
        self.typist.terminate()
        self.assertEqual(self.typist.wait(30), 0)
        self.assertFalse(self.bus.has("app.kavrin.Typist"))


class DamagedSuite(TypistTest):
    def test_it_says_where_the_copy_is_if_it_sets_the_suite_aside(self):
        path = pathlib.Path(self.suite.database.execute("PRAGMA database_list").fetchone()[2])
        self.suite.database.close()
        service, where, interface = DICTATION
        self.session.start("/usr/bin/python3", "-m", "dbusmock", "--session", service, where, interface,
                           stdout=subprocess.DEVNULL)  # a Kavrin that reads no suite
        wait_until(lambda: self.bus.has(service), "a Kavrin is there")
        for method, answer, returned in (("Commanded", "t", "ret = 0"), ("State", "s", "ret = 'idle'")):
            self.bus.call(service, where, "org.freedesktop.DBus.Mock", "AddMethod", "(sssss)", interface, method, "",
                          answer, returned)
        typist = self.session.start(self.session.bin / "kavrin-typist", stderr=subprocess.PIPE)
        wait_until(lambda: self.bus.has("app.kavrin.Typist"), "the typist is there")
        for file in path.parent.glob("defaults.sqlite*"):  # the log, too, where all of it may be
            file.write_bytes(b"no database " * 500)
        with self.assertRaises(self.bus.errors):  # nobody takes the command
            self.bus.call(*TYPIST, "Toggle")
        typist.terminate()
        said = typist.communicate(timeout=30)[1]
        [copy] = path.parent.glob("*.damaged-*Z")
        self.assertIn(f"kavrin-typist: {path} was damaged", said)
        self.assertIn(str(copy), said)


class LockedSuite(TypistTest):
    def test_the_key_and_a_notification_say_so_and_nothing_is_recorded(self):
        notifications = Notifications(self.session, self.bus)
        self.start()
        with Holder(self.suite.database.execute("PRAGMA database_list").fetchone()[2], "BEGIN IMMEDIATE"):
            self.assertIn("locked", self.refused("toggle"))
            wait_until(lambda: any("locked" in text for _, text in notifications.shown()), "the notification says so")
        self.assertEqual(self.activity(), "idle")
        self.dictate("next")
        self.terminal.wait_for("next")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
