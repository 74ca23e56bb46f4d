# SPDX-License-Identifier: MIT
"""A session of its own to run Kavrin in, for the demonstration, the end-to-end tests and the measurements.

Nothing in it touches the user's: home, settings, runtime folder, message bus, sound server, display and, where the
machine permits it, network are private, and gone at the end.
"""

import atexit
import contextlib
import ctypes
import fcntl
import functools
import json
import os
import pathlib
import shutil
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[2]
PORT = 49731
SPEECH = pathlib.Path("/usr/share/pocketsphinx/test/data")

ANOTHER_USER = 65534

_in_private_namespaces = False
_ENTERED = "KAVRIN_PRIVATE_NAMESPACES"
_PR_SET_PDEATHSIG = 1
_PR_CAP_AMBIENT = 47
_PR_CAP_AMBIENT_CLEAR_ALL = 4
_SIOCSIFFLAGS = 0x8914
_MS_RDONLY = 1
_MS_REMOUNT = 32
_MS_BIND = 4096
_MNT_DETACH = 2
_IFF_UP = 0x1


def enter_private_namespaces():
    """Starts the running script again with a network and mounts of its own, as root or not: Kavrin's port is free
    there whatever else runs on the machine, and small_disk() and make_read_only() change nothing outside. Where the
    machine does not permit that, as in a container, it returns in the machine's own namespaces, once no other script
    is there: they all need the same port."""
    global _in_private_namespaces
    if os.environ.pop(_ENTERED, None):
        _in_private_namespaces = True
        _bring_up_loopback()
        return
    user = [] if os.geteuid() == 0 else ["--map-current-user", "--keep-caps"]
    namespaces = ["unshare", *user, "--net", "--mount"]
    permitted = shutil.which("unshare") and subprocess.run(
        [*namespaces, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0
    if permitted:
        os.environ[_ENTERED] = "1"
        sys.stdout.flush()
        os.execvp(namespaces[0], [*namespaces, sys.executable, *sys.argv])
    fcntl.flock(os.open(ROOT, os.O_RDONLY | os.O_CLOEXEC), fcntl.LOCK_EX)  # until the script ends


def need_private_namespaces():
    """Skips the running test where there are no network and mounts of its own."""
    if not _in_private_namespaces:
        raise unittest.SkipTest("a network and mounts of one's own are not permitted here")


def need_another_user():
    """Skips the running test where it cannot run programs as another user."""
    try:
        subprocess.run(["true"], user=ANOTHER_USER, group=ANOTHER_USER, extra_groups=[], check=True)
    except OSError:
        raise unittest.SkipTest("becoming another user is not permitted here: it needs root, or the package uidmap and "
                                "a range for this user in /etc/subuid and /etc/subgid") from None


@contextlib.contextmanager
def port_of_another_user(port):
    """Another user's program listens on the port of this machine, as long as the context lasts. Skips the running test
    where that is not permitted."""
    need_another_user()
    listen = (f"import socket; server = socket.create_server(('127.0.0.1', {port})); print('listens', flush=True); "
              "server.accept()")
    with subprocess.Popen([sys.executable, "-c", listen], user=ANOTHER_USER, group=ANOTHER_USER, extra_groups=[],
                          stdout=subprocess.PIPE, text=True) as stranger:
        try:
            if stranger.stdout.readline() != "listens\n":
                raise Failure(f"another user's program does not listen on port {port}")
            yield
        finally:
            stranger.kill()


def _bring_up_loopback():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        fcntl.ioctl(control, _SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", _IFF_UP))
    # What was needed for that is not handed on to the programs started here.
    ctypes.CDLL(None).prctl(_PR_CAP_AMBIENT, _PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0)


def wait_until(condition, what, limit=30, interval=0.01):
    """Returns what `condition` returns once that is true; raises TimeoutError when it stays false. It rests as long as
    each look took, so that looking takes little from what is waited for."""
    deadline = time.monotonic() + limit
    while True:
        begun = time.monotonic()
        result = condition()
        if result:
            return result
        looked = time.monotonic()
        if looked > deadline:
            raise TimeoutError(f"{what}: not within {limit} s")
        time.sleep(max(interval, looked - begun))


def small_disk(folder, size):
    """Puts an empty disk of `size` bytes (whole pages) in the folder's place. Skips the running test where there are
    no mounts of its own."""
    need_private_namespaces()
    _mount("tmpfs", folder, "tmpfs", 0, f"size={size},mode=0700")


def fill(folder):
    """Leaves no room on the folder's disk; returns the file that takes it."""
    path = pathlib.Path(folder) / "full"
    with contextlib.suppress(OSError), open(path, "wb", buffering=0) as file:
        while True:
            file.write(bytes(4096))
    return path


def make_read_only(folder):
    """Nobody, root neither, can change anything in the folder from now on; processes that have files open there for
    writing must have closed them. Skips the running test where there are no mounts of its own."""
    need_private_namespaces()
    _mount(folder, folder, None, _MS_BIND)
    _mount(None, folder, None, _MS_BIND | _MS_REMOUNT | _MS_RDONLY)


def undo_mount(folder):
    """Brings back what was in the folder before the last small_disk() or make_read_only()."""
    _check(ctypes.CDLL(None, use_errno=True).umount2(os.fsencode(folder), _MNT_DETACH), f"umount {folder}")


def _mount(source, target, kind, flags, options=None):
    texts = [None if text is None else os.fsencode(text) for text in (source, target, kind)]
    mount = ctypes.CDLL(None, use_errno=True).mount
    _check(mount(*texts, ctypes.c_ulong(flags), options and options.encode()), f"mount {target}")


def _check(result, what):
    if result != 0:
        raise OSError(ctypes.get_errno(), f"{what}: {os.strerror(ctypes.get_errno())}")


class Failure(Exception):
    """A program of the session failed; the text says how."""


class PrivateSession:
    """Use it in a `with` statement."""

    def __init__(self, bin_dir=None, display=False, sound=True):
        self.bin = pathlib.Path(bin_dir or os.environ.get("KAVRIN_BIN_DIR") or ROOT / "build" / "bin")
        self._display = display
        self._sound = sound
        self._cleanup = contextlib.ExitStack()

    def __enter__(self):
        signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended by a signal"))
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kavrin-"))
        self._cleanup.callback(shutil.rmtree, self.folder, ignore_errors=True)
        try:
            self.env = self._make_environment()
            self._start_bus()
            if self._sound:
                self.start_sound_server()
            if self._display:
                self._start_display()
        except BaseException:
            self._cleanup.close()
            raise
        return self

    def __exit__(self, *_):
        self._cleanup.close()

    def _make_environment(self):
        folders = {
            "HOME": "home", "XDG_DATA_HOME": "home/data", "XDG_CONFIG_HOME": "home/config",
            "XDG_CACHE_HOME": "home/cache", "XDG_RUNTIME_DIR": "run",
        }
        foreign = ("DISPLAY", "WAYLAND_DISPLAY", "PULSE_SERVER", "DBUS_SESSION_BUS_ADDRESS", "http_proxy",
                   "https_proxy", "all_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY")
        env = {name: value for name, value in os.environ.items() if name not in foreign}
        for variable, name in folders.items():
            path = self.folder / name
            path.mkdir(mode=0o700, parents=True, exist_ok=True)
            env[variable] = str(path)
        env["LC_ALL"] = "C.UTF-8"  # Qt prints a warning in any locale whose encoding is another
        env["QT_QPA_PLATFORM"] = "offscreen"
        env["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.folder}/run/no-system-bus"
        env["PULSE_SERVER"] = f"unix:{self.folder}/run/pulse.socket"
        return env

    # Processes

    def start(self, *command, stdout=subprocess.PIPE, stderr=None):
        """Starts a program that ends with the session at the latest."""
        process = subprocess.Popen([str(part) for part in command], env=self.env, stdout=stdout, stderr=stderr,
                                   stdin=subprocess.DEVNULL, text=True, start_new_session=True,
                                   preexec_fn=_die_with_parent)
        self._cleanup.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        """Kills a program and all that it started. Only once: later, another program may have its number."""
        if getattr(process, "has_ended", False):
            return
        process.has_ended = True
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        if process.stdout:
            process.stdout.close()

    def run(self, *command, input=None, check=True):
        """Runs a program to its end; raises Failure with what it said when it fails."""
        done = subprocess.run([str(part) for part in command], env=self.env, input=input, capture_output=True,
                              text=True, check=False)
        if check and done.returncode != 0:
            raise Failure(f"{pathlib.Path(command[0]).name} failed ({done.returncode}): {done.stderr.strip()}")
        return done

    # The machine

    def _start_bus(self):
        address = f"unix:path={self.folder}/run/bus"
        bus = self.start("dbus-daemon", "--session", "--nofork", f"--address={address}", "--print-address",
                         stderr=subprocess.DEVNULL)
        if not bus.stdout.readline():
            raise Failure("dbus-daemon did not start")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address

    def start_sound_server(self):
        """A sound server whose microphone hears what is played on its speaker. A sink that rewinds nothing hands
        its sound on every 50 ms; the other kind lets the first listener wait for up to two seconds."""
        script = self.folder / "sound"
        script.write_text(f"""
            load-module module-native-protocol-unix socket={self.folder}/run/pulse.socket auth-anonymous=1
            load-module module-null-sink sink_name=speaker rate=48000 channels=2 norewinds=1
            load-module module-remap-source master=speaker.monitor source_name=microphone
            set-default-sink speaker
            set-default-source microphone
        """, encoding="utf-8")
        self.sound_server = self.start("pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                                       "-F", script, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: self.run("pactl", "info", check=False).returncode == 0, "the sound server answers")

    def _start_display(self):
        read, write = os.pipe()
        # Without -noreset, the end of the last client ends those that are just connecting, too.
        process = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "2048x1536x24", "-noreset",
                                    "-nolisten", "tcp"],
                                   env=self.env, pass_fds=[write], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=_die_with_parent)
        self._cleanup.callback(self.end, process)
        os.close(write)
        with os.fdopen(read, encoding="ascii") as number:
            self.env["DISPLAY"] = ":" + number.readline().strip()
        self.env["QT_QPA_PLATFORM"] = "xcb"

    def play(self, wav):
        """Plays a sound before the microphone; returns when it has ended."""
        self.run("paplay", wav)

    # Kavrin

    def start_speech_service(self):
        """Makes kavrin-stt the service that transcribes; returns its URL. All sessions of a script share one, because
        it takes half a second to load its model."""
        url = _speech_service(self.bin)
        self.ctl("set", "provider", "custom")
        self.ctl("set", "customURL", url)
        return url

    def start_kavrin(self, *arguments, beats=True):
        """Starts kavrin; returns its process once it answers on its port and, where the suite takes that, beats."""
        begun = time.time()
        # In a network that others use, a connection of theirs may have got this port, and keeps it for a minute.
        wait_until(_port_is_free, f"port {PORT} is free", limit=90)
        process = self.start(self.bin / "kavrin", *arguments, stdout=None)

        def answers():
            if process.poll() is not None:
                raise Failure(f"kavrin ended with code {process.returncode}")
            with contextlib.suppress(OSError):
                return self.http("/get").get("dictationAlive", 0) > begun or not beats

        wait_until(answers, f"kavrin answers on port {PORT}")
        return process

    def ctl(self, *arguments, input=None):
        """What kavrinctl prints."""
        return self.run(self.bin / "kavrinctl", *arguments, input=input).stdout.rstrip("\n")

    @staticmethod
    def http(target):
        """What the loopback server answers, as a dictionary. A locked suite delays that by five seconds."""
        with urllib.request.urlopen(f"http://127.0.0.1:{PORT}{target}", timeout=30) as answer:
            return json.load(answer)

    def suite(self):
        """The shared suite, as a keyboard opens it."""
        path = json.loads(self.ctl("where", "--json"))["suite"]
        return Suite(path)


class Suite:
    """The shared suite through Python's sqlite3."""

    def __init__(self, path):
        self.database = sqlite3.connect(path, isolation_level=None, timeout=5)

    def get(self, key):
        row = self.database.execute("SELECT value FROM defaults WHERE key = ?", (key,)).fetchone()
        return row[0] if row else None

    def set(self, key, kind, value):
        self.database.execute(
            "INSERT INTO defaults (key, type, value) VALUES (?, ?, ?) "
            "ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value", (key, kind, value))

    def wait_for(self, key, value, limit=30, interval=0.002):
        wait_until(lambda: self.get(key) == value, f"{key} becomes {value}", limit, interval)


@functools.cache
def _speech_service(bin_dir):
    """The URL of a kavrin-stt that runs in a session of its own until the script ends."""
    session = PrivateSession(bin_dir, sound=False)
    session.__enter__()
    atexit.register(session.__exit__)
    url = session.start(session.bin / "kavrin-stt", "--port", "0").stdout.readline().strip()
    if not url:
        raise Failure("kavrin-stt did not start")
    return url


def _port_is_free():
    try:
        with socket.create_server(("127.0.0.1", PORT)):
            return True
    except OSError:
        return False


def _die_with_parent():
    ctypes.CDLL(None).prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)
