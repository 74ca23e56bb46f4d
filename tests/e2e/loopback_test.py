# SPDX-License-Identifier: MIT
"""The loopback server of a running Kavrin: whom it answers, what it endures, and that dictation goes on meanwhile."""

import concurrent.futures
import contextlib
import itertools
import json
import os
import resource
import signal
import socket
import subprocess
import sys
import threading
import unittest

from support.private_session import (ANOTHER_USER, PORT, SPEECH, PrivateSession, enter_private_namespaces,
                                     need_another_user, need_private_namespaces, wait_until)
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
REFUSED = 7  # curl's exit code
MEBIBYTE = 1024 * 1024
HERE = ("10.9.8.1", "fd09:8::1")
THERE = ("10.9.8.2", "fd09:8::2")
SMALL_LIMIT = 200
USUAL_LIMIT = 1024


def connect(address="127.0.0.1"):
    return socket.create_connection((address, PORT), timeout=30)


def received(connection):
    """All that comes until the server closes."""
    with connection.makefile("rb") as answer:
        return answer.read()


def body(answer):
    head, _, content = answer.partition(b"\r\n\r\n")
    if not head.startswith(b"HTTP/1.1 200 OK\r\n"):
        raise AssertionError(f"no answer: {answer!r}")
    return json.loads(content)


def answer_to(request, address="127.0.0.1"):
    with connect(address) as connection:
        connection.sendall(request)
        return body(received(connection))


def curl(target, address="127.0.0.1", port=PORT):
    """The command that asks for the target."""
    host = f"[{address}]" if ":" in address else address
    return ["curl", "--silent", "--globoff", "--noproxy", "*", "--max-time", "30", f"http://{host}:{port}{target}"]


def output(command, **how):
    return subprocess.run(command, stdout=subprocess.PIPE, check=False, **how).stdout


def open_descriptors(process):
    return {int(name) for name in os.listdir(f"/proc/{process.pid}/fd")}


