# SPDX-License-Identifier: MIT
"""What docs/security.md claims and no other test holds: who can read what Kavrin keeps, and who can reach it."""

import contextlib
import http.client
import os
import pathlib
import re
import resource
import stat
import subprocess
import unittest
import xml.etree.ElementTree

from loopback_test import become_root_of_a_user_namespace
from notices_test import RefusingService
from support.desktop import APPLICATION, Bus
from support.private_session import (ANOTHER_USER, PORT, ROOT, SPEECH, PrivateSession, enter_private_namespaces,
                                     need_another_user, wait_until)
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
KEY = "sk-never-to-be-seen-4711"
MESSAGE = "Hazel Bank: your code is 482913"
GROUP = "home/data/app-groups/group.app.kavrin.shared"


def dictate(session):
    session.ctl("dictate", "start")
    session.play(CLIP)
    session.ctl("dictate", "stop")
    return session.ctl("dictate", "wait", "--timeout", "60")


def start_speech_service(session):
    """Starts a kavrin-stt of the session's own; returns its process."""
    service = session.start(session.bin / "kavrin-stt", "--port", "0")
    session.ctl("set", "provider", "custom")
    session.ctl("set", "customURL", service.stdout.readline().strip())
    return service


def use_everything(session):
    """A run in which each file comes to be that Kavrin writes, the copy of a damaged suite among them."""
    suite = session.folder / GROUP / "defaults.sqlite"
    session.ctl("set", "openaiKey", KEY)
    suite.write_bytes(b"no database " * 500)
    for beside in ("-wal", "-shm"):
        suite.with_name(suite.name + beside).unlink(missing_ok=True)
    session.ctl("set", "openaiKey", KEY)
    start_speech_service(session)
    kavrin = session.start_kavrin("--background")
    session.ctl("save-code", MESSAGE)
    if dictate(session) != SPOKEN:
        raise AssertionError("nothing was dictated")
    fail_to_dictate(session)
    return kavrin


def fail_to_dictate(session):
    """A dictation whose recording is kept, because no service takes it."""
    url = session.ctl("get", "customURL").strip()
    session.ctl("set", "customURL", "http://127.0.0.1:1/")
    session.ctl("dictate", "start")
    session.ctl("dictate", "stop")
    wait_until(lambda: session.ctl("dictate", "status") == "idle", "the dictation has failed")
    session.ctl("set", "customURL", url)


@contextlib.contextmanager
def umask(mask):
    before = os.umask(mask)
    try:
        yield
    finally:
        os.umask(before)


def files_below(folder):
    return [path for path in folder.rglob("*") if path.is_file() and not path.is_symlink()]


def mode(path):
    return stat.S_IMODE(path.stat().st_mode)


class Files(unittest.TestCase):
    def test_a_crash_leaves_no_core_file(self):
        limit = resource.getrlimit(resource.RLIMIT_CORE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, limit)
        resource.setrlimit(resource.RLIMIT_CORE, (limit[1], limit[1]))
        session = self.enterContext(PrivateSession(sound=False))
        kavrin = session.start_kavrin("--background")
        kavrinctl = session.start(session.bin / "kavrinctl", "dictate", "wait")
        service = session.start(session.bin / "kavrin-stt", "--port", "0")
        typist = session.start(session.bin / "kavrin-typist")
        for process in (kavrin, kavrinctl, service, typist):
            with self.subTest(process.args[0]):
                wait_until(lambda pid=process.pid: resource.prlimit(pid, resource.RLIMIT_CORE) == (0, 0), "no core file")
                self.assertEqual(pathlib.Path(f"/proc/{process.pid}").stat().st_uid, os.getuid())

    def test_what_holds_secrets_is_the_users_alone_under_any_umask(self):
        for mask in (0o022, 0o000):
            with self.subTest(f"{mask:03o}"), umask(mask), PrivateSession() as session:
                use_everything(session)
                group = session.folder / GROUP
                secret = [*group.glob("defaults.sqlite*"), *(session.folder / "run/kavrin").glob("*.m4a")]
                self.assertIn("failed-1.m4a", [path.name for path in secret])
                self.assertEqual({path.name: mode(path) for path in secret}, {path.name: 0o600 for path in secret})
                for folder in (group, session.folder / "run/kavrin"):
                    self.assertEqual(mode(folder), 0o700)
                self.assertTrue(list(group.glob("defaults.sqlite.damaged-*")))

    def test_keys_transcripts_and_codes_are_in_the_suite_and_in_no_other_file(self):
        with PrivateSession() as session:
            use_everything(session)
            with RefusingService(f'["no such key: {KEY}"]') as service:
                session.ctl("set", "provider", "openai")
                session.ctl("set", "provider", "custom")
                session.ctl("set", "customURL", service.url)
                session.ctl("dictate", "start")
                session.ctl("dictate", "stop")
                session.suite().wait_for("dictationState", "idle")
            for secret in (KEY, SPOKEN, "482913", "Hazel"):
                holding = {path.relative_to(session.folder).parent.as_posix()
                           for path in files_below(session.folder) if secret.encode() in path.read_bytes()}
                self.assertLessEqual(holding, {GROUP}, secret)

    def test_another_user_reads_neither_suite_nor_recording(self):
        need_another_user()
        with umask(0o022), PrivateSession() as session:
            use_everything(session)
            group = session.folder / GROUP
            for folder in (session.folder, *(path for path in session.folder.rglob("*") if path.is_dir())):
                if folder.name != "kavrin":
                    folder.chmod(0o755)  # as homes are on some machines
            for path in (*group.glob("defaults.sqlite*"), *(session.folder / "run/kavrin").glob("*.m4a")):
                with self.subTest(path.name):
                    done = subprocess.run(["cat", path], user=ANOTHER_USER, group=ANOTHER_USER, capture_output=True,
                                          check=False)
                    self.assertEqual(done.stdout, b"")
                    self.assertIn(b"Permission denied", done.stderr)


