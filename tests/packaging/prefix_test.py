# SPDX-License-Identifier: MIT
"""Kavrin installed below a folder of the user's choice."""

import json
import pathlib
import tempfile
import unittest

from packages import install, run
from support.private_session import SPEECH, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
ELF = b"\x7fELF"


class Prefix(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kavrin-prefix-")))
        install(cls.prefix)

    def test_every_program_says_its_version(self):
        said = {run(self.prefix / "bin" / name, "--version", env={"QT_QPA_PLATFORM": "offscreen"})
                for name in ("kavrin", "kavrin-stt", "kavrin-typist", "kavrinctl")}
        versions = {line.split()[1] for line in said}
        self.assertEqual((len(said), len(versions)), (4, 1))

    def test_no_program_looks_for_libraries_in_a_folder_of_its_own(self):
        binaries = [path for path in self.prefix.rglob("*") if path.is_file() and path.read_bytes().startswith(ELF)]
        self.assertEqual(len(binaries), 7)
        for path in binaries:
            with self.subTest(path.name):
                self.assertNotRegex(run("readelf", "--dynamic", path), "RPATH|RUNPATH")

    def test_a_dictation_works_from_there(self):
        with PrivateSession(bin_dir=self.prefix / "bin") as session:
            session.start_speech_service()
            kavrin = session.start_kavrin()
            self.assertEqual(json.loads(session.ctl("where", "--json"))["group"], "group.app.kavrin.shared")
            session.ctl("dictate", "start")
            session.play(CLIP)
            session.ctl("dictate", "stop")
            self.assertEqual(session.ctl("dictate", "wait", "--timeout", "60"), SPOKEN)
            loaded = pathlib.Path(f"/proc/{kavrin.pid}/maps").read_text(encoding="utf-8")
            for module in ("kavrin_curl.so", "kavrin_libav.so"):
                self.assertIn(str(self.prefix / "lib" / "kavrin" / module), loaded)

    def test_the_session_bus_starts_it_in_the_background(self):
        with PrivateSession(bin_dir=self.prefix / "bin", sound=False) as session:
            services = pathlib.Path(session.env["XDG_DATA_HOME"]) / "dbus-1" / "services"
            services.mkdir(parents=True)
            name = "app.kavrin.Kavrin.service"
            installed = (self.prefix / "share" / "dbus-1" / "services" / name).read_text(encoding="utf-8")
            (services / name).write_text(installed, encoding="utf-8")
            call = ("gdbus", "call", "--session", "--dest", "app.kavrin.Kavrin", "--object-path", "/app/kavrin/Kavrin",
                    "--method", "org.freedesktop.Application.Open", "['kavrin://dictate']", "{}")
            session.run(*call)
            wait_until(lambda: session.suite().get("dictationState"), "the dictation that the call asked for")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
