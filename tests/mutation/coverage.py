# SPDX-License-Identifier: MIT
"""Prints what a report of gcovr (its JSON format) says: figures for each folder, and the lines of the protocol's code
that no test reaches."""

import collections
import json
import os
import sys

PROTOCOL = ("KavriniOS/store/", "KavriniOS/transcription/", "KavriniOS/loopback/",
            "KavriniOS/dictation/DictationBridge.cpp", "KavriniOS/dictation/Recorder.cpp")


def main(report):
    with open(report, encoding="utf-8") as stream:
        files = sorted(json.load(stream)["files"], key=lambda file: file["file"])
    for file in files:
        file["lines"] = [line for line in file["lines"] if not line["gcovr/noncode"]]
    counts = collections.defaultdict(collections.Counter)
    for file in files:
        counts[os.path.dirname(file["file"])].update(counts_of(file))
    counts["all"] = sum(counts.values(), collections.Counter())
    print(f"{'':40}{'lines':>24}{'branches':>24}")
    for folder, count in counts.items():
        print(f"{folder:40}{share(count, 'lines')}{share(count, 'branches')}")
    print("\nLines of the protocol's code that no test reaches:")
    for file in files:
        if file["file"].startswith(PROTOCOL):
            print_unreached(file)


def counts_of(file):
    branches = [branch for line in file["lines"] for branch in line["branches"]]
    return {"lines": len(file["lines"]), "reached lines": sum(line["count"] > 0 for line in file["lines"]),
            "branches": len(branches), "reached branches": sum(branch["count"] > 0 for branch in branches)}


def share(count, what):
    total, reached = count[what], count[f"reached {what}"]
    return f"{reached:6} of {total:6}" + (f" {100 * reached / total:5.1f} %" if total else "        ")


def print_unreached(file):
    with open(file["file"], encoding="utf-8") as stream:
        source = stream.read().splitlines()
    for line in file["lines"]:
        if line["count"] == 0:
            print(f"  {file['file']}:{line['line_number']}: {source[line['line_number'] - 1].strip()}")


if __name__ == "__main__":
    main(sys.argv[1])
