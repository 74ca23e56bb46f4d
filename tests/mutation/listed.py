# SPDX-License-Identifier: MIT
"""Files that list mutants: blocks of four lines, with an empty line between them and comments that begin with "#".

    KavriniOS/store/Prefs.cpp
    - what a line is
    + what the mutant makes of it
    = why no test can tell

Where several mutants of a file read the same, the first line says which one: "KavriniOS/store/Prefs.cpp #2".
"""

import re


def read(path):
    """The reasons, by (file, original, mutated, occurrence)."""
    text = re.sub(r"^#.*\n", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE) if path.exists() else ""
    reasons = {}
    for block in re.split(r"\n\s*\n", text):
        if block.strip():
            key, reason = _parse(block.strip("\n").split("\n"), path)
            reasons[key] = reason
    return reasons


def _parse(lines, path):
    if len(lines) != 4 or [line[:2].strip() for line in lines[1:]] != ["-", "+", "="]:
        raise SystemExit(f"{path}: this is not a block of a file and lines with -, + and =:\n" + "\n".join(lines))
    name, _, occurrence = lines[0].partition(" #")
    original, mutated, reason = (line[2:].strip() for line in lines[1:])
    return (name, original, mutated, int(occurrence or 1)), reason


def block(key, reason):
    name, original, mutated, occurrence = key
    which = f" #{occurrence}" if occurrence > 1 else ""
    return f"{name}{which}\n- {original}\n+ {mutated}\n= {reason}\n"
