# SPDX-License-Identifier: MIT
"""Measures Kavrin beside what its figures are held against, and shows one table. A figure never makes it fail."""

import argparse
import subprocess
import sys
import types

import codes
import dictation
import idle
import loopback
import pages
import speech
import start
import store
import table
import typist
from support.private_session import ROOT, Failure, enter_private_namespaces

MEASUREMENTS = {"loopback": loopback, "store": store, "codes": codes, "pages": pages, "start": start,
                "dictation": dictation, "typist": typist, "speech": speech, "idle": idle}


def read_arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("what", nargs="*", metavar="WHAT", help=f"out of {', '.join(MEASUREMENTS)}; all without")
    parser.add_argument("--write", action="store_true",
                        help="write the table into docs/performance.md and its telling lines into README.md as well")
    parser.add_argument("--quick", action="store_true", help="only see that it works: the figures mean little")
    for what, measurement in MEASUREMENTS.items():
        for name, (usual, _, text) in measurement.OPTIONS.items():
            parser.add_argument(f"--{what}-{name}", type=type(usual), metavar="N", help=f"{text} ({usual:g})")
    arguments = parser.parse_args()
    unknown = set(arguments.what) - set(MEASUREMENTS)
    if unknown:
        parser.error(f"there is no {', '.join(unknown)}; there are {', '.join(MEASUREMENTS)}")
    if arguments.write and (arguments.what or arguments.quick):
        parser.error("--write writes the whole table, well measured: neither WHAT nor --quick goes with it")
    return arguments


def options_of(what, arguments):
    """The options of a measurement: from the command line, or else its defaults."""
    options = {}
    for name, (usual, quick, _) in MEASUREMENTS[what].OPTIONS.items():
        given = getattr(arguments, f"{what}_{name}")
        options[name] = given if given is not None else quick if arguments.quick else usual
    return types.SimpleNamespace(**options)


def main():
    arguments = read_arguments()
    enter_private_namespaces()
    rows = []
    failed = False
    for what in arguments.what or MEASUREMENTS:
        print(f"Measuring {what}", file=sys.stderr, flush=True)
        try:
            rows += MEASUREMENTS[what].measure(options_of(what, arguments))
        except (Failure, OSError, subprocess.SubprocessError) as error:
            failed = True
            print(f"{what} could not be measured: {error}", file=sys.stderr)
    print(table.plain(rows))
    if arguments.write and not failed:
        table.write(rows, ROOT / "docs" / "performance.md", ROOT / "README.md")
    sys.exit(failed)


if __name__ == "__main__":
    main()
