# SPDX-License-Identifier: MIT
"""One dictation after the other, over every channel, with what goes wrong around them, and what is to come of each."""

import contextlib
import signal
import subprocess
import time
from collections import Counter

import speech_service
from support.desktop import APPLICATION, Bus, Notifications, Tray
from support.private_session import SPEECH, wait_until

CLIP = SPEECH / "cards" / "001.wav"
LIMIT = 60  # seconds for each step, on the slowest machine
SILENCE_LIMIT = 150  # seconds for a service that says nothing
LOGIND = ("org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.DBus.Mock")


class Lost(Exception):
    """A dictation that was neither delivered nor reported, or otherwise than documented."""


class Mishap:
    """What happens to the machine in the course of a dictation; this one is that nothing does."""

    name = "nothing"
    begins = True  # whether the recording begins; None where it may or may not

    def __init__(self, machine, chance):
        self.machine = machine
        self.chance = chance

    def before_start(self):
        pass

    def once_taken(self):
        """Kavrin has taken the command to start."""

    def while_recording(self):
        pass

    def while_working(self):
        pass

    def afterwards(self):
        pass


class NoSoundServer(Mishap):
    name = "no sound server"
    begins = False

    def before_start(self):
        self.machine.end_sound_server()

    def afterwards(self):
        self.machine.session.start_sound_server()


class SoundServerDies(Mishap):
    name = "sound server killed while recording"

    def while_recording(self):
        self.machine.end_sound_server()

    def afterwards(self):
        self.machine.session.start_sound_server()


class SoundServerRestarts(Mishap):
    name = "sound server restarted while recording"

    def while_recording(self):
        self.machine.end_sound_server()
        self.machine.session.start_sound_server()


class SoundServerHangs(Mishap):
    name = "sound server hangs at the start"
    begins = None

    def before_start(self):
        self.machine.session.sound_server.send_signal(signal.SIGSTOP)

    def once_taken(self):
        time.sleep(self.chance.uniform(0, 3))
        self.machine.session.sound_server.send_signal(signal.SIGCONT)


class SleepsWhileRecording(Mishap):
    name = "sleep while recording"

    def while_recording(self):
        self.machine.sleep()


class SleepsWhileTranscribing(Mishap):
    name = "sleep while transcribing"

    def while_working(self):
        self.machine.sleep()


class SleepsBefore(Mishap):
    name = "sleep before"

    def before_start(self):
        self.machine.sleep()


class CommandsTwice(Mishap):
    name = "every command twice"

    def while_recording(self):
        self.machine.command("start")

    def while_working(self):
        self.machine.command("stop")


class DesktopChanges(Mishap):
    name = "tray and notifications come and go"

    def before_start(self):
        self.machine.change_desktop(self.chance)

    def afterwards(self):
        self.machine.whole_desktop()


MANNERS = (*speech_service.ANSWERS, *speech_service.FAILURES, "kavrin-stt", "kavrin-stt killed", "nobody")
MISHAPS = (Mishap, NoSoundServer, SoundServerDies, SoundServerRestarts, SoundServerHangs, SleepsWhileRecording,
           SleepsWhileTranscribing, SleepsBefore, CommandsTwice, DesktopChanges)


