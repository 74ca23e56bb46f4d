# SPDX-License-Identifier: MIT
"""How the measurements print many values as two figures."""

import statistics


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


def two(values, unit="ms"):
    """Median and 95th percentile; those of less than ten with a digit more."""
    figures = (statistics.median(values), percentile(values, 0.95))
    return ", ".join(f"{figure:.{2 if figure < 10 else 1}f}" for figure in figures) + f" {unit}"