def limit_descriptors(process, limit):
    _, hard = resource.prlimit(process.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(process.pid, resource.RLIMIT_NOFILE, (limit, hard))


@contextlib.contextmanager
def no_descriptors(process):
    """The process can open nothing more meanwhile."""
    before, _ = resource.prlimit(process.pid, resource.RLIMIT_NOFILE)
    in_use = open_descriptors(process)
    limit_descriptors(process, next(number for number in itertools.count() if number not in in_use))
    try:
        yield
    finally:
        limit_descriptors(process, before)


class LoopbackCase(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_speech_service()
        self.kavrin = self.session.start_kavrin("--background")
        self.suite = self.session.suite()

    @contextlib.contextmanager
    def dictation(self):
        """What the `with` statement does happens while somebody speaks, and disturbs nothing."""
        self.session.ctl("dictate", "start")
        speaking = self.session.start("paplay", CLIP)
        yield
        self.assertEqual(speaking.wait(), 0)
        self.assertEqual(self.suite.get("dictationState"), "recording")
        self.session.ctl("dictate", "stop")
        self.assertEqual(self.session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)

    def assert_answers(self):
        for address in ("127.0.0.1", "::1"):
            self.assertIn("dictationAlive", answer_to(b"GET /get HTTP/1.1\r\n\r\n", address))

    def assert_lives_on(self):
        """Two beats of the heart."""
        for _ in range(2):
            last = self.suite.get("dictationAlive")
            wait_until(lambda: self.suite.get("dictationAlive") != last, "a heartbeat")

    def silent_clients(self, count):
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
        clients = contextlib.ExitStack()
        self.addCleanup(clients.close)
        return [clients.enter_context(connect()) for _ in range(count)]


class Requests(LoopbackCase):
    def test_many_at_once_do_not_disturb_a_dictation(self):
        ended = threading.Event()

        def ask(target):
            answers = []
            while not ended.is_set():
                answers.append(self.session.http(target))
            return answers

        with concurrent.futures.ThreadPoolExecutor() as threads, contextlib.ExitStack() as stop:
            stop.callback(ended.set)
            got, *others = [threads.submit(ask, target) for target in ("/get", "/cmd?v=pause", "/used?t=1.5", "/")]
            with self.dictation():
                pass
        self.assertIn("recording", [answer.get("dictationState") for answer in got.result()])
        for future, body_of_all in zip(others, ({"ok": True}, {"ok": True}, {})):
            self.assertTrue(all(answer == body_of_all for answer in future.result()))

    def test_in_pieces_count_by_their_first_piece(self):
        with self.dictation():
            cases = ((b"GET /cmd?v=st", b"op HTTP/1.1\r\n\r\n", {"ok": True}),
                     (b"GET ", b"/cmd?v=stop HTTP/1.1\r\n\r\n", {}),
                     (b"G", b"ET /cmd?v=stop HTTP/1.1\r\n\r\n", {}))
            for first, rest, answer in cases:
                with self.subTest(first), connect() as connection:
                    connection.sendall(first)
                    self.assertEqual(body(received(connection)), answer)
                    connection.sendall(rest)
            with connect() as connection:
                connection.sendall(b"GET /get HTTP/1.1\r\n")
                connection.sendall(b"Host: localhost\r\n\r\n")
                self.assertEqual(body(received(connection))["dictationState"], "recording")

    def test_with_a_mebibyte_where_a_line_should_be(self):
        with self.dictation():
            for beginning in (b"", b"GET /", b"GET /get?", b"\xff"):
                with self.subTest(beginning):
                    self.assertEqual(
                        answer_to(beginning + b"x" * MEBIBYTE + b" /cmd?v=stop HTTP/1.1\r\n\r\n"), {})

    def test_that_are_not_read_to_their_end_do_not_disturb_a_dictation(self):
        with self.dictation():
            for _ in range(200):
                with connect() as connection:
                    connection.sendall(b"GET /get HTTP/1.1\r\n\r\n")
                    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
            self.assert_answers()


class Exhaustion(LoopbackCase):
    def setUp(self):
        before = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (USUAL_LIMIT, before[1]))
        super().setUp()
        resource.setrlimit(resource.RLIMIT_NOFILE, before)

    def test_a_thousand_silent_clients_let_others_be_answered(self):
        silent = self.silent_clients(1000)
        wait_until(lambda: len(open_descriptors(self.kavrin)) >= 1000, "Kavrin has taken them all")
        with self.dictation():
            for _ in range(50):
                self.assert_answers()
        for client in silent:
            client.sendall(b"GET /cmd HTTP/1.1\r\n\r\n")
            self.assertEqual(body(received(client)), {"ok": True})

    def test_more_clients_than_descriptors_leave_some_to_a_dictation(self):
        limit_descriptors(self.kavrin, SMALL_LIMIT)
        silent = self.silent_clients(2 * SMALL_LIMIT)
        wait_until(lambda: len(open_descriptors(self.kavrin)) >= SMALL_LIMIT // 2, "Kavrin has taken what it can")
        with self.dictation():
            pass
        for client in silent:
            client.close()
        self.assert_answers()

    def test_without_descriptors_it_waits_for_some(self):
        with no_descriptors(self.kavrin):
            waiting = connect()
            waiting.sendall(b"GET /cmd HTTP/1.1\r\n\r\n")
            self.assert_lives_on()
        with waiting:
            self.assertEqual(body(received(waiting)), {"ok": True})
        with self.dictation():
            self.assert_answers()

    def test_a_dictation_that_ends_without_descriptors_is_followed_by_another(self):
        with self.dictation():
            pass
        self.session.ctl("dictate", "start")
        with no_descriptors(self.kavrin):
            self.suite.set("dictationCommand", "string", "stop")
            wait_until(lambda: self.suite.get("dictationState") in ("idle", "done"), "the end, whichever way")
            self.assert_lives_on()
        with self.dictation():
            self.assert_answers()

    def test_killed_with_clients_it_takes_its_port_again(self):
        for client in self.silent_clients(20)[:10]:
            client.sendall(b"GET /cmd HTTP/1.1\r\n\r\n")
            received(client)
        self.kavrin.send_signal(signal.SIGKILL)
        self.kavrin.wait()
        self.session.start_kavrin("--background")
        self.assert_answers()


class Strangers(LoopbackCase):
    def test_another_user_is_neither_answered_nor_obeyed(self):
        need_another_user()
        for address, target in itertools.product(("127.0.0.1", "::1"), ("/cmd?v=start", "/used?t=1.5", "/get")):
            with self.subTest(address=address, target=target):
                self.assertEqual(output(curl(target, address), user=ANOTHER_USER, group=ANOTHER_USER), b"")
        self.assertEqual((self.suite.get("dictationCommand"), self.suite.get("tUsed")), (None, None))

    def test_another_user_does_not_end_a_dictation(self):
        need_another_user()
        with self.dictation():
            self.assertEqual(output(curl("/cmd?v=stop"), user=ANOTHER_USER, group=ANOTHER_USER), b"")
            self.assertEqual(json.loads(output(curl("/cmd?v=pause"))), {"ok": True})

    def test_only_the_two_loopback_addresses_are_listened_on(self):
        neighbour = self.neighbour()
        for where, address in (([], "127.0.0.2"), *itertools.product(([], neighbour), HERE)):
            with self.subTest(where=where, address=address):
                self.assertEqual(self.session.run(*where, *curl("/get", address), check=False).returncode, REFUSED)

    def test_a_neighbour_whose_packets_get_through_to_127_0_0_1_is_neither_answered_nor_obeyed(self):
        neighbour = self.neighbour()
        with socket.create_server(("127.0.0.1", 0)) as server:
            server.settimeout(30)
            self.session.start(*neighbour, *curl("/", port=server.getsockname()[1]))
            connection, (source, _) = server.accept()
            connection.close()
        self.assertEqual(source, THERE[0])
        for target in ("/cmd?v=start", "/used?t=1.5", "/get"):
            with self.subTest(target):
                self.assertEqual(output([*neighbour, *curl(target)]), b"")
        self.assertEqual((self.suite.get("dictationCommand"), self.suite.get("tUsed")), (None, None))

    def neighbour(self):
        """A machine beside this one. Packets for 127.0.0.1 travel between the two, as they do where an administrator
        has permitted that. Returns the command that runs another one there."""
        need_private_namespaces()
        process = self.session.start("unshare", "--net", "sleep", "infinity")
        own = os.readlink("/proc/self/ns/net")
        wait_until(lambda: os.readlink(f"/proc/{process.pid}/ns/net") != own, "a network of the neighbour's own")
        there = ["nsenter", f"--net=/proc/{process.pid}/ns/net"]
        self.session.run("ip", "link", "add", "here", "type", "veth", "peer", "name", "there", "netns", process.pid)
        self.set_up([], "here", HERE)
        self.set_up(there, "there", THERE)
        self.session.run(*there, "ip", "route", "add", "127.0.0.0/8", "via", HERE[0])
        return there

    def set_up(self, where, device, addresses):
        self.session.run(*where, "ip", "address", "add", f"{addresses[0]}/24", "dev", device)
        self.session.run(*where, "ip", "address", "add", f"{addresses[1]}/64", "dev", device, "nodad")
        self.session.run(*where, "ip", "link", "set", device, "up")
        self.session.run(*where, "sh", "-c", f"echo 1 > /proc/sys/net/ipv4/conf/{device}/route_localnet")


class TakenPort(unittest.TestCase):
    def test_on_ipv6_alone_leaves_no_server_and_dictation_over_the_suite(self):
        with PrivateSession() as session, socket.create_server(("::1", PORT), family=socket.AF_INET6):
            session.start_speech_service()
            kavrin = session.start(session.bin / "kavrin", stderr=subprocess.PIPE)
            suite = session.suite()
            wait_until(lambda: suite.get("dictationAlive"), "the heartbeat")
            with self.assertRaises(ConnectionRefusedError):
                connect("127.0.0.1")
            session.ctl("dictate", "start")
            session.play(CLIP)
            session.ctl("dictate", "stop")
            self.assertEqual(session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            kavrin.terminate()
            with kavrin.stderr as said:
                self.assertEqual(said.read(), "")

    def test_kavrin_listens_once_another_program_has_let_go_of_the_port(self):
        def answers():
            with contextlib.suppress(ConnectionRefusedError):
                return answer_to(b"GET /get HTTP/1.1\r\n\r\n")

        for address in ("127.0.0.1", "::1"):
            with self.subTest(address), PrivateSession() as session:
                family = socket.AF_INET6 if ":" in address else socket.AF_INET
                with socket.create_server((address, PORT), family=family):
                    session.start(session.bin / "kavrin", "--background", stdout=None)
                    wait_until(lambda suite=session.suite(): suite.get("dictationAlive"), "the heartbeat")
                self.assertIn("dictationAlive", wait_until(answers, "Kavrin listens"))


def become_root_of_a_user_namespace():
    """Starts the running script again as the root of a user namespace with several users, unless root runs it or the
    machine does not permit that."""
    # The plain question comes first: unshare --map-auto leaves a process behind where it is refused a namespace.
    if os.geteuid() == 0 or not is_permitted("--user"):
        return
    for users in (["--map-root-user", "--map-auto"], ["--map-root-user"]):
        if is_permitted(*users):
            os.execvp("unshare", ["unshare", *users, sys.executable, *sys.argv])


def is_permitted(*namespaces):
    return subprocess.run(["unshare", *namespaces, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0


if __name__ == "__main__":
    become_root_of_a_user_namespace()
    enter_private_namespaces()
    unittest.main(verbosity=2)
