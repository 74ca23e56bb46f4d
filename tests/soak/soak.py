# SPDX-License-Identifier: MIT
"""Uses Kavrin for a while in a session of its own, and lets everything around it fail at random.

One dictation follows the other, over every channel. Meanwhile speech services refuse, hang, trickle and answer rubbish,
microphone and sound server go, hang and come back, the disk is full, the suite is locked, the machine sleeps, tray and
notifications come and go, and the user cancels. Other programs write settings and ask the loopback server, and
keyboards are killed in the middle of writing. After every fault the next dictation must succeed. At the end a table
tells whether every dictation was delivered, reported or cancelled, whether every write that returned is there, and
whether Kavrin holds as much of the machine as after the first rounds. The exit code is 1 where something is wrong.
"""

import argparse
import contextlib
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import time
from collections import Counter

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests"))
sys.dont_write_bytecode = True

from actors import ACTORS, Actor  # noqa: E402
from dictations import KEY, Dictations, Lost  # noqa: E402
from faults import BEFORE, Fault  # noqa: E402
from figures import figures_of  # noqa: E402
from machine import Machine  # noqa: E402
from support.private_session import (  # noqa: E402
    Failure, PrivateSession, Suite, enter_private_namespaces, wait_until)
from troubles import Disk, Troubles  # noqa: E402

TARGETS = ["kavrin", "kavrinctl", "kavrin-stt", "kavrin_curl", "kavrin_libav"]
MEMORY_LIMIT = 4  # MiB that may have come to the memory after the first rounds
SANITIZED_MEMORY_LIMIT = 64  # the same with AddressSanitizer, which remembers where memory came from
LOST_LIMIT = 5  # dictations, after which there is no use in going on
CALM_LIMIT = 90  # seconds until what was opened for a moment must be closed
SECRETS = (KEY, "These are the words", "Hazel Bank")  # what no log may hold
WAKES = Fault("sleep", BEFORE, Machine.sleep)


class Verdicts:
    """The lines of the table."""

    def __init__(self):
        self._lines = []
        self.is_good = True

    def add(self, what, figure, limit="", good=None):
        self._lines.append((what, str(figure), limit, {True: "good", False: "WRONG", None: ""}[good]))
        self.is_good = self.is_good and good is not False

    def print(self):
        widths = [max(len(line[column]) for line in self._lines) for column in range(3)]
        for line in self._lines:
            print("  ".join([*(text.ljust(width) for text, width in zip(line, widths)), line[3]]).rstrip())


