# SPDX-License-Identifier: MIT
"""In which function a line of a C++ source is.

Only the layout of clang-format is understood: what begins a line without a blank before it declares something, and so
does what has four blanks before it within a class.
"""

import re

SCOPE = re.compile(r"(?:class|struct|union) (\w+)")
LABEL = re.compile(r" *(?:public|protected|private|Q_\w+)\b")


def function_of(source, line):
    """The name of the function that has a line, counted from 1. What is outside functions is named after what it
    declares: "limit", or "Certificate::m_size"."""
    lines = source.split("\n")[:line + 20]
    first = _beginning(lines, line - 1, indent=0)
    scope = SCOPE.match(lines[first])
    if not scope or first == line - 1:
        return scope[1] if scope else _declared(lines[first:])
    member = _beginning(lines, line - 1, indent=4)
    return f"{scope[1]}::{_declared(lines[member:])}" if member > first else scope[1]


def _beginning(lines, index, indent):
    """The line that begins what the line at `index` belongs to, where declarations have so many blanks before them."""
    declaration = re.compile(" " * indent + r"[A-Za-z_~]")
    while index > 0 and (not declaration.match(lines[index]) or LABEL.match(lines[index])):
        index -= 1
    return index


def _declared(lines):
    """What a declaration gives a name to: what stands before the first bracket, or before "=" or ";"."""
    text, count = "\n".join(lines), 1
    while count:
        text, count = re.subn(r"<[^<>;{}]*>", "", text)
    found = re.match(r"[^=({[;]*?([\w:~]+) ?[=({[;]", text)
    return found[1] if found else ""
