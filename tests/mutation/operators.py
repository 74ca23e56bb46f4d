# SPDX-License-Identifier: MIT
"""What is changed in a C++ source, one thing at a time: Mutant objects from its text.

Only the layout of clang-format is understood: a comparison has a blank on both sides, the bracket of a template has
not.
"""

import re
from dataclasses import dataclass

from functions import function_of

TOKEN = re.compile(r"""
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#[^\n]*)
  | (?P<raw>(?:u8|u|U|L)?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"\w*)
  | (?P<string>(?:u8|u|U|L)?"(?:\\.|[^"\\])*"\w*)
  | (?P<character>(?:u8|u|U|L)?'(?:\\.|[^'\\])+')
  | (?P<number>\d(?:[\w.]|'\d)*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<space>\s+)
  | (?P<operator><=>|<<=|>>=|\|\||&&|->|\+\+|--|<<|>>|<=|>=|==|!=|\+=|-=|\*=|/=|::|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

SPACED_OPERATORS = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "&&": ("||",), "||": ("&&",), "|": ("&",), "+": ("-",), "-": ("+",), "/": ("*",), "%": ("*",),
    "+=": ("-=",), "-=": ("+=",), "?": ("&& false ?", "|| true ?"),
}
OPERATORS = {"++": ("--",), "--": ("++",)}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min", "any_of": "all_of", "all_of": "any_of"}

# What may begin a statement that can be left out whole.
REMOVABLE = {"throw", "delete", "co_await", "Q_EMIT"}
UNREMOVABLE = {"return", "co_return", "if", "else", "for", "while", "do", "switch", "case", "default", "break", "using",
               "namespace", "class", "struct", "enum", "template", "static", "constexpr", "const", "auto", "try",
               "static_assert", "public", "private"}
# Nobody waits for what is logged.
LOGGING = re.compile(r"qC(Debug|Info|Warning|Critical)$")
CLOSING = {"(": ")", "[": "]", "{": "}"}
COMPARISON = re.compile(r" (==|!=|<|>|<=|>=) ")
CONNECTION = re.compile(r" (&&|\|\|) ")


@dataclass(frozen=True)
class Mutant:
    original: str  # the lines that change, as one, without the blanks round them
    mutated: str  # what they become
    occurrence: int  # which of those that read the same in this file; the first is 1
    line: int
    function: str  # that has the line
    text: str  # the whole file, changed


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


def mutants_of(source):
    """All mutants of a source text, in its order."""
    counts = {}
    mutants = []
    for start, end, replacement in sorted(set(_changes(source))):
        first = source.rfind("\n", 0, start) + 1
        last = source.find("\n", end)
        original = _one_line(source[first:last])
        mutated = _one_line(source[first:start] + replacement + source[end:last])
        counts[original, mutated] = counts.get((original, mutated), 0) + 1
        line = source.count("\n", 0, start) + 1
        mutants.append(Mutant(original, mutated, counts[original, mutated], line, function_of(source, line),
                              source[:start] + replacement + source[end:]))
    return mutants


def _one_line(text):
    return " ".join(text.split())


def _changes(source):
    """(start, end, replacement) of each change."""
    tokens = [Token(match.lastgroup if match.lastgroup != "mark" else "raw", match.group(), match.start(), match.end())
              for match in TOKEN.finditer(source)]
    code = [token for token in tokens if token.kind not in ("comment", "directive", "space")]
    logged = _logged(code)
    for index, token in enumerate(code):
        if index in logged:
            continue
        yield from ((token.start, token.end, text) for text in _replacements(source, token))
        if token.text in ("if", "while") and code[index + 1].text == "(":
            yield from _negated(source, code, index + 1)
        if token.text in ("return", "co_return"):
            yield from _other_result(source, code, index)
        if _begins_statement(code, index):
            yield from _left_out(source, code, index)


def _logged(code):
    """The indexes of the tokens of statements that log."""
    indexes = set()
    for index, token in enumerate(code):
        if LOGGING.match(token.text):
            indexes.update(range(index, _end_of_braced_statement(code, index)))
    return indexes


def _replacements(source, token):
    if token.kind == "operator":
        is_spaced = source[token.start - 1].isspace() and source[token.end].isspace()
        return SPACED_OPERATORS.get(token.text, ()) if is_spaced else OPERATORS.get(token.text, ())
    if token.kind == "word":
        return [WORDS[token.text]] if token.text in WORDS else []
    if token.kind == "number":
        return _other_numbers(token.text)
    if token.kind in ("string", "raw"):
        content = token.text.index('(' if token.kind == "raw" else '"') + 1
        return [token.text[:content] + "|" + token.text[content:]]
    if token.kind == "character":
        return _other_characters(token.text)
    return []


def _other_numbers(text):
    whole = re.fullmatch(r"(0x[0-9a-fA-F]+|\d+)(\D*)", text)
    if whole:
        value = int(whole[1], 8 if re.fullmatch(r"0\d+", whole[1]) else 0)
        return [f"{other}{whole[2]}" for other in (value + 1, value - 1) if other >= 0]
    broken = re.fullmatch(r"(\d+)(\.\d+\D*)", text)
    return [f"{int(broken[1]) + 1}{broken[2]}"] if broken else []


def _other_characters(text):
    plain = re.fullmatch(r"(\w*')([^'\\])'", text)
    return [f"{plain[1]}{chr(ord(plain[2]) + 1)}'"] if plain and plain[2] != "&" else []


def _closing(code, opening):
    """The index of the bracket that closes the one at `opening`."""
    depth = 0
    for index in range(opening, len(code)):
        if code[index].text in CLOSING:
            depth += 1
        elif code[index].text in CLOSING.values():
            depth -= 1
            if depth == 0:
                return index
    raise ValueError("a bracket is not closed")


def _negated(source, code, opening):
    start, end = code[opening].end, code[_closing(code, opening)].start
    condition = source[start:end]
    declared = re.match(r"(?:const )?[\w:<>, ]+?[ *&]+(?:const )?(\w+) = ", condition)
    if declared:
        yield end, end, f"; !{declared[1]}"
    elif not _is_lone_comparison(condition):
        yield start, end, f"!({condition})"


def _is_lone_comparison(expression):
    """Its opposite is among the replacements of operators already."""
    return len(COMPARISON.findall(expression)) == 1 and not CONNECTION.search(expression)


def _end_of_statement(code, index):
    """The index of the semicolon that ends the statement which begins at `index`; none where it is a value or has a
    body."""
    while index < len(code):
        text = code[index].text
        if text == ";":
            return index
        if text == "{" or text in CLOSING.values():
            return None
        index = _closing(code, index) + 1 if text in CLOSING else index + 1
    return None


def _other_result(source, code, index):
    first = code[index + 1]
    end = _end_of_braced_statement(code, index)
    value = source[first.start:code[end].start]
    if first.text == ";" or value in ("{}", "std::nullopt", "nullptr", "true", "false", "0"):
        return
    yield first.start, code[end].start, "{}"
    if CONNECTION.search(value) and "?" not in value:
        yield first.start, code[end].start, f"!({value})"


def _end_of_braced_statement(code, index):
    """As _end_of_statement(), where braces are those of a value."""
    while code[index].text != ";":
        index = _closing(code, index) + 1 if code[index].text in CLOSING else index + 1
    return index


def _begins_statement(code, index):
    token = code[index]
    if index == 0 or code[index - 1].text not in (";", "{", "}") or _is_in_head_of_for(code, index):
        return False
    if token.text in REMOVABLE or token.text in ("++", "--"):
        return True
    if token.text in ("return", "co_return"):
        return code[index + 1].text == ";"
    return token.kind == "word" and token.text not in UNREMOVABLE and _is_call_or_assignment(code, index)


def _is_in_head_of_for(code, index):
    depth = 0
    for earlier in range(index - 1, -1, -1):
        text = code[earlier].text
        if text in ("{", "}"):
            return False
        if text == ")":
            depth += 1
        if text == "(":
            depth -= 1
            if depth < 0:
                return True
    return False


def _is_call_or_assignment(code, index):
    while code[index + 1].text in ("::", ".", "->") and code[index + 2].kind == "word":
        index += 2
    return code[index + 1].text in ("(", "=", "+=", "-=")


def _left_out(source, code, index):
    end = _end_of_statement(code, index)
    if end is not None:
        yield code[index].start, code[end].start, ""
