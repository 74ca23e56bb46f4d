# SPDX-License-Identifier: MIT
"""Measures what Kavrin costs while it waits for a command, beside a process that only sleeps as often."""

import pathlib
import time

from figures import processor_seconds
from support.private_session import PrivateSession
from table import Row, at_most

OPTIONS = {"seconds": (600, 5, "how long to watch")}
SLEEPER = "import time\nwhile True: time.sleep(0.12)"


def wake_ups(pid):
    """Voluntary context switches of all threads."""
    total = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text(encoding="ascii").splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                total += int(line.split()[1])
    return total


def written_bytes(pid):
    with open(f"/proc/{pid}/io", encoding="ascii") as counters:
        return next(int(line.split()[1]) for line in counters if line.startswith("write_bytes"))


def counters(process):
    return processor_seconds(process.pid), wake_ups(process.pid), written_bytes(process.pid)


def measure(options):
    with PrivateSession(sound=False) as session:
        processes = (session.start_kavrin(), session.start("/usr/bin/python3", "-c", SLEEPER))
        time.sleep(2)
        begun = time.monotonic()
        before = [counters(process) for process in processes]
        time.sleep(options.seconds)
        seconds = time.monotonic() - begun
        ours, sleepers = ([(after - start) / seconds for after, start in zip(counters(process), starts)]
                          for process, starts in zip(processes, before))
    waiting = f"Waiting for a command, {options.seconds} s"
    sleeper = "a process that sleeps as often"
    return [
        Row(f"{waiting}: share of a core", "%", (100 * ours[0],), ((sleeper, (100 * sleepers[0],)),), (at_most(0.3),),
            telling="While it waits for a command, it takes {} of one processor core."),
        Row(f"{waiting}: wake-ups a second", "", (ours[1],), ((sleeper, (sleepers[1],)),), (at_most(10),),
            note="Voluntary context switches of all threads."),
        Row(f"{waiting}: written to the disk an hour", "MB", (ours[2] * 3600 / 1e6,),
            ((sleeper, (sleepers[2] * 3600 / 1e6,)),), (at_most(4),), note="write_bytes of /proc/PID/io.",
            missed="What other programs write meanwhile has the kernel write half-filled pages earlier, and so more "
                   "often: 3.3 to 3.8 MB on a machine that does nothing else, 4.1 MB while it compiles. Kept of what "
                   "was tried: pages of 512 bytes, the heartbeat written in one piece, no temporary table."),
    ]
