# SPDX-License-Identifier: MIT
"""A copy of the tree, a build of it, and the tests that are run on it."""

import concurrent.futures
import contextlib
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build-mutation"
SOURCE = FOLDER / "source"
BUILD = FOLDER / "build"

# With assertions, because a mutant may read what is not there: an empty optional, or beyond an end.
FLAGS = "-O0 -w -D_GLIBCXX_ASSERTIONS -DQT_FORCE_ASSERTS"
PROGRAMS = ("kavrin", "kavrinctl", "kavrin-stt", "kavrin-typist")
GIB = 1024 ** 3


def copy_tree():
    """Makes SOURCE what git knows of the checkout, without touching what has not changed."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        here, there = ROOT / name, SOURCE / name
        if here.is_file() and not (there.is_file() and there.read_bytes() == here.read_bytes()):
            there.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(here, there)


def configure():
    linker = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
    subprocess.run(["cmake", "-S", SOURCE, "-B", BUILD, "-G", "Ninja", "-Wno-dev", "--log-level=WARNING",
                    "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={FLAGS}", f"-DCMAKE_EXE_LINKER_FLAGS={linker}",
                    f"-DCMAKE_MODULE_LINKER_FLAGS={linker}", "-DKAVRIN_TESTS=ON", "-DKAVRIN_BENCHMARKS=OFF"],
                   check=True, stdout=subprocess.DEVNULL)


def build(targets):
    """Whether the targets could be built; what the compiler says is left in a file."""
    with open(FOLDER / "build.log", "wb") as log:
        return subprocess.run(["ninja", "-C", BUILD, *targets], stdout=log, check=False).returncode == 0


class Test:
    """One test in a process, a session and a temporary folder of its own."""

    def __init__(self, name, command, environment=None):
        self.name = name
        self._command = command
        self._environment = environment or {}
        self._limit = 300.0

    def measure(self, runs_at_once):
        """Runs it on the unchanged program, which says how long it may take later; whether it succeeds."""
        start = time.monotonic()
        succeeded = self.succeeds(threading.Event())
        self._limit = 10 + 4 * runs_at_once * (time.monotonic() - start)
        return succeeded

    def succeeds(self, given_up):
        """Whether it succeeds within its time; once `given_up` is set, it is ended and counts as having done so."""
        with tempfile.TemporaryDirectory(prefix="mutant-", ignore_cleanup_errors=True) as folder:
            process = subprocess.Popen(self._command, cwd=SOURCE, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=_limit_resources,
                                       env={**os.environ, **self._environment, "TMPDIR": folder})
            end = time.monotonic() + self._limit
            try:
                while process.poll() is None and time.monotonic() < end and not given_up.is_set():
                    with contextlib.suppress(subprocess.TimeoutExpired):
                        process.wait(0.05)
                return process.poll() == 0 or (process.poll() is None and given_up.is_set())
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()


def _limit_resources():
    """A changed program may ask for memory for ever."""
    resource.setrlimit(resource.RLIMIT_DATA, (4 * GIB, 4 * GIB))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def unit_tests(program):
    """Every test of a GoogleTest program."""
    path = BUILD / "tests-bin" / program
    lines = subprocess.run([path, "--gtest_list_tests"], check=True, capture_output=True, text=True).stdout
    names, suite = [], ""
    for line in lines.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith(" "):
            names.append(suite + word)
        elif word.endswith("."):
            suite = word
    return [Test(f"{program}: {name}", [path, f"--gtest_filter={name}"]) for name in names]


def end_to_end_test(script):
    environment = {"KAVRIN_BIN_DIR": str(BUILD / "bin"), "PYTHONPATH": str(SOURCE / "tests")}
    return Test(script, [sys.executable, "-B", SOURCE / "tests" / "e2e" / script, "--failfast"], environment)


class Stage:
    """Tests that are run together, those first that found the most recent mutants."""

    def __init__(self, targets, tests, at_once):
        self.targets = targets
        self._tests = tests
        self._at_once = at_once

    def failing_unchanged(self):
        """The names of the tests that fail although nothing is changed."""
        with concurrent.futures.ThreadPoolExecutor(self._at_once) as pool:
            results = list(pool.map(lambda test: test.measure(self._at_once), self._tests))
        return [test.name for test, succeeded in zip(self._tests, results) if not succeeded]

    def first_failure(self):
        """The name of the first test that fails, or none."""
        given_up = threading.Event()
        failed = []

        def run(test):
            if not given_up.is_set() and not test.succeeds(given_up):
                failed.append(test)
                given_up.set()

        with concurrent.futures.ThreadPoolExecutor(self._at_once) as pool:
            list(pool.map(run, list(self._tests)))
        if not failed:
            return None
        self._tests.remove(failed[0])
        self._tests.insert(0, failed[0])
        return failed[0].name
