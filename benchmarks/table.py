# SPDX-License-Identifier: MIT
"""The one table for all measurements: its rows, and how people and Markdown see them."""

import dataclasses
import os
import pathlib
import platform
import time


@dataclasses.dataclass(frozen=True)
class Goal:
    """A limit, at most or at least, for one figure of a row, for its ratio to the first peer's, or for its excess over
    that."""
    limit: float
    of: str = "figure"  # or "ratio", "excess"
    at_least: bool = False
    figure: int = 0

    def value(self, row):
        if self.of == "ratio":
            return row.ratios(row.peers[0])[self.figure]
        return row.ours[self.figure] - (row.peers[0][1][self.figure] if self.of == "excess" else 0)

    def is_met(self, row):
        value = self.value(row)
        return value is not None and (value >= self.limit if self.at_least else value <= self.limit)

    def text(self, row):
        which = f"{row.labels[self.figure]} " if row.labels else ""
        limit = {"figure": f"{self.limit:g} {row.unit}", "ratio": f"{self.limit:g} ×",
                 "excess": f"+{self.limit:g} {row.unit}"}[self.of]
        return f"{which}{'≥' if self.at_least else '≤'} {limit}"


def at_most(limit, figure=0):
    return Goal(limit, figure=figure)


def ratio_at_most(limit, figure=0):
    return Goal(limit, "ratio", figure=figure)


def ratio_at_least(limit, figure=0):
    return Goal(limit, "ratio", at_least=True, figure=figure)


def excess_at_most(limit, figure=0):
    return Goal(limit, "excess", figure=figure)


@dataclasses.dataclass(frozen=True)
class Row:
    """Kavrin's figures, all of one unit, beside those of its peers. A goal refers to the first peer.

    `labels` names several figures. `note` is always shown, `missed` only if a goal is not met: it says what was tried.
    `telling` is a sentence for the README, with {} for the first of Kavrin's figures.
    """
    name: str
    unit: str
    ours: tuple
    peers: tuple  # (name, figures) each
    goals: tuple = ()
    labels: tuple = ()
    note: str = ""
    missed: str = ""
    telling: str = ""

    def ratios(self, peer):
        return [ours / theirs if theirs > 0 else None for ours, theirs in zip(self.ours, peer[1])]

    def is_met(self):
        return all(goal.is_met(self) for goal in self.goals)

    def notes(self):
        return [text for text in (self.note, "" if self.is_met() else self.missed) if text]


def number(value):
    """The number with three significant digits or more."""
    if value is None:
        return "–"
    size = abs(value)
    if size >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if size >= 10 else f"{value:.2f}" if size >= 1 else f"{value:.2g}"


def figures(values, unit=""):
    return f"{' / '.join(number(value) for value in values)} {unit}".strip()


RATIO = "The ratio is Kavrin's figure by the one beside it; a goal in × or + is about the first one."


def heading():
    """The date and the machine."""
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    processor = names[0] if names else platform.machine()
    return f"{time.strftime('%Y-%m-%d')}, {processor}, {os.cpu_count()} cores, Linux {platform.release()}"


def _cells(rows):
    """The columns of each row, a list of lines each, and all notes in the order of their numbers."""
    notes = []
    table = []
    for row in rows:
        notes += [note for note in row.notes() if note not in notes]
        marks = "".join(f" ({notes.index(note) + 1})" for note in row.notes())
        table.append((
            [f"{row.name}{': ' if row.labels else ''}{' / '.join(row.labels)}{marks}"],
            [figures(row.ours, row.unit)],
            [f"{name}: {figures(values, row.unit)}" for name, values in row.peers],
            [figures(row.ratios(peer)) for peer in row.peers],
            [", ".join(goal.text(row) for goal in row.goals)],
            [("met" if row.is_met() else "missed") if row.goals else ""],
        ))
    return table, notes


_TITLES = ("What", "Kavrin", "Beside it", "Ratio", "Goal", "")


def plain(rows):
    """The table for a terminal: each further peer has its own line."""
    table, notes = _cells(rows)
    lines = [_TITLES]
    for cells in table:
        lines += [tuple(cell[index] if index < len(cell) else "" for cell in cells)
                  for index in range(max(len(cell) for cell in cells))]
    widths = [max(len(line[column]) for line in lines) for column in range(len(_TITLES))]
    return "\n".join([
        f"Kavrin measured: {heading()}. {RATIO}", "",
        *("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip() for line in lines), "",
        *(f"({position}) {note}" for position, note in enumerate(notes, 1))])


def markdown(rows):
    table, notes = _cells(rows)
    return "\n".join([
        f"Measured by `scripts/bench`: {heading()}. {RATIO}", "",
        "| " + " | ".join(_TITLES) + " |",
        "|" + "---|" * len(_TITLES),
        *("| " + " | ".join("<br>".join(cell) for cell in cells) + " |" for cells in table), "",
        *(f"{position}. {note}" for position, note in enumerate(notes, 1))])


def telling(rows):
    """The lines for the README."""
    return "\n".join(f"- {row.telling.format(f'**{figures(row.ours[:1], row.unit)}**')}" for row in rows if row.telling)


def write(rows, document, readme):
    """Writes the table into the document and the telling lines into the README. In each, two comments mark the
    place."""
    _write_between(document, "table", markdown(rows))
    _write_between(readme, "figures", telling(rows))


def _write_between(path, what, text):
    begin, end = f"<!-- begin of the {what} that scripts/bench --write writes -->\n", f"\n<!-- end of the {what} -->"
    path = pathlib.Path(path)
    before, rest = path.read_text(encoding="utf-8").split(begin)
    after = rest.split(end)[1]
    path.write_text(f"{before}{begin}{text.rstrip()}{end}{after}", encoding="utf-8")
