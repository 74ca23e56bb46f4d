# SPDX-License-Identifier: MIT
"""The Debian package: its form, and its whole life on a machine that has nothing of it yet."""

import functools
import json
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from clean_root import CleanRoot, need_clean_root
from packages import BUILD, make_package
from support.private_session import ROOT, SPEECH
from support.speech import SPOKEN

CLIP = SPEECH / "cards" / "001.wav"
MESSAGE = "Your code is 482913"

# Waits for a line of a service, and for the answer of a port, as long as the program runs.
FUNCTIONS = """
first_line() { until [ -s "$1" ]; do kill -0 "$2"; sleep 0.05; done; head -n 1 "$1"; }
get() {
    until exec 3<>/dev/tcp/127.0.0.1/49731; do kill -0 "$1"; sleep 0.05; done 2>/dev/null
    printf 'GET /get HTTP/1.1\\r\\n\\r\\n' >&3
    cat <&3
}
"""


def folder_for(case):
    """A folder that is gone after the test or the tests of this script."""
    return pathlib.Path(case(tempfile.TemporaryDirectory(prefix="kavrin-package-")))


@functools.cache
def package():
    """The path of the package that all tests share."""
    return make_package(folder_for(unittest.enterModuleContext))


class Form(unittest.TestCase):
    def test_debians_checker_finds_neither_errors_nor_warnings(self):
        done = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning", str(package())],
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""))

    def test_it_holds_what_people_run_and_nothing_of_the_build(self):
        files = self.unpack()
        self.assertEqual(sorted(path for path in files if path.startswith(("usr/bin/", "usr/lib/kavrin/"))),
                         ["usr/bin/kavrin", "usr/bin/kavrin-stt", "usr/bin/kavrin-typist", "usr/bin/kavrinctl",
                          "usr/lib/kavrin/kavrin_curl.so", "usr/lib/kavrin/kavrin_libav.so",
                          "usr/lib/kavrin/kavrin_pulse.so"])
        self.assertEqual([path for path in files if path.endswith((".a", ".h", ".cmake"))], [])
        binaries = [content for path, content in files.items() if path.startswith(("usr/bin/", "usr/lib/kavrin/"))]
        self.assertFalse([content for content in binaries if bytes(BUILD) in content])

    def test_it_installs_no_script_and_enables_no_unit(self):
        members = self.run_dpkg("--ctrl-tarfile", tar=("tar", "--list"))
        self.assertEqual(sorted(members.split()), ["./", "./control", "./md5sums"])
        links = [path for path in self.unpack() if ".wants/" in path or path.endswith(".preset")]
        self.assertEqual(links, [])

    def run_dpkg(self, option, tar):
        archive = subprocess.run(["dpkg-deb", option, str(package())], capture_output=True, check=True).stdout
        return subprocess.run(tar, input=archive, capture_output=True, check=True).stdout.decode()

    def unpack(self):
        """The contents by path."""
        folder = folder_for(self.enterContext)
        subprocess.run(["dpkg-deb", "--extract", str(package()), str(folder)], check=True)
        return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class CleanMachine(unittest.TestCase):
    """One test: making the machine takes longer than all else."""

    def test_it_installs_serves_an_ordinary_user_and_leaves_nothing(self):
        need_clean_root()
        machine = CleanRoot(folder_for(self.enterContext), BUILD / "package-cache")
        machine.bootstrap()
        before = machine.files()
        self.install(machine)
        self.settings_are_kept(machine)
        self.codes_are_found(machine)
        self.the_application_answers(machine)
        self.speech_becomes_text(machine)

        machine.apt_get("purge", "--autoremove", "kavrin")
        left = {path for path in machine.files() - before if "kavrin" in path.lower()}
        self.assertEqual(left, set())
        self.assertTrue(list((machine.folder / "home").rglob("defaults.sqlite")))

    def install(self, machine):
        shutil.copy(package(), machine.folder / "tmp")
        machine.apt_get("install", "--no-install-recommends", f"/tmp/{package().name}")

    def settings_are_kept(self, machine):
        with self.subTest("settings"):
            where = json.loads(machine.run_as_user("kavrinctl where --json"))
            self.assertEqual(where["group"], "group.app.kavrin.shared")
            self.assertTrue(where["shared"])
            self.assertTrue(where["suite"].startswith("/home/ada/.local/share/app-groups/"))
            self.assertEqual(machine.run_as_user("kavrinctl set rowH 61; kavrinctl get rowH"), "61\n")
            self.assertEqual(machine.run_as_user("kavrinctl get rowH"), "61\n")

    def codes_are_found(self, machine):
        with self.subTest("codes"):
            self.assertIn("482913", machine.run_as_user(f"kavrinctl extract-code '{MESSAGE}'"))
            machine.run_as_user(f"kavrinctl save-code '{MESSAGE}'")
            self.assertIn("482913", machine.run_as_user("kavrinctl defaults read"))

    def the_application_answers(self, machine):
        with self.subTest("application"):
            answer = machine.run_as_user(FUNCTIONS + "kavrin & get $!; kill $!; wait $!")
            self.assertTrue(answer.startswith("HTTP/1.1 200 OK"), answer)

    def speech_becomes_text(self, machine):
        with self.subTest("speech"):
            shutil.copy(CLIP, machine.folder / "home" / "ada" / "clip.wav")
            text = machine.run_as_user(FUNCTIONS + """
                kavrin-stt --port 0 >address &
                kavrinctl set provider custom
                kavrinctl set customURL "$(first_line address $!)"
                kavrinctl transcribe clip.wav
                kill $!; wait $!
            """)
            self.assertEqual(text.strip(), SPOKEN)


if __name__ == "__main__":
    unittest.main(verbosity=2)
