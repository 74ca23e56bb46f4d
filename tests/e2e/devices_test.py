# SPDX-License-Identifier: MIT
"""Microphones, sound servers and the machine's sleep come and go during a dictation; nothing that was heard is lost."""

import array
import contextlib
import fcntl
import math
import os
import signal
import statistics
import struct
import subprocess
import termios
import time
import unittest

from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SECOND_SPOKEN, SPOKEN

CARDS = SPEECH / "cards"
CLIP, SECOND_CLIP = CARDS / "001.wav", CARDS / "003.wav"

RATE = 16000  # samples a second, each of two bytes
PIECE = 160  # samples that a microphone hands over at once, a hundredth of a second
FRAGMENT = 16384 / RATE  # seconds: so many whole frames of the codec last a second at least


@contextlib.contextmanager
def frozen(*processes):
    """The processes hang meanwhile."""
    for process in processes:
        process.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WNOWAIT)
    yield
    for process in processes:
        process.send_signal(signal.SIGCONT)


class DeviceTest(unittest.TestCase):
    """A dictation in pieces, and the sound server's devices."""

    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_speech_service()
        self.kavrin = self.start_kavrin()
        self.suite = self.session.suite()

    def start_kavrin(self):
        return self.session.start_kavrin("--background")

    def start(self):
        self.session.ctl("dictate", "start")

    def say(self, clip, speaker="speaker"):
        self.session.run("paplay", f"--device={speaker}", clip)

    def stop(self):
        """Ends the recording; returns what was understood."""
        self.session.ctl("dictate", "stop")
        return self.session.ctl("dictate", "wait", "--timeout", "60")

    def wait_for_a_beat(self):
        beat = self.suite.get("dictationAlive")
        wait_until(lambda: self.suite.get("dictationAlive") != beat, "another beat")

    def assert_still_recording(self):
        """Kavrin lives on and has had its time to notice what happened, and still says that it records."""
        self.wait_for_a_beat()
        self.wait_for_a_beat()
        self.assertEqual(self.suite.get("dictationState"), "recording")

    def assert_dictation_works(self):
        self.start()
        self.say(CLIP)
        self.assertEqual(self.stop(), SPOKEN)

    def pactl(self, *arguments):
        return self.session.run("pactl", *arguments).stdout

    def add_microphone(self, name, speaker):
        self.pactl("load-module", "module-remap-source", f"source_name={name}", f"master={speaker}.monitor")

    def add_speaker(self, name):
        self.pactl("load-module", "module-null-sink", f"sink_name={name}", "rate=48000", "channels=2", "norewinds=1")

    def unplug(self, device):
        """Takes a microphone or a speaker away."""
        modules = [line.split("\t") for line in self.pactl("list", "short", "modules").splitlines()]
        self.pactl("unload-module", next(index for index, _, text, *_ in modules if f"_name={device} " in text + " "))

    def microphones_in_use(self):
        """The names of those that somebody records from, not counting the server itself."""
        names = dict(line.split("\t")[:2] for line in self.pactl("list", "short", "sources").splitlines())
        outputs = [line.split("\t") for line in self.pactl("list", "short", "source-outputs").splitlines()]
        return [names[source] for _, source, client, *_ in outputs if client != "-"]


