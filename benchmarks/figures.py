# SPDX-License-Identifier: MIT
"""How the measurements print many values as two figures."""

import statistics


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


def two(values, unit="ms"):
    """Median and 95th percentile."""
    return f"{statistics.median(values):.1f}, {percentile(values, 0.95):.1f} {unit}"
