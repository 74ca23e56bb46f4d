# SPDX-License-Identifier: MIT
"""When a dictation reached which state, as a line of text and as a picture."""

from dataclasses import dataclass
from xml.sax.saxutils import escape

# The states that each command leads to, in their order, and what has passed by then.
PHASES = {
    "start": {"starting": "command noticed", "recording": "microphone open"},
    "stop": {"working": "command noticed", "done": "text heard", "typed": "at the cursor"},
}

# Where the picture shows each command's time lines: left edge and width. Opening a microphone and transcribing
# differ too much in length for one scale.
_PANELS = {"start": (120, 300), "stop": (460, 430)}
_WIDTH = 910
_TOP = 76
_ROW = 28
_BAR = 14
_STYLE = """
    text { font: 12px system-ui, sans-serif; fill: #1d1d1f; }
    .title { font-size: 15px; font-weight: 600; }
    .faint { fill: #6e6e73; }
    .grid { stroke: #d2d2d7; }
    .starting { fill: #a8c7fa; } .recording { fill: #2f6fde; }
    .working { fill: #f3c98b; } .done { fill: #c77a12; } .typed { fill: #2e7d32; }
    @media (prefers-color-scheme: dark) {
      text { fill: #f5f5f7; }
      .faint { fill: #a1a1a6; }
      .grid { stroke: #424245; }
      .starting { fill: #34527f; } .recording { fill: #6ea8ff; }
      .working { fill: #6b5126; } .done { fill: #f0b357; } .typed { fill: #6fcf7f; }
    }
"""


@dataclass(frozen=True)
class TimeLine:
    """Milliseconds from the command that leads there to each state; a state too short to be seen has none."""

    name: str
    reached: dict

    def line(self, command):
        """The states that this command leads to: "start > starting 85 ms > recording 190 ms"."""
        seen = [f"{state} {self.reached[state]:.0f} ms" for state in PHASES[command] if state in self.reached]
        return " > ".join([command, *seen])


def picture(time_lines):
    """An SVG picture of the time lines, in the light or dark colours of whoever looks at it."""
    bottom = _TOP + _ROW * len(time_lines)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {_WIDTH} {bottom + 30}" role="img">',
        f"<title>How long each dictation took</title><style>{_STYLE}</style>",
        '<text class="title" x="12" y="24">From the key to the text, in milliseconds</text>',
    ]
    for row, line in enumerate(time_lines):
        parts.append(f'<text x="12" y="{_TOP + _ROW * row + 18}">{escape(line.name)}</text>')
    for command in PHASES:
        parts += _panel(command, time_lines, bottom)
    return "\n".join([*parts, "</svg>", ""])


def _panel(command, time_lines, bottom):
    left, width = _PANELS[command]
    longest = max([line.reached[state] for line in time_lines for state in PHASES[command] if state in line.reached],
                  default=1)
    scale = width / longest
    yield from _legend(command, left)
    for mark in range(0, int(longest) + 1, _step(longest)):
        x = left + mark * scale
        yield f'<line class="grid" x1="{x:.1f}" y1="{_TOP}" x2="{x:.1f}" y2="{bottom}"/>'
        yield f'<text class="faint" x="{x:.1f}" y="{bottom + 18}" text-anchor="middle">{mark}</text>'
    for row, line in enumerate(time_lines):
        yield from _bar(command, line, left, _TOP + _ROW * row + (_ROW - _BAR) // 2, scale)


def _step(longest):
    """The round distance between two marks that gives at most six of them."""
    return next(step for power in range(9) for step in (10**power, 2 * 10**power, 5 * 10**power)
                if longest / step <= 6)


def _legend(command, left):
    yield f'<text class="faint" x="{left}" y="60">{command}</text>'
    for column, (state, words) in enumerate(PHASES[command].items()):
        x = left + 40 + 135 * column
        yield f'<rect class="{state}" x="{x}" y="50" width="12" height="12" rx="2"/>'
        yield f'<text x="{x + 18}" y="60">{words}</text>'


def _bar(command, line, left, y, scale):
    begin = 0
    for state in PHASES[command]:
        if state in line.reached:
            end = line.reached[state]
            yield (f'<rect class="{state}" x="{left + begin * scale:.1f}" y="{y}" '
                   f'width="{(end - begin) * scale:.1f}" height="{_BAR}"/>')
            begin = end