class Microphones(DeviceTest):
    def add_second_microphone(self):
        self.add_speaker("second-speaker")
        self.add_microphone("second-microphone", "second-speaker")

    def wait_for_microphone(self, name):
        wait_until(lambda: self.microphones_in_use() == [name], f"the recording goes on from {name}")

    def test_one_unplugged_while_recording_hands_over_to_another(self):
        self.add_second_microphone()
        self.start()
        self.say(CLIP)
        self.unplug("microphone")
        self.wait_for_microphone("second-microphone")
        self.assert_still_recording()
        self.say(SECOND_CLIP, "second-speaker")
        self.assertRegex(self.stop(), f"{SPOKEN}.* {SECOND_SPOKEN}$")
        self.add_microphone("microphone", "speaker")
        self.assert_dictation_works()

    def test_the_last_one_unplugged_while_recording_leaves_what_was_said(self):
        self.start()
        self.say(CLIP)
        self.unplug("microphone")
        self.unplug("speaker")
        self.assertEqual(self.pactl("list", "short", "sources"), "")
        self.assert_still_recording()
        self.assertEqual(self.stop(), SPOKEN)
        self.add_speaker("speaker")
        self.add_microphone("microphone", "speaker")
        self.assert_dictation_works()

    def test_none_at_the_start_is_no_harm_to_the_next_dictation(self):
        self.unplug("microphone")
        self.unplug("speaker")
        self.start()
        self.assert_still_recording()
        self.session.ctl("dictate", "stop")
        self.suite.wait_for("dictationState", "idle")
        self.add_speaker("speaker")
        self.add_microphone("microphone", "speaker")
        self.assert_dictation_works()

    def test_one_muted_while_recording_leaves_what_was_said_before_and_after(self):
        self.start()
        self.say(CLIP)
        self.pactl("set-source-mute", "microphone", "1")
        self.say(CARDS / "004.wav")
        self.assert_still_recording()
        self.pactl("set-source-mute", "microphone", "0")
        self.say(SECOND_CLIP)
        heard = self.stop()
        self.assertRegex(heard, f"{SPOKEN}.* {SECOND_SPOKEN}$")
        self.assertNotIn("five", heard)
        self.assert_dictation_works()

    def test_one_muted_to_the_end_leaves_what_was_said(self):
        self.start()
        self.say(CLIP)
        self.pactl("set-source-mute", "microphone", "1")
        self.assert_still_recording()
        self.assertEqual(self.stop(), SPOKEN)
        self.pactl("set-source-mute", "microphone", "0")
        self.assert_dictation_works()

    def test_another_one_chosen_while_recording_is_recorded_from(self):
        self.add_second_microphone()
        self.start()
        self.say(CLIP)
        self.pactl("set-default-source", "second-microphone")
        self.wait_for_microphone("second-microphone")
        self.assert_still_recording()
        self.say(SECOND_CLIP, "second-speaker")
        self.assertRegex(self.stop(), f"{SPOKEN}.* {SECOND_SPOKEN}$")
        self.start()
        self.say(SECOND_CLIP, "second-speaker")
        self.assertEqual(self.stop(), SECOND_SPOKEN)


class SoundServer(DeviceTest):
    def hang(self):
        return frozen(self.session.sound_server)

    def test_restarted_while_recording_leaves_what_was_said(self):
        self.start()
        self.say(CLIP)
        self.session.end(self.session.sound_server)
        self.session.start_sound_server()
        self.assert_still_recording()
        self.assertEqual(self.stop(), SPOKEN)
        self.assert_dictation_works()

    def test_hanging_at_the_first_start_leaves_starting(self):
        with self.hang():
            self.suite.set("dictationCommand", "string", "start")
            self.suite.wait_for("dictationState", "starting")
            self.wait_for_a_beat()
            self.assertEqual(self.suite.get("dictationState"), "starting")
        self.assert_dictation_works()

    def test_hanging_at_a_later_start_records_once_it_goes_on(self):
        self.assert_dictation_works()
        with self.hang():
            self.start()
            self.assert_still_recording()
        self.say(CLIP)
        self.assertEqual(self.stop(), SPOKEN)
        self.assert_dictation_works()

    def test_hanging_at_the_stop_leaves_what_was_said(self):
        self.start()
        self.say(CLIP)
        with self.hang():
            self.assertEqual(self.stop(), SPOKEN)
        self.assert_dictation_works()

    def test_hanging_while_a_stop_follows_the_start_ends_the_recording(self):
        self.assert_dictation_works()
        stamp = self.suite.get("tStamp")
        with self.hang():
            self.suite.set("dictationCommand", "string", "start")
            self.suite.wait_for("dictationState", "starting")
            self.suite.wait_for("dictationCommand", "")
            self.suite.set("dictationCommand", "string", "stop")
            self.suite.wait_for("dictationState", "idle")
            self.assertEqual(self.suite.get("tStamp"), stamp, "nothing was sent, because nothing was recorded")
        self.assert_dictation_works()

    def test_hanging_does_not_keep_kavrin_from_ending(self):
        self.start()
        with self.hang():
            self.kavrin.send_signal(signal.SIGTERM)
            self.assertEqual(self.kavrin.wait(10), 0)


