# SPDX-License-Identifier: MIT
"""What a process holds of the machine, as the kernel counts it."""

import os
import pathlib
from dataclasses import dataclass

KIB_IN_MIB = 1024


@dataclass(frozen=True)
class Figures:
    anonymous: float  # MiB that no file has: heap and stacks
    pss: float  # MiB: what is its own, and its share of what it has in common with others; changes with these
    rss: float  # MiB: all that is mapped and present
    descriptors: int
    threads: int
    is_sanitized: bool  # whether AddressSanitizer is in it


def figures_of(process):
    folder = pathlib.Path("/proc") / str(process.pid)
    memory = {}
    for line in (folder / "smaps_rollup").read_text(encoding="ascii").splitlines()[1:]:
        name, size, *_ = line.split()
        memory[name] = int(size) / KIB_IN_MIB
    return Figures(anonymous=memory["Anonymous:"], pss=memory["Pss:"], rss=memory["Rss:"],
                   descriptors=len(os.listdir(folder / "fd")),
                   threads=len(os.listdir(folder / "task")),
                   is_sanitized="libasan" in (folder / "maps").read_text(encoding="utf-8"))