class Machine:
    """The session that Kavrin runs in: sound, sleep, and a desktop."""

    def __init__(self, session):
        self.session = session
        self._start_system_bus()
        self.bus = Bus(session)
        self.suite = session.suite()
        self.tray = Tray(session, self.bus)
        self.notifications = Notifications(session, self.bus)

    def _start_system_bus(self):
        """With a stand-in for logind, which tells of the machine's sleep."""
        address = f"unix:path={self.session.folder}/run/system-bus"
        self.session.env["DBUS_SYSTEM_BUS_ADDRESS"] = address
        daemon = self.session.start("dbus-daemon", "--session", "--nofork", f"--address={address}",
                                    "--print-address", stderr=subprocess.DEVNULL)
        daemon.stdout.readline()
        self.session.start("/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind",
                           stdout=subprocess.DEVNULL)
        self.session.run("gdbus", "wait", "--system", "--timeout", "60", "org.freedesktop.login1")

    def end_sound_server(self):
        self.session.end(self.session.sound_server)

    def sleep(self):
        """The machine sleeps for a moment."""
        self._announce_sleep("true")
        for process in (self.kavrin, self.session.sound_server):
            process.send_signal(signal.SIGSTOP)
        time.sleep(0.5)
        for process in (self.kavrin, self.session.sound_server):
            process.send_signal(signal.SIGCONT)
        self._announce_sleep("false")

    def _announce_sleep(self, begins):
        service, path, interface = LOGIND
        self.session.run("gdbus", "call", "--system", "--dest", service, "--object-path", path, "--method",
                         f"{interface}.EmitSignal", "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                         f"[<{begins}>]")

    def change_desktop(self, chance):
        """The tray or the notifications end, or come back."""
        if chance.random() < 0.5:
            self.tray = self._changed(self.tray, Tray)
        else:
            self.notifications = self._changed(self.notifications, Notifications)

    def whole_desktop(self):
        self.tray = self.tray or Tray(self.session, self.bus)
        self.notifications = self.notifications or Notifications(self.session, self.bus)

    def _changed(self, service, kind):
        if service:
            service.end()
            return None
        return kind(self.session, self.bus)

    def command(self, command):
        self.suite.set("dictationCommand", "string", command)
        self.wait_until_taken()

    def wait_until_taken(self):
        wait_until(lambda: self.suite.get("dictationCommand") == "", "the command is taken", LIMIT)

    def start_kavrin(self, log):
        self.kavrin = self.session.start(self.session.bin / "kavrin", "--background", stdout=log,
                                         stderr=subprocess.STDOUT)
        wait_until(lambda: self.suite.get("dictationAlive"), "the first heartbeat", LIMIT)
        with contextlib.suppress(OSError):
            wait_until(lambda: self.session.http("/get"), "an answer", LIMIT)


class Dictations:
    """The speaker with the keyboard."""

    CHANNELS = ("suite", "loopback", "kavrinctl", "action", "link", "second kavrin")
    OUTCOMES = ("delivered", "reported", "failed with nobody to tell")

    def __init__(self, machine, chance):
        self._machine = machine
        self._session = machine.session
        self._suite = machine.suite
        self._chance = chance
        self._service = speech_service.SpeechService()
        self._start_recognizer()
        self.number = 0
        self.outcomes = Counter()
        self.counts = Counter()
        self.stored = {}
        self._session.ctl("set", "provider", "custom")

    def _start_recognizer(self):
        self._recognizer = self._session.start(self._session.bin / "kavrin-stt", "--port", "0")
        self._recognizer_url = self._recognizer.stdout.readline().strip()

    # What is to happen

    def kinds(self):
        """Each channel, manner of the service and mishap at least once, in random order."""
        manners = (*MANNERS, speech_service.SILENT)
        size = max(len(manners), len(MISHAPS), len(self.CHANNELS))
        columns = []
        for values in (self.CHANNELS, manners, MISHAPS):
            column = (list(values) * size)[:size]
            self._chance.shuffle(column)
            columns.append(column)
        return list(zip(*columns))

    def any_kind(self):
        channel = self._chance.choice(self.CHANNELS)
        manner = self._chance.choice(MANNERS)
        mishap = self._chance.choice(MISHAPS)
        if self._chance.random() < 0.5:
            manner = self._chance.choice(speech_service.ANSWERS)
        if self._chance.random() < 0.5:
            mishap = Mishap
        if self._chance.random() < 0.004:
            manner = speech_service.SILENT
        return channel, manner, mishap

    # A dictation

    def dictate(self, channel, manner, kind_of_mishap):
        """Counts what came of it; raises Lost where that is not what had to."""
        self.number += 1
        mishap = kind_of_mishap(self._machine, self._chance)
        self._set_service(manner)
        self.counts[f"over: {channel}"] += 1
        self.counts[f"service: {manner}"] += 1
        self.counts[f"mishap: {mishap.name}"] += 1
        try:
            self.outcomes[self._outcome(channel, manner, mishap)] += 1
        except Exception as error:
            raise Lost(f"dictation {self.number} over {channel}, service {manner}, mishap {mishap.name}: {error}; "
                       f"state {self._suite.get('dictationState')}") from error
        finally:
            mishap.afterwards()

    def _outcome(self, channel, manner, mishap):
        stamp = self._suite.get("tStamp")
        mishap.before_start()
        notices = self._notices()
        self._start(channel)
        self._machine.wait_until_taken()
        mishap.once_taken()
        if not self._begins():
            if mishap.begins:
                raise Lost("the recording does not begin")
            return self._notified(notices, "Recording failed: ")
        if mishap.begins is False:
            raise Lost("the recording begins")
        self._speak(manner)
        mishap.while_recording()
        notices = self._notices()
        self._stop(channel)
        mishap.while_working()
        return self._end(manner, stamp, notices)

    def _begins(self):
        """Whether the recording begins. When Kavrin beats again, it has done what it was told to."""
        beat = self._suite.get("dictationAlive")

        def is_decided():
            return self._suite.get("dictationState") == "recording" or self._suite.get("dictationAlive") != beat

        wait_until(is_decided, "the recording begins, or not", LIMIT)
        return self._suite.get("dictationState") == "recording"

    def _speak(self, manner):
        if manner == "kavrin-stt":
            self._session.play(CLIP)
        else:
            time.sleep(self._chance.uniform(0.05, 0.8))

    def _end(self, manner, stamp, notices):
        if manner == "kavrin-stt killed":
            self._session.end(self._recognizer)
        limit = SILENCE_LIMIT if manner == speech_service.SILENT else LIMIT
        wait_until(lambda: self._suite.get("tStamp") != stamp or self._suite.get("dictationState") == "idle",
                   "a transcript, or a failure", limit)
        if manner == "kavrin-stt killed":
            self._start_recognizer()
        if self._suite.get("tStamp") == stamp:
            return self._check_failure(manner, notices)
        return self._check_transcript(manner)

    def _check_failure(self, manner, notices):
        if manner in speech_service.ANSWERS or manner == "kavrin-stt":
            raise Lost("the service answers, and there is no transcript")
        return self._notified(notices, "Error: ")

    def _check_transcript(self, manner):
        if manner in speech_service.ANSWERS:
            expected = speech_service.text_of(self.number)
            if self._suite.get("transcript") != expected:
                raise Lost(f"the transcript is {self._suite.get('transcript')!r} and not {expected!r}")
        elif not manner.startswith("kavrin-stt"):
            raise Lost("the service fails, and there is a transcript")
        self._suite.wait_for("dictationState", "done", LIMIT)
        return "delivered"

    def _notices(self):
        return len(self._machine.notifications.shown()) if self._machine.notifications else 0

    def _notified(self, before, beginning):
        notifications = self._machine.notifications
        if not notifications:
            return "failed with nobody to tell"
        wait_until(lambda: any(text.startswith(beginning) for _, text in notifications.shown()[before:]),
                   f"a notification that begins with {beginning!r}", LIMIT)
        return "reported"

    # The keyboard

    def _set_service(self, manner):
        url = speech_service.address(self._service.port, manner, self.number)
        if manner.startswith("kavrin-stt"):
            url = self._recognizer_url
        elif manner == "nobody":
            url = "http://127.0.0.1:1/"
        self._suite.set("customURL", "string", url)
        self.stored["customURL"] = url

    def _start(self, channel):
        if channel == "loopback":
            self._session.http("/cmd?v=start")
        elif channel == "kavrinctl":
            self._session.run(self._session.bin / "kavrinctl", "dictate", "start", check=False)
        elif channel == "action":
            self._machine.bus.act("dictate")
        elif channel == "link":
            self._machine.bus.call(*APPLICATION, "Open", "(asa{sv})", ["kavrin://dictate"], {})
        elif channel == "second kavrin":
            self._session.run(self._session.bin / "kavrin", "kavrin://dictate")
        else:
            self._suite.set("dictationCommand", "string", "start")

    def _stop(self, channel):
        if channel == "loopback":
            self._session.http("/cmd?v=stop")
        elif channel == "kavrinctl":
            self._session.run(self._session.bin / "kavrinctl", "dictate", "stop", check=False)
        elif channel == "action":
            self._machine.bus.act("dictate")
        elif channel == "link" and self._machine.tray:
            item = self._machine.tray.item()
            wait_until(lambda: "Stop dictation" in item.menu(), "the tray offers to stop", LIMIT)
            item.choose("Stop dictation")
        else:
            self._suite.set("dictationCommand", "string", "stop")

    def recover(self):
        """After a dictation that was lost: brings Kavrin back to where the next one can begin."""
        self._machine.session.sound_server.send_signal(signal.SIGCONT)
        self._machine.command("stop")
        wait_until(lambda: self._suite.get("dictationState") in ("idle", "done", "starting"), "an end", SILENCE_LIMIT)

    # Codes

    def save_code(self):
        code = str(self._chance.randint(100_000, 999_999))
        if self._chance.random() < 0.5:
            self._session.ctl("save-code", f"Your Hazel Bank code is {code}.")
        else:
            self._machine.bus.act("save-code", f"Your Hazel Bank code is {code}.")
            self._suite.wait_for("otpCode", code, LIMIT)
        self.counts["codes"] += 1
        self.stored["otpCode"] = code
