# SPDX-License-Identifier: MIT
"""What Kavrin costs while it waits for a command, beside a process that only sleeps as often."""

import argparse
import pathlib
import platform
import sys
import time

from figures import processor_seconds

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests"))
from support.private_session import PrivateSession, enter_private_namespaces  # noqa: E402

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


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=int, default=60, help="how long to watch (60)")
    options = parser.parse_args()
    enter_private_namespaces()
    with PrivateSession(sound=False) as session:
        processes = {"kavrin": session.start_kavrin(), "sleeper": session.start(sys.executable, "-c", SLEEPER)}
        time.sleep(2)
        before = {name: (processor_seconds(p.pid), wake_ups(p.pid), written_bytes(p.pid))
                  for name, p in processes.items()}
        time.sleep(options.seconds)
        print(f"Waiting for a command on {platform.node()}, {options.seconds} s, {time.strftime('%Y-%m-%d')}")
        print(f"  {'':<10} {'one core':>10} {'wake-ups/s':>12} {'written/h (write_bytes)':>26}")
        for name, process in processes.items():
            processor, woken, written = (after - start for after, start in zip(
                (processor_seconds(process.pid), wake_ups(process.pid), written_bytes(process.pid)), before[name]))
            print(f"  {name:<10} {100 * processor / options.seconds:>8.2f} % {woken / options.seconds:>12.1f} "
                  f"{written * 3600 / options.seconds / 1e6:>23.2f} MB")


if __name__ == "__main__":
    main()
