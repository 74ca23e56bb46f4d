# SPDX-License-Identifier: MIT
"""How soon Kavrin's window shows its first frame, and the memory it takes before any recording, beside an empty window
of Qt Quick Controls.

The two are started in turn, each alone, after one start that is not counted; Qt itself tells when a frame is there.
"""

import argparse
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import time

from figures import two

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests"))
from support.private_session import Failure, PrivateSession, enter_private_namespaces, wait_until  # noqa: E402

GOAL = 1.5
PLATFORMS = {"offscreen": False, "in a window of Xvfb": True}
# The monotonic clock before each message; of its milliseconds Qt prints the low 32 bits.
MESSAGES = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop=true", "QT_MESSAGE_PATTERN": "%{time boot} %{message}"}
FRAME = re.compile(r"^ *(\d+)\.(\d{3}) .*frame rendered", re.IGNORECASE | re.MULTILINE)


def first_frame(process, messages, begun):
    """Milliseconds from `begun`, in nanoseconds of the monotonic clock, to the first frame."""

    def rendered():
        if process.poll() is not None:
            raise Failure(f"{process.args[0]} ended with code {process.returncode} before its first frame")
        return FRAME.search(messages.read_text(encoding="utf-8"))

    seconds, milliseconds = wait_until(rendered, f"{process.args[0]} shows a frame", interval=0.1).groups()
    return (int(seconds) * 1000 + int(milliseconds) - begun / 1e6) % 2**32


def megabytes(pid):
    """Resident memory, whole and with what is shared divided among those who share it."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as rollup:
        kilobytes = {name: int(rest.split()[0]) for name, rest in (line.split(":", 1) for line in list(rollup)[1:])}
    return kilobytes["Rss"] / 1024, kilobytes["Pss"] / 1024


def start_once(session, program, idle):
    """The milliseconds to the first frame, and the megabytes after `idle` seconds more."""
    messages = session.folder / "messages"
    with messages.open("w", encoding="utf-8") as output:
        begun = time.monotonic_ns()
        process = session.start(program, stdout=output, stderr=subprocess.STDOUT)
    frame = first_frame(process, messages, begun)
    time.sleep(idle)
    memory = megabytes(process.pid)
    process.terminate()
    process.wait()
    return frame, *memory


def measure(programs, display, options):
    """For each program its starts: (milliseconds, resident, shared out)."""
    starts = {name: [] for name in programs}
    with PrivateSession(display=display, sound=False) as session:
        session.env.update(MESSAGES)
        for program in programs.values():
            start_once(session, program, 0)
        for _ in range(options.rounds):
            for name, program in programs.items():
                starts[name].append(start_once(session, program, options.idle))
    return starts


def print_table(starts, platform_name):
    """One row a figure, and what it may be at most as a multiple of the empty window's."""
    kavrin, empty = (list(zip(*runs)) for runs in starts.values())
    rows = [("first frame", "ms", GOAL), ("resident memory (Rss)", "MB", GOAL), ("shared out (Pss)", "MB", None)]
    for (what, unit, goal), ours, theirs in zip(rows, kavrin, empty):
        ratio = statistics.median(ours) / statistics.median(theirs)
        print(f"  {platform_name + ': ' + what:<44} {two(ours, unit):>18} {two(theirs, unit):>18} {ratio:>7.2f}   "
              f"{'at most ' + str(goal) if goal else ''}".rstrip())


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--rounds", type=int, default=15, help="starts of each program (15)")
    parser.add_argument("--idle", type=float, default=3, help="seconds from the first frame to the weighing (3)")
    options = parser.parse_args()
    enter_private_namespaces()
    bin_dir = PrivateSession().bin
    programs = {"kavrin": bin_dir / "kavrin", "empty window": bin_dir.with_name("tests-bin") / "empty_window"}

    print(f"Start on {platform.node()}, {time.strftime('%Y-%m-%d')} (two figures: median, 95th percentile)")
    print(f"  {'':<44} {'kavrin':>18} {'empty window':>18} {'ratio':>7}   goal")
    for name, display in PLATFORMS.items():
        print_table(measure(programs, display, options), name)


if __name__ == "__main__":
    try:
        main()
    except (Failure, TimeoutError) as error:
        sys.exit(str(error))