class Soak:
    def __init__(self, session, disk, options):
        self._session = session
        self._disk = disk
        self._options = options
        self._chance = random.Random(options.seed)
        self._problems = []
        self._counts = Counter()
        self._stored = {}
        self._log = session.folder / "log"
        # Whole stacks, because the list of leaks that are not ours goes by them.
        session.env["ASAN_OPTIONS"] = "quarantine_size_mb=1:fast_unwind_on_malloc=0"
        session.env["LSAN_OPTIONS"] = f"print_suppressions=0:suppressions={ROOT}/tests/soak/leaks.txt"

    def run(self):
        """Returns the verdicts."""
        self._path = json.loads(self._session.ctl("where", "--json"))["suite"]
        self._troubles = Troubles(self._session, self._path, self._disk)
        self._machine = Machine(self._session, self._troubles, self._chance)
        with self._log.open("w", encoding="utf-8") as log:
            self._machine.start_kavrin(log)
        self._dictations = Dictations(self._machine, self._chance, not self._disk.refusal)
        with self._actors("first"):
            for kind in self._dictations.kinds():
                self._round(kind)
        first = self._figures()
        self._begin = self._last_note = time.monotonic()
        with self._actors("then"):
            while self._elapsed() < 60 * self._options.minutes and self._dictations.outcomes["lost"] < LOST_LIMIT:
                self._round(self._dictations.any_kind())
                self._tell_each_minute()
        last = self._figures(first)
        return self._verdicts(first, last, self._end_kavrin())

    # Rounds

    @contextlib.contextmanager
    def _actors(self, phase):
        """Others are at work meanwhile."""
        actors = [Actor(work, self._session, self._troubles, f"{self._options.seed} {phase}") for work in ACTORS]
        yield
        for actor in actors:
            report = actor.end()
            self._counts += report.counts
            self._stored |= report.stored
            for problem in report.problems:
                self._note(f"{actor.name}: {problem}")

    def _round(self, kind):
        self._expect_life()
        try:
            self._dictations.dictate(*kind)
        except Lost as lost:
            self._expect_life()
            self._dictations.outcomes["lost"] += 1
            self._note(str(lost))
            self._dictations.recover()
        if self._chance.random() < 0.3:
            self._dictations.save_code()

    def _expect_life(self):
        if self._machine.kavrin.poll() is not None:
            raise Failure(f"kavrin has ended with code {self._machine.kavrin.returncode}: {self._said()[-5000:]}")

    def _elapsed(self):
        return time.monotonic() - self._begin

    def _tell_each_minute(self):
        if time.monotonic() > self._last_note + 60:
            self._last_note = time.monotonic()
            print(f"{self._elapsed() / 60:.0f} min: {self._outcomes()}", flush=True)

    def _outcomes(self):
        return ", ".join(f"{count} {outcome}" for outcome, count in sorted(self._dictations.outcomes.items()))

    def _note(self, problem):
        self._problems.append(problem)
        print(f"wrong: {problem}", flush=True)

    def _said(self):
        return self._log.read_text(encoding="utf-8", errors="replace")

    # Figures

    def _figures(self, earlier=None):
        """At rest and in the same circumstances each time: awake again, after a dictation, nobody asking. What was
        opened for a moment is waited for; with earlier figures until there is no more than there was."""
        self._round(("suite", "answers", WAKES))
        figures = Settled(self._machine.kavrin)
        with contextlib.suppress(TimeoutError):
            wait_until(lambda: figures.are_settled(earlier), "rest", CALM_LIMIT, interval=1)
        return figures.last

    def _end_kavrin(self):
        self._machine.kavrin.send_signal(signal.SIGTERM)
        try:
            return self._machine.kavrin.wait(60)
        except subprocess.TimeoutExpired:
            return "none: it does not end"

    def _missing(self):
        """The keys that do not hold what was written to them last."""
        suite = Suite(self._path)
        stored = self._stored | self._dictations.stored
        return [f"{key}: {value!r} was written last, and it is {suite.get(key)!r}"
                for key, value in sorted(stored.items()) if suite.get(key) != value]

    # Verdicts

    def _verdicts(self, first, last, exit_code):
        for missing in self._missing():
            self._note(missing)
        outcomes = self._dictations.outcomes
        counts = self._counts + self._dictations.counts
        said = self._said()
        verdicts = Verdicts()
        verdicts.add("dictations", outcomes.total())
        verdicts.add("  delivered", outcomes["delivered"])
        verdicts.add("  reported as failed", outcomes["reported"])
        verdicts.add("  cancelled", outcomes["cancelled"])
        verdicts.add("  neither", outcomes["lost"], "0", outcomes["lost"] == 0)
        for name in sorted(self._dictations.counts):
            verdicts.add(f"  {name}", counts[name])
        verdicts.add("writes that returned", counts["writes"])
        verdicts.add("  by kavrinctl", counts["kavrinctl"])
        verdicts.add("  refused while the suite took nothing", counts["writes refused"])
        verdicts.add("keyboards killed", counts["killed"])
        verdicts.add("requests", counts["requests"])
        verdicts.add("transcripts read by another program", counts["transcripts read"])
        verdicts.add("recordings seen at the sound server", counts["recordings seen"])
        if self._disk.refusal:
            verdicts.add("disk full", "skipped", self._disk.refusal)
        verdicts.add("problems, as told above", len(self._problems), "0", not self._problems)
        verdicts.add("descriptors", f"{first.descriptors} -> {last.descriptors}", "no more",
                     last.descriptors <= first.descriptors)
        verdicts.add("threads", f"{first.threads} -> {last.threads}", "no more", last.threads <= first.threads)
        limit = SANITIZED_MEMORY_LIMIT if last.is_sanitized else MEMORY_LIMIT
        for name, before, after in (("memory: heap and stacks", first.anonymous, last.anonymous),
                                    ("memory: all that is present (RSS)", first.rss, last.rss)):
            verdicts.add(name, f"{before:.1f} -> {after:.1f} MiB", f"+{limit} MiB", after <= before + limit)
        verdicts.add("memory: its share (PSS)", f"{first.pss:.1f} -> {last.pss:.1f} MiB")
        verdicts.add("exit code", exit_code, "0", exit_code == 0)
        foreign = [line for line in said.splitlines() if not line.startswith("kavrin.")]
        verdicts.add("lines on standard error besides the log's", len(foreign), "0", not foreign)
        secrets = [secret for secret in SECRETS if secret in said]
        verdicts.add("secrets in the log", len(secrets), "0", not secrets)
        if foreign:
            print("\n".join(foreign))
        return verdicts


class Settled:
    """Figures that have stayed the same for a while."""

    _TIMES = 5

    def __init__(self, process):
        self._process = process
        self._same = 0
        self.last = figures_of(process)

    def are_settled(self, earlier):
        figures = figures_of(self._process)
        now, before = ((one.descriptors, one.threads) for one in (figures, self.last))
        self._same = self._same + 1 if now == before else 0
        self.last = figures
        is_low = not earlier or (figures.descriptors <= earlier.descriptors and figures.threads <= earlier.threads)
        return is_low and self._same >= self._TIMES


def parse_options():
    parser = argparse.ArgumentParser(prog="scripts/soak", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("minutes", metavar="MINUTES", nargs="?", type=float, default=10,
                        help="how long, after the first rounds of every kind (10)")
    parser.add_argument("--preset", choices=("release", "dev", "asan"), default="release",
                        help="what to build and use (release); with KAVRIN_BIN_DIR set, the programs there are used")
    parser.add_argument("--seed", type=int, default=random.randrange(1_000_000),
                        help="the same seed gives the same rounds in the same order")
    return parser.parse_args()


def programs(preset):
    """The folder of the programs; builds them where need be."""
    if "KAVRIN_BIN_DIR" in os.environ:
        return os.environ["KAVRIN_BIN_DIR"]
    subprocess.run([ROOT / "scripts/build", preset, *TARGETS], check=True, stdout=sys.stderr)
    return ROOT / ("build" if preset == "release" else f"build-{preset}") / "bin"


def main():
    options = parse_options()
    os.environ["KAVRIN_BIN_DIR"] = str(programs(options.preset))
    if "--seed" not in sys.argv:
        sys.argv += ["--seed", str(options.seed)]  # the same after the script has begun again
    enter_private_namespaces()
    print(f"seed {options.seed}, {options.minutes:g} min, {os.environ['KAVRIN_BIN_DIR']}", flush=True)
    with PrivateSession(display=True) as session, Disk(session) as disk:
        verdicts = Soak(session, disk, options).run()
    verdicts.print()
    sys.exit(0 if verdicts.is_good else 1)


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
    except (Failure, OSError, TimeoutError) as failure:
        sys.exit(f"soak: {failure}")
