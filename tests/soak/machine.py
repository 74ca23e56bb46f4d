# SPDX-License-Identifier: MIT
"""The session that Kavrin runs in: sound, sleep, a desktop, and what goes wrong with them."""

import contextlib
import signal
import subprocess
import threading
import time

from gi.repository import GLib

from support.desktop import DICTATION, Bus, Notifications, Tray
from support.private_session import wait_until

LIMIT = 60  # seconds for each step, on the slowest machine
INTERVAL = 0.03  # seconds between two looks at what Kavrin does
LOGIND = ("org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.DBus.Mock")
# Freed memory goes back at once, so that what stays is held by somebody (mallopt(3)).
MALLOC = ("MALLOC_ARENA_MAX=1", "MALLOC_MMAP_THRESHOLD_=65536", "MALLOC_TRIM_THRESHOLD_=65536")


class Cancelled(Exception):
    """Kavrin has given a dictation up, as it was told to."""


class Machine:
    def __init__(self, session, troubles, chance):
        self.session = session
        self._troubles = troubles
        self._chance = chance
        self._start_system_bus()
        self.bus = Bus(session)
        self.suite = session.suite()
        self.tray = Tray(session, self.bus)
        self.notifications = Notifications(session, self.bus)

    # Sound

    def end_sound_server(self):
        self.session.end(self.session.sound_server)

    def start_sound_server(self):
        self.session.start_sound_server()

    def restart_sound_server(self):
        self.end_sound_server()
        self.start_sound_server()

    def hang_sound_server(self):
        """For a moment."""
        server = self.session.sound_server
        server.send_signal(signal.SIGSTOP)
        self._hanging = threading.Timer(self._chance.uniform(0, 5), server.send_signal, (signal.SIGCONT,))
        self._hanging.start()

    def wait_for_sound_server(self):
        self._hanging.join()

    def take_microphone(self):
        """Nothing else can be recorded from."""
        self._control_sound("unload-module", "module-remap-source")
        self._control_sound("unload-module", "module-null-sink")

    def give_microphone(self):
        self._control_sound("load-module", "module-null-sink", "sink_name=speaker", "rate=48000", "channels=2",
                            "norewinds=1")
        self._control_sound("load-module", "module-remap-source", "master=speaker.monitor", "source_name=microphone")
        self._control_sound("set-default-sink", "speaker")
        self._control_sound("set-default-source", "microphone")

    def mute_microphone(self):
        self._control_sound("set-source-mute", "microphone", "1")

    def unmute_microphone(self):
        self._control_sound("set-source-mute", "microphone", "0")

    def _control_sound(self, *arguments):
        self.session.run("pactl", *arguments)

    # Suite

    def lock_suite(self):
        self._troubles.lock(self._chance.uniform(0.2, 8))

    def fill_disk(self):
        self._troubles.fill(self._chance.uniform(0.2, 8))

    def wait_for_suite(self):
        self._troubles.wait_until_over()

    # Sleep

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

    # Desktop

    def change_desktop(self):
        """The tray or the notifications end, or come back."""
        if self._chance.random() < 0.5:
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

    # Kavrin

    def start_kavrin(self, log):
        """It logs all that it can log."""
        self.kavrin = self.session.start("env", "QT_LOGGING_RULES=kavrin.*=true", *MALLOC,
                                         self.session.bin / "kavrin", "--background", stdout=log,
                                         stderr=subprocess.STDOUT)
        wait_until(lambda: self.suite.get("dictationAlive"), "the first heartbeat", LIMIT)
        with contextlib.suppress(OSError):
            wait_until(lambda: self.session.http("/get"), "an answer", LIMIT)

    def activity(self):
        """What Kavrin does, as it says itself: the suite may not take it."""
        return self.bus.call(*DICTATION, "State")[0]

    def wait_until_idle(self, limit=LIMIT):
        wait_until(lambda: self.activity() == "idle", "Kavrin is idle", limit, INTERVAL)

    def start_again(self):
        self.command("start")

    def stop_again(self):
        self.command("stop")

    def command(self, command):
        self.suite.set("dictationCommand", "string", command)
        self.wait_until_taken()

    def wait_until_taken(self):
        wait_until(lambda: not self.suite.get("dictationCommand"), "the command is taken", LIMIT)

    def cancel(self):
        """At any moment of the next half a second; raises Cancelled if there was something to cancel."""
        time.sleep(self._chance.uniform(0, 0.5))
        if self._chance.random() < 0.5:
            done = self.session.run(self.session.bin / "kavrinctl", "dictate", "cancel", check=False)
            if done.returncode == 0:
                raise Cancelled
        else:
            with contextlib.suppress(GLib.Error):
                self.bus.call(*DICTATION, "Cancel")
                raise Cancelled

    def wait_until_the_microphone_is_free(self):
        wait_until(lambda: not recordings(self.session), "nobody records", LIMIT, INTERVAL)


def recordings(session):
    """The sound server's streams from microphones to programs; none if it does not answer."""
    with contextlib.suppress(subprocess.TimeoutExpired):
        listed = subprocess.run(["pactl", "list", "short", "source-outputs"], env=session.env, timeout=5, check=False,
                                capture_output=True, text=True).stdout
        return [line for line in listed.splitlines() if "protocol-native" in line]
    return []
