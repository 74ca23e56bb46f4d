# SPDX-License-Identifier: MIT
"""The application's process: how it starts, hands over, beats and ends."""

import fcntl
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import time
import unittest

from support.private_session import PORT, PrivateSession, enter_private_namespaces, wait_until
from support.suite_case import Holder


class Application(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))

    def test_it_stamps_its_start_and_beats(self):
        before = time.time()
        self.session.start_kavrin()
        suite = self.session.suite()
        self.assertGreaterEqual(suite.get("probeApp"), before)
        first = suite.get("dictationAlive")
        self.assertGreaterEqual(first, before)
        wait_until(lambda: suite.get("dictationAlive") > first, "another beat")

    def test_the_port_answers_on_both_loopback_addresses_and_on_no_other(self):
        self.session.start_kavrin()
        for address in ("127.0.0.1", "::1"):
            with socket.create_connection((address, PORT), timeout=5) as client:
                client.sendall(b"GET /nowhere HTTP/1.1\r\n\r\n")
                answer = b""
                while chunk := client.recv(4096):
                    answer += chunk
                self.assertEqual(answer, b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                         b"Content-Length: 2\r\nConnection: close\r\n\r\n{}")
        listening = self.session.run("ss", "--listening", "--tcp", "--numeric", "--no-header").stdout
        addresses = {line.split()[3] for line in listening.splitlines() if f":{PORT}" in line}
        self.assertEqual(addresses, {f"127.0.0.1:{PORT}", f"[::1]:{PORT}"})

    def test_a_termination_ends_it_with_code_0(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                kavrin = self.session.start_kavrin()
                kavrin.send_signal(number)
                self.assertEqual(kavrin.wait(10), 0)

    def test_a_url_given_at_launch_is_opened(self):
        self.session.start_kavrin("kavrin://dictate")
        suite = self.session.suite()
        suite.wait_for("dictationState", "starting")
        self.assertEqual(suite.get("dictationCommand"), "")

    def test_a_second_launch_ends_and_leaves_the_first_running(self):
        first = self.session.start_kavrin()
        started = self.session.suite().get("probeApp")
        self.assertEqual(self.session.run(self.session.bin / "kavrin").returncode, 0)
        self.assertIsNone(first.poll())
        self.assertEqual(self.session.suite().get("probeApp"), started)

    def test_a_url_that_neither_bus_nor_suite_takes_is_a_failure(self):
        self.session.env["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.session.folder}/run/no-session-bus"
        self.session.start_kavrin()
        command = (self.session.bin / "kavrin", "kavrin://dictate")
        self.session.run(*command)
        self.session.suite().wait_for("dictationState", "starting")
        with Holder(json.loads(self.session.ctl("where", "--json"))["suite"], "BEGIN IMMEDIATE"):
            done = self.session.run(*command, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn("could not be told to open the address: ", done.stderr)

    def test_without_a_display_it_tells_who_wants_its_window_so(self):
        del self.session.env["QT_QPA_PLATFORM"]
        first = self.session.start_kavrin()
        second = self.session.run(self.session.bin / "kavrin", check=False)
        self.assertEqual(second.returncode, 1)
        self.assertIn("kavrin: Kavrin is already running, but was started where there is no display. End that process and "
                      "try again. (The running Kavrin holds ", second.stderr)
        self.session.run(self.session.bin / "kavrin", "kavrin://dictate")
        self.session.suite().wait_for("dictationState", "starting")
        self.assertIsNone(first.poll())

    def test_without_a_display_it_says_that_it_has_no_window(self):
        del self.session.env["QT_QPA_PLATFORM"]
        kavrin = self.session.start(self.session.bin / "kavrin", stderr=subprocess.PIPE)
        self.assertEqual(kavrin.stderr.readline(), "kavrin: There is no display. Serving without a window.\n")

    def test_it_serves_where_the_display_cannot_be_reached(self):
        for display in ({"WAYLAND_DISPLAY": "wayland-gone"}, {"DISPLAY": ":65000"},
                        {"WAYLAND_DISPLAY": "wayland-gone", "DISPLAY": ":65000"},
                        {"WAYLAND_DISPLAY": "wayland-gone", "QT_QPA_PLATFORM": "wayland"}):
            with self.subTest(display):
                self.session.env.pop("QT_QPA_PLATFORM", None)
                self.session.env.update(display)
                kavrin = self.session.start_kavrin("--background")
                second = self.session.run(self.session.bin / "kavrin", check=False)
                self.assertEqual(second.returncode, 1)
                self.assertIn("was started where there is no display", second.stderr)
                self.session.end(kavrin)
                for name in display:
                    del self.session.env[name]

    def hold_lock(self):
        """Locks as another process does that serves the suite; returns the path of the file."""
        path = pathlib.Path(json.loads(self.session.ctl("where", "--json"))["suite"]).parent / "application.lock"
        file = self.enterContext(open(path, "w", encoding="ascii"))
        fcntl.flock(file, fcntl.LOCK_EX)  # as version 0.1.0 does
        return path

    def test_where_it_is_out_of_reach_a_second_launch_fails_and_names_the_lock(self):
        path = self.hold_lock()
        for bus in (self.session.env["DBUS_SESSION_BUS_ADDRESS"], "unix:path=/nowhere"):
            for arguments in ([], ["--background"]):
                with self.subTest(bus=bus, arguments=arguments):
                    self.session.env["DBUS_SESSION_BUS_ADDRESS"] = bus
                    second = self.session.run(self.session.bin / "kavrin", *arguments, check=False)
                    self.assertEqual(second.returncode, 1)
                    self.assertIn(str(path), second.stderr)

    def test_where_it_does_not_answer_a_second_launch_fails_and_names_the_lock(self):
        first = self.session.start_kavrin("--background")
        first.send_signal(signal.SIGSTOP)
        for arguments in ([], ["kavrin://dictate"]):
            with self.subTest(arguments):
                second = self.session.run(self.session.bin / "kavrin", *arguments, check=False)
                self.assertEqual(second.returncode, 1)
                self.assertIn("application.lock", second.stderr)
        first.send_signal(signal.SIGCONT)

    def test_where_it_is_out_of_reach_a_url_goes_through_the_suite(self):
        self.hold_lock()
        self.session.run(self.session.bin / "kavrin", "kavrin://dictate")
        self.assertEqual(self.session.suite().get("dictationCommand"), "start")

    def test_it_starts_again_after_a_kill_whatever_the_lock_says(self):
        first = self.session.start_kavrin()
        self.session.end(first)
        path = next(self.session.folder.rglob("application.lock"))
        program = pathlib.Path(sys.executable).name
        path.write_text(f"{os.getpid()}\n{program}\n{socket.gethostname()}\n", encoding="ascii")
        self.session.start_kavrin()

    def test_a_relative_data_folder_is_ignored(self):
        home = self.session.folder / "home"
        self.session.env["XDG_DATA_HOME"] = os.path.relpath(home / "relative")
        self.session.start_kavrin()
        self.assertTrue((home / ".local/share/app-groups").exists())
        self.assertFalse((home / "relative").exists())

    def test_wrong_usage_is_explained(self):
        for arguments in (["--nonsense"], ["kavrin://dictate", "kavrin://dictate"], ["kavrin:dictate"], ["dictate"],
                          ["kavrin://Dictate"], ["kavrin://settings"]):
            with self.subTest(arguments):
                done = self.session.run(self.session.bin / "kavrin", *arguments, check=False)
                self.assertEqual(done.returncode, 2)
                self.assertTrue(done.stderr)

    def test_nothing_is_written_to_its_output(self):
        kavrin = self.session.start(self.session.bin / "kavrin", stderr=-2)
        suite = self.session.suite()
        wait_until(lambda: suite.get("dictationAlive"), "the heartbeat")
        suite.set("dictationCommand", "string", "start")
        suite.wait_for("dictationState", "starting")
        kavrin.send_signal(signal.SIGTERM)
        self.assertEqual(kavrin.communicate()[0], "")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
