# SPDX-License-Identifier: MIT
"""Shared by the measurements: programs that measure themselves, processor time, percentiles."""

import json
import os
import pathlib
import statistics


def google_benchmark(session, program, repetitions):
    """The median of each benchmark by its name: {"real_time": nanoseconds, counter: value}."""
    output = session.run(session.bin.with_name("tests-bin") / program, "--benchmark_format=json",
                         f"--benchmark_repetitions={repetitions}", "--benchmark_report_aggregates_only").stdout
    return {result["run_name"].split("/")[0]: result for result in json.loads(output)["benchmarks"]
            if result["aggregate_name"] == "median"}


def processor_seconds(pid):
    """The processor time that all threads of the process have used."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


MEDIAN_AND_95 = ("median", "95 %")
MEDIAN_AND_99 = ("median", "99 %")


def median_and_95(values):
    return statistics.median(values), percentile(values, 0.95)


def median_and_99(values):
    return statistics.median(values), percentile(values, 0.99)