class Sleep(DeviceTest):
    def start_kavrin(self):
        address = f"unix:path={self.session.folder}/run/system-bus"
        self.session.env["DBUS_SYSTEM_BUS_ADDRESS"] = address
        bus = self.session.start("dbus-daemon", "--session", "--nofork", f"--address={address}", "--print-address",
                                 stderr=subprocess.DEVNULL)
        bus.stdout.readline()
        # The package python3-dbusmock belongs to the distribution's own Python.
        self.session.start("/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind",
                           stdout=subprocess.DEVNULL)
        self.session.run("gdbus", "wait", "--system", "--timeout", "30", "org.freedesktop.login1")
        return super().start_kavrin()

    def announce(self, goes_to_sleep):
        self.session.run("gdbus", "call", "--system", "--dest", "org.freedesktop.login1", "--object-path",
                         "/org/freedesktop/login1", "--method", "org.freedesktop.DBus.Mock.EmitSignal",
                         "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                         f"[<{str(goes_to_sleep).lower()}>]")

    def sleep(self):
        self.announce(True)
        with frozen(self.kavrin, self.session.sound_server):
            time.sleep(3)  # the machine's sleep
        self.announce(False)
        self.wait_for_a_beat()

    def sounds_of_kavrin(self):
        """What Kavrin plays, as the sound server describes it."""
        inputs = self.pactl("list", "sink-inputs").split("Sink Input #")[1:]
        return [text for text in inputs if 'application.name = "Kavrin"' in text and "Corked: no" in text]

    def test_while_recording_leaves_what_was_said_before_and_after(self):
        self.start()
        self.say(CLIP)
        self.sleep()
        wait_until(self.sounds_of_kavrin, "Kavrin plays its silent sound")
        self.assert_still_recording()
        self.say(SECOND_CLIP)
        self.assertRegex(self.stop(), f"{SPOKEN}.* {SECOND_SPOKEN}$")
        self.assert_dictation_works()

    def test_is_followed_by_one_silent_sound_without_end(self):
        self.sleep()
        [sound] = wait_until(self.sounds_of_kavrin, "Kavrin plays")
        self.assertIn("8000Hz", sound)
        self.assertIn("100%", sound)
        self.assert_dictation_works()
        self.sleep()
        self.assert_dictation_works()
        wait_until(lambda: len(self.sounds_of_kavrin()) == 1, "the tones have ended, the silent sound goes on")

    def test_that_only_begins_plays_nothing(self):
        self.announce(True)
        self.assert_dictation_works()
        wait_until(lambda: not self.sounds_of_kavrin(), "the tones have ended")


class WrittenMicrophone:
    """A microphone that hears the samples which are written into it, and nothing else."""

    def __init__(self, session):
        self._session = session
        path = session.folder / "run" / "microphone"
        session.run("pactl", "load-module", "module-pipe-source", "source_name=written", f"file={path}",
                    "format=s16le", f"rate={RATE}", "channels=1")
        session.run("pactl", "set-default-source", "written")
        self._pipe = os.open(path, os.O_WRONLY | os.O_NONBLOCK)
        fcntl.fcntl(self._pipe, fcntl.F_SETPIPE_SZ, 4096)
        self._written = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self._pipe)

    def hear(self, samples):
        """In pieces, as a microphone hands them over, no faster than they would sound."""
        for begin in range(0, len(samples), PIECE):
            time.sleep(PIECE / RATE)
            self.hear_at_once(samples[begin:begin + PIECE])

    def hear_at_once(self, samples):
        data = samples.tobytes()
        while data:
            data = data[wait_until(lambda rest=data: self._offer(rest), "somebody listens", interval=0.001):]

    def hear_silence_until(self, condition, what):
        """While nobody listens a moment waits at most, so that what comes next is heard at once."""
        moment = silence(0.002).tobytes()

        def hear_and_look():
            if self._waiting() == 0:
                self._offer(moment)
            return condition()

        wait_until(hear_and_look, what, interval=0.002)

    def wait_until_handed_on(self):
        """Until the sound server has sent to its listeners all that was heard."""
        wait_until(lambda: self._waiting() == 0, "the server has read it")
        wait_until(lambda: set(self._buffered()) == {"0 usec"}, "the server has sent it")

    def _buffered(self):
        lines = self._session.run("pactl", "list", "source-outputs").stdout.splitlines()
        return [line.split(": ")[1] for line in lines if "Buffer Latency" in line]

    def bytes_listened_to(self):
        """How much the sound server has read; it reads only while somebody records."""
        return self._written - self._waiting()

    def _waiting(self):
        return struct.unpack("i", fcntl.ioctl(self._pipe, termios.FIONREAD, bytes(4)))[0]

    def _offer(self, data):
        taken = 0
        with contextlib.suppress(BlockingIOError):
            taken = os.write(self._pipe, data)
        self._written += taken
        return taken