class Network(unittest.TestCase):
    def test_nothing_listens_but_on_the_loopback_addresses(self):
        with PrivateSession() as session:
            service = start_speech_service(session)
            kavrin = session.start_kavrin("--background")
            self.assertEqual(dictate(session), SPOKEN)
            self.assertEqual(self.listening(kavrin), {("127.0.0.1", PORT), ("::1", PORT)})
            self.assertEqual({address for address, _ in self.listening(service)}, {"127.0.0.1"})

    def listening(self, process):
        """The addresses and ports of each socket that takes something from the network."""
        command = ["ss", "--no-header", "--numeric", "--processes", "--listening", "--tcp", "--udp", "--raw"]
        done = subprocess.run(command, capture_output=True, text=True, check=True)
        lines = [line.split() for line in done.stdout.splitlines() if f"pid={process.pid}," in line]
        return {(address.strip("[]"), int(port)) for address, port in (line[4].rsplit(":", 1) for line in lines)}


class WebPage(unittest.TestCase):
    """What a page could do with the loopback server in a browser that does not say that it is one. The browser decides
    by the answer's headers what the page gets to see."""

    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.session.start_kavrin("--background")

    def request(self, method, target, **headers):
        """The headers of the answer, as a page's browser gets them."""
        connection = http.client.HTTPConnection("127.0.0.1", PORT, timeout=30)
        self.addCleanup(connection.close)
        connection.request(method, target, headers={name.replace("_", "-"): value for name, value in headers.items()})
        answer = connection.getresponse()
        answer.read()
        return {name: value for name, value in answer.getheaders() if name != "Content-Length"}

    def test_no_answer_permits_it_to_read(self):
        asked = {"Access_Control_Request_Method": "GET", "Access_Control_Request_Private_Network": "true",
                 "Access_Control_Request_Local_Network": "true"}
        for method, target, headers in (("GET", "/get", {}), ("OPTIONS", "/get", asked), ("GET", "/", {})):
            with self.subTest(f"{method} {target}"):
                self.assertEqual(self.request(method, target, **headers),
                                 {"Content-Type": "application/json", "Connection": "close"})


class SessionBus(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession())
        self.bus = Bus(self.session)

    def test_offers_an_application_s_methods_and_those_of_dictation_and_nothing_to_read(self):
        self.session.start_kavrin("--background")
        methods = [f"{interface}.{method}" for interface, method in self.members("/")
                   if not interface.startswith("org.freedesktop.DBus.")]
        dictation = ("Again", "Announce", "Cancel", "Commanded", "Delivered", "IsGivenUp", "Outcome", "Report",
                     "Start", "State", "Stop", "TakeFailure", "Toggle", "Version")
        self.assertEqual(sorted(methods), [*(f"app.kavrin.Dictation.{method}" for method in dictation),
                                           *(f"org.freedesktop.Application.{method}"
                                             for method in ("Activate", "ActivateAction", "Open"))])

    def members(self, path):
        """What each interface of the object and of those below it has: methods, properties and signals."""
        text = self.bus.call("app.kavrin.Kavrin", path, "org.freedesktop.DBus.Introspectable", "Introspect")[0]
        node = xml.etree.ElementTree.fromstring(text)
        for interface in node.iter("interface"):
            for member in interface:
                yield interface.get("name"), member.get("name")
        for child in node.findall("node"):
            yield from self.members(f"{path.rstrip('/')}/{child.get('name')}")

    def test_opens_no_address_but_that_of_dictation(self):
        self.session.start_kavrin("--background")
        suite = self.session.suite()
        for url in ("file:///etc/passwd", "https://page.example/dictate", "kavrin://settings?openaiKey=x", "dictate"):
            with self.subTest(url):
                self.bus.call(*APPLICATION, "Open", "(asa{sv})", [url], {})
                self.assertIsNone(suite.get("dictationCommand"))
        self.bus.call(*APPLICATION, "Open", "(asa{sv})", ["kavrin://dictate"], {})
        wait_until(lambda: suite.get("dictationState"), "a dictation begins")


class Units(unittest.TestCase):
    def test_those_who_read_what_strangers_send_are_confined(self):
        families = {"kavrin-messages": "AF_UNIX", "kavrin-stt": "AF_INET AF_INET6 AF_UNIX"}
        for name, allowed in families.items():
            unit = (ROOT / "packaging/systemd" / f"{name}.service.in").read_text(encoding="utf-8")
            settings = dict(re.findall(r"^(\w+)=(.*)$", unit, re.MULTILINE))
            with self.subTest(name):
                self.assertEqual(settings["RestrictAddressFamilies"], allowed)
                self.assertEqual(settings["SystemCallFilter"], "@system-service")
                for setting in ("NoNewPrivileges", "LockPersonality", "RestrictNamespaces", "RestrictRealtime",
                                "RestrictSUIDSGID"):
                    self.assertEqual(settings[setting], "true")


if __name__ == "__main__":
    become_root_of_a_user_namespace()
    enter_private_namespaces()
    unittest.main(verbosity=2)
