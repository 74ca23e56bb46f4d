# SPDX-License-Identifier: MIT
"""Says how test runs ended: which tests failed or were skipped and why, and a last line with all counts.

Reads what `ctest --output-junit` wrote. A script of several tests counts by its tests. Of two files in one folder the
later is the second try of what failed in the first: a test that passed only then is unsteady.
"""

import collections
import pathlib
import re
import sys
import xml.etree.ElementTree

# What unittest says of a test, and of all.
_SKIPPED = re.compile(r"^(\w+) \([\w.]+\).*?skipped (['\"])(.*)\2$", re.MULTILINE)
_FAILED = re.compile(r"^(?:FAIL|ERROR): (\w+) \(", re.MULTILINE)
_RAN = re.compile(r"^Ran (\d+) tests? in ", re.MULTILINE)
# What GoogleTest says of a test that is skipped.
_REASON = re.compile(r": Skipped\n(.*?)\s*\n\[", re.DOTALL)


def of_script(name, said):
    """The outcomes of the tests of a script: (outcome, name, reason)."""
    skipped = [("skipped", f"{name}: {test}", reason) for test, _, reason in _SKIPPED.findall(said)]
    failed = [("failed", f"{name}: {test}", "") for test in dict.fromkeys(_FAILED.findall(said))]
    ran = sum(map(int, _RAN.findall(said)))
    return skipped + failed + [("passed", name, "")] * (ran - len(skipped) - len(failed))


def outcomes(case):
    """The outcomes of what one entry of ctest's runs."""
    name, status, said = case.get("name"), case.get("status"), case.findtext("system-out") or ""
    ended = of_script(name, said) if _RAN.search(said) else []
    if ended and (status == "run" or any(outcome == "failed" for outcome, *_ in ended)):
        return ended
    if status == "run":
        return [("passed", name, "")]
    if status == "fail":
        return [("failed", name, "")]
    reason = _REASON.search(said)
    return [("skipped", name, reason[1] if reason else status)]


def of_both_tries(first, second):
    """The outcomes of an entry that failed and was tried again."""
    if any(outcome == "failed" for outcome, *_ in second):
        return second
    return [("unsteady" if outcome == "failed" else outcome, *rest) for outcome, *rest in first]


def all_outcomes(paths):
    """The outcomes of all entries of the files, once for each folder."""
    ended = {}
    for path in map(pathlib.Path, paths):
        for case in xml.etree.ElementTree.parse(path).getroot().iter("testcase"):
            key, now = (path.parent, case.get("name")), outcomes(case)
            ended[key] = of_both_tries(ended[key], now) if key in ended else now
    return [outcome for of_entry in ended.values() for outcome in of_entry]


def main():
    ended = all_outcomes(sys.argv[1:])
    for outcome, name, reason in ended:
        if outcome != "passed":
            print(f"{outcome}: {name}" + (f": {reason}" if reason else ""))
    counts = collections.Counter(outcome for outcome, *_ in ended)
    said = ["passed", "failed", "skipped"] + ["unsteady"] * ("unsteady" in counts)
    print(", ".join(f"{counts[outcome]} {outcome}" for outcome in said))


if __name__ == "__main__":
    main()
