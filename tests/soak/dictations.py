# SPDX-License-Identifier: MIT
"""One dictation after the other, over every channel, with what goes wrong around them, and what is to come of each."""

import contextlib
import json
import sqlite3
import time
from collections import Counter

from gi.repository import GLib

import speech_service
from faults import BEFORE, DISK_FAULTS, FAULTS, NOTHING, RECORDING, STARTING, WORKING
from machine import INTERVAL, LIMIT, Cancelled
from support.desktop import APPLICATION
from support.private_session import SPEECH, wait_until

CLIP = SPEECH / "cards" / "001.wav"
SLOWNESS_LIMIT = 150  # seconds for a service that keeps Kavrin waiting
KEY = "sk-soak-4711-8152"


class Lost(Exception):
    """A dictation that was neither delivered nor reported, or otherwise than documented."""


MANNERS = (*speech_service.ANSWERS, *speech_service.FAILURES, "kavrin-stt", "kavrin-stt killed", "nobody")


class Dictations:
    """The speaker with the keyboard."""

    CHANNELS = ("suite", "loopback", "kavrinctl", "action", "link", "second kavrin")

    def __init__(self, machine, chance, can_fill_disk):
        self._machine = machine
        self._session = machine.session
        self._suite = machine.suite
        self._chance = chance
        self._faults = FAULTS + DISK_FAULTS if can_fill_disk else FAULTS
        self._service = speech_service.SpeechService()
        self._start_recognizer()
        self._stamp = 0
        self._fault = NOTHING  # the one that has begun
        self.number = 0
        self.outcomes = Counter()
        self.counts = Counter()
        self.stored = {}
        self._session.ctl("set", "provider", "custom")
        self._session.ctl("set", "customKey", "-", input=KEY)

    def _start_recognizer(self):
        self._recognizer = self._session.start(self._session.bin / "kavrin-stt", "--port", "0")
        self._recognizer_url = self._recognizer.stdout.readline().strip()

    # What is to happen

    def kinds(self):
        """Each channel, manner of the service and fault at least once, in random order."""
        manners = (*MANNERS, *speech_service.SLOW)
        size = max(len(manners), len(self._faults), len(self.CHANNELS))
        columns = []
        for values in (self.CHANNELS, manners, self._faults):
            column = (list(values) * size)[:size]
            self._chance.shuffle(column)
            columns.append(column)
        return list(zip(*columns))

    def any_kind(self):
        channel = self._chance.choice(self.CHANNELS)
        manner = self._chance.choice(MANNERS)
        fault = self._chance.choice(self._faults)
        if self._chance.random() < 0.5:
            manner = self._chance.choice(speech_service.ANSWERS)
        if self._chance.random() < 0.3:
            fault = NOTHING
        if self._chance.random() < 0.004:
            manner = self._chance.choice(speech_service.SLOW)
        return channel, manner, fault

    # A dictation

    def dictate(self, channel, manner, fault):
        """Counts what came of it; raises Lost where that is not what had to, or where the next one fails for it."""
        what = f"{channel}, service {manner}, fault {fault.name}"
        for name in (f"over: {channel}", f"service: {manner}", f"fault: {fault.name}"):
            self.counts[name] += 1
        with self._lost_for(what):
            self._set_service(manner)
            try:
                outcome = self._outcome(channel, manner, fault)
            finally:
                self._end_fault()
            self._expect_rest()
        self.outcomes[outcome] += 1
        if fault is not NOTHING:
            with self._lost_for(f"kavrinctl after {what}"):
                self._set_service("answers")
                self._outcome("kavrinctl", "answers", NOTHING)
                self._expect_rest()
                self.counts["dictations after a fault"] += 1

    @contextlib.contextmanager
    def _lost_for(self, what):
        try:
            yield
        except Exception as error:
            raise Lost(f"dictation {self.number} over {what}: {error!r}; state {self._suite.get('dictationState')}"
                       ) from error

    def _outcome(self, channel, manner, fault):
        if (self._suite.get("tStamp") or 0) != self._stamp:
            raise Lost("a transcript has come of a dictation that was over")
        try:
            outcome = self._course(channel, manner, fault)
        except Cancelled:
            outcome = self._check_cancelled()
        else:
            if fault.is_cancelled:
                raise Lost("it is not cancelled")
        self._stamp = self._suite.get("tStamp") or 0
        return outcome

    def _course(self, channel, manner, fault):
        self._meet(fault, BEFORE)
        notices, begun = self._notices(), time.time()
        self._start(channel)
        self._machine.wait_until_taken()
        self._meet(fault, STARTING)
        if not self._begins(begun):
            if fault.begins:
                raise Lost("the recording does not begin")
            return self._notified(notices, "Recording failed: ")
        if fault.begins is False:
            raise Lost("the recording begins")
        self._speak(manner)
        self._meet(fault, RECORDING)
        notices = self._notices()
        self._stop(channel)
        self._meet(fault, WORKING)
        return self._end(manner, fault, notices)

    def _meet(self, fault, moment):
        if fault.when == moment:
            self._fault = fault
            fault.begin(self._machine)

    def _end_fault(self):
        fault, self._fault = self._fault, NOTHING
        fault.end(self._machine)

    def _begins(self, begun):
        """Whether the recording begins."""
        how = wait_until(lambda: self._beginning(begun), "the recording begins, or not", LIMIT, INTERVAL)
        return how == "recording"

    def _beginning(self, begun):
        if self._machine.activity() == "recording":
            return "recording"
        failure = json.loads(self._suite.get("dictationError") or "{}")
        return "failed" if failure.get("at", 0) >= begun else None

    def _speak(self, manner):
        if manner.startswith("kavrin-stt"):
            self._session.run("paplay", CLIP, check=False)  # there may be no speaker
        else:
            time.sleep(self._chance.uniform(0.05, 0.8))

    def _end(self, manner, fault, notices):
        if manner == "kavrin-stt killed":
            self._session.end(self._recognizer)
        self._machine.wait_until_idle(SLOWNESS_LIMIT if manner in speech_service.SLOW else LIMIT)
        if manner == "kavrin-stt killed":
            self._start_recognizer()
        if (self._suite.get("tStamp") or 0) == self._stamp:
            return self._check_failure(manner, fault, notices)
        return self._check_transcript(manner, fault)

    def _check_failure(self, manner, fault, notices):
        if fault.is_heard and fault.is_stored and manner in (*speech_service.ANSWERS, "kavrin-stt"):
            raise Lost("the service answers, and there is no transcript")
        return self._notified(notices, "Error: ")

    def _check_transcript(self, manner, fault):
        if fault.is_heard is False:
            raise Lost("nothing is heard, and there is a transcript")
        if manner in speech_service.ANSWERS:
            expected = speech_service.text_of(self.number)
            if self._suite.get("transcript") != expected:
                raise Lost(f"the transcript is {self._suite.get('transcript')!r} and not {expected!r}")
        elif not manner.startswith("kavrin-stt"):
            raise Lost("the service fails, and there is a transcript")
        self._suite.wait_for("dictationState", "done", LIMIT)
        return "delivered"

    def _check_cancelled(self):
        self._machine.wait_until_idle()
        if (self._suite.get("tStamp") or 0) != self._stamp:
            raise Lost("it is cancelled, and there is a transcript")
        return "cancelled"

    def _expect_rest(self):
        """Kavrin has nothing more to do, says so, and leaves the microphone alone."""
        self._machine.wait_until_idle()
        self._machine.wait_until_taken()
        self._machine.wait_until_the_microphone_is_free()
        # "starting" stays where the microphone could not be opened, until the next dictation.
        wait_until(lambda: self._suite.get("dictationState") in ("done", "idle", "starting"), "the state", LIMIT)

    def _notices(self):
        return len(self._machine.notifications.shown()) if self._machine.notifications else 0

    def _notified(self, before, beginning):
        notifications = self._machine.notifications
        if not notifications:
            return "failed with nobody to tell"
        wait_until(lambda: any(text.startswith(beginning) for _, text in notifications.shown()[before:]),
                   f"a notification that begins with {beginning!r}", LIMIT)
        if any(KEY in text for _, text in notifications.shown()[before:]):
            raise Lost("a notification shows the key")
        return "reported"

    # The keyboard

    def _set_service(self, manner):
        """For the next dictation."""
        self.number += 1
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
            with contextlib.suppress(GLib.Error):  # it is told why there is no recording
                self._machine.bus.act("dictate")
        elif channel == "link":
            self._machine.bus.call(*APPLICATION, "Open", "(asa{sv})", ["kavrin://dictate"], {})
        elif channel == "second kavrin":
            self._session.run(self._session.bin / "kavrin", "kavrin://dictate")
        else:
            self._insist("start")

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
            self._insist("stop")

    def _insist(self, command):
        """Writes the command until the suite takes it."""
        def is_written():
            with contextlib.suppress(sqlite3.OperationalError):
                self._suite.set("dictationCommand", "string", command)
                return True

        wait_until(is_written, f"the suite takes {command!r}", LIMIT, INTERVAL)

    def recover(self):
        """After a dictation that was lost: brings Kavrin back to where the next one can begin."""
        self._session.run(self._session.bin / "kavrinctl", "dictate", "cancel", check=False)
        self._machine.wait_until_idle(SLOWNESS_LIMIT)
        self._stamp = self._suite.get("tStamp") or 0

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
