# SPDX-License-Identifier: MIT
"""What the measurements have in common: processor time, and how they print many values as two figures."""

import os
import pathlib
import statistics


def processor_seconds(pid):
    """What all threads of the process have used."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


def two(values, unit="ms"):
    """Median and 95th percentile; those of less than ten with a digit more."""
    figures = (statistics.median(values), percentile(values, 0.95))
    return ", ".join(f"{figure:.{2 if figure < 10 else 1}f}" for figure in figures) + f" {unit}"
