# SPDX-License-Identifier: MIT
"""The file that explains what no test can notice: for each source its functions, the number of changes where there are
several, and the reason. What begins with "#" is a comment.

    KavriniOS/store/Prefs.cpp
    twoDecimals (2): no number has more than 313 characters
    toInteger: the nearest double is the same number
"""

import collections
import re

EXPLANATION = re.compile(r"([\w:~]+)(?: \((\d+)\))?: .+")


def read(path):
    """How many changes are explained, by (file, function)."""
    counts, name = collections.Counter(), None
    for line in filter(None, path.read_text(encoding="utf-8").splitlines()):
        found = EXPLANATION.fullmatch(line)
        if found:
            counts[name, found[1]] += int(found[2] or 1)
        elif line.endswith(".cpp"):
            name = line
        elif not line.startswith("#"):
            raise SystemExit(f"{path}: this is neither a file nor a function with a reason: {line}")
    return counts
