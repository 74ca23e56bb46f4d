# SPDX-License-Identifier: MIT
"""Draws when what happens in whole dictations: from the key of kavrin-typist, which is held while the speaker of each
recording speaks, to the text that kavrin-stt has understood, in the window that has the focus."""

import sys
import time

from demo import LAST_WORD, ROOT, STATE_LIMIT, TEXT_LIMIT, clips
from support.private_session import Failure, PrivateSession, enter_private_namespaces
from support.terminal_field import TerminalField
from support.time_lines import TimeLine, picture

PICTURE = ROOT / "docs" / "pictures" / "dictation.svg"


def press(session, verb, last_state, limit):
    """Sends the key's event. Returns the moment, and the milliseconds from there to each state that it led to."""
    suite = session.suite()
    earlier = suite.get("dictationState")
    begin = time.monotonic()
    key = session.start(session.bin / "kavrinctl", "type", verb)
    reached = {}
    while last_state not in reached:
        elapsed = time.monotonic() - begin
        if elapsed > limit:
            raise Failure(f"after {verb} Kavrin was not {last_state} within {limit} s")
        state = suite.get("dictationState")
        if state not in (earlier, None):
            reached.setdefault(state, 1000 * elapsed)
        time.sleep(0.001)
    key.wait()
    return begin, reached


def dictate(session, field, clip):
    _, reached = press(session, "press", "recording", STATE_LIMIT)
    session.play(clip.path)
    time.sleep(LAST_WORD)
    released, ending = press(session, "release", "done", TEXT_LIMIT)
    typed = field.time_of_next_text(session.suite().get("transcript"))
    return TimeLine(clip.name, reached | ending | {"typed": 1000 * (typed - released)})


def main():
    enter_private_namespaces()
    with PrivateSession(display=True) as session:
        session.start_speech_service()
        session.start_kavrin("--background")
        session.start(session.bin / "kavrin-typist")
        session.run("gdbus", "wait", "--session", "--timeout", "60", "app.kavrin.Typist")
        field = TerminalField.under_x11(session)
        time_lines = [dictate(session, field, clip) for clip in clips()]
    for line in time_lines:
        print(f"{line.name}: {line.line('start')}; {line.line('stop')}")
    PICTURE.write_text(picture(time_lines), encoding="utf-8")


if __name__ == "__main__":
    try:
        main()
    except (Failure, OSError) as failure:
        sys.exit(f"time_line: {failure}")