def silence(seconds):
    return array.array("h", bytes(2 * round(RATE * seconds)))


def tone(seconds, frequency=1000, amplitude=12000):
    return array.array("h", (round(amplitude * math.sin(2 * math.pi * frequency * index / RATE))
                             for index in range(round(RATE * seconds))))


def noise(seconds):
    return array.array("h", os.urandom(2 * round(RATE * seconds)))


def loud_parts(samples, threshold=4000, window=32):
    """The parts, of whole windows, whose effective value is above the threshold: seconds of begin and end."""
    parts = []
    for begin in range(0, len(samples) - window + 1, window):
        power = sum(sample * sample for sample in samples[begin:begin + window]) / window
        if power <= threshold * threshold:
            continue
        if parts and parts[-1][1] == begin / RATE:
            parts[-1][1] = (begin + window) / RATE
        else:
            parts.append([begin / RATE, (begin + window) / RATE])
    return parts


class EverySample(DeviceTest):
    """On a microphone that hears exactly what the test gives it."""

    def setUp(self):
        super().setUp()
        self.microphone = self.enterContext(WrittenMicrophone(self.session))
        self.recording = self.session.folder / "run" / "kavrin" / "dict.m4a"

    def start(self):
        before = self.microphone.bytes_listened_to()
        self.suite.set("dictationCommand", "string", "start")
        self.microphone.hear_silence_until(lambda: self.suite.get("dictationState") == "recording", "recording")
        self.assertGreater(self.microphone.bytes_listened_to(), before, "nothing is recorded yet")

    def stop(self):
        self.suite.set("dictationCommand", "string", "stop")
        wait_until(lambda: self.suite.get("dictationState") in ("done", "idle"), "the end", limit=60)

    def recorded(self):
        decoded = subprocess.run(["ffmpeg", "-v", "error", "-i", self.recording, "-f", "s16le", "-ar", str(RATE), "-"],
                                 capture_output=True, check=True)
        return array.array("h", decoded.stdout)

    def test_a_tone_soon_after_recording_and_shortly_before_stop_is_in_the_file_whole(self):
        seconds = 0.6
        for attempt in range(4):
            with self.subTest(attempt):
                self.start()
                self.microphone.hear(silence(0.03) + tone(seconds) + silence(0.1))
                self.microphone.wait_until_handed_on()
                self.stop()
                parts = loud_parts(self.recorded())
                self.assertEqual(len(parts), 1, f"the tone is in pieces: {parts}")
                begin, end = parts[0]
                self.assertAlmostEqual(end - begin, seconds, delta=0.005)

    def test_ten_minutes_take_no_more_memory_than_a_moment(self):
        self.start()
        before = self.resident_bytes()
        self.hear_noise_in_haste(10 * 60)
        self.assertLess(self.resident_bytes() - before, 10e6)  # they are 19 MB
        self.assertGreater(self.recording.stat().st_size, 3e6)

    def test_recording_takes_no_more_memory_as_time_goes_by(self):
        self.start()
        self.hear_noise_in_haste(5 * 60)
        seconds, resident = [], []
        begin = time.monotonic()
        while time.monotonic() < begin + 20:
            self.microphone.hear(noise(0.2))
            seconds.append(time.monotonic())
            resident.append(self.resident_bytes())
        quarter = len(resident) // 4
        growth = statistics.median(resident[-quarter:]) - statistics.median(resident[:quarter])
        passed = statistics.median(seconds[-quarter:]) - statistics.median(seconds[:quarter])
        self.assertLess(growth / passed * 30 * 60, 20e6)

    def hear_noise_in_haste(self, seconds):
        """As fast as it can be written to the file, of which all but the last few seconds can be seen."""
        second = noise(1)
        fragments = 0
        with self.recording.open("rb") as file:
            for heard in range(1, seconds + 1):
                self.microphone.hear_at_once(second)
                while fragments * FRAGMENT < heard - 5:
                    written = wait_until(file.read, "the recording grows", interval=0.001)
                    fragments += written.count(b"moof")

    def resident_bytes(self):
        with open(f"/proc/{self.kavrin.pid}/statm", encoding="ascii") as statm:
            return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
