# SPDX-License-Identifier: MIT
"""Measures how fast the typist's key records, how fast its text stands where the cursor is, and what the typist costs
while nothing happens.

The peer of a typed text is the program that types one on the same display. Under sway the session needs an ordinary
user, so this file runs once more as one.
"""

import json
import os
import random
import subprocess
import sys
import time

from dictation import POLL, Service, resident_megabytes
from figures import MEDIAN_AND_95, median_and_95
from idle import wake_ups
from support.private_session import PrivateSession
from support.sway import SwaySession, become_ordinary_user
from support.terminal_field import TerminalField
from table import Row, at_most, excess_at_most

OPTIONS = {"rounds": (40, 3, "texts to type, under X11 and under sway"),
           "seconds": (60, 3, "how long to watch the typist while nothing happens")}
LENGTH = 200  # characters
TEXT = ("The quick brown fox jumps over the lazy dog, " * 5)[:LENGTH - 1] + "."
XDOTOOL = ("xdotool", "type", "--delay", "0", TEXT)
WTYPE = ("wtype", TEXT)

def dictate(session, service, field, rounds):
    """Milliseconds from each press of the key to "recording", and from the service's answer to the last character."""
    suite = session.suite()
    starts, typed = [], []
    for _ in range(rounds):
        time.sleep(0.3 + random.uniform(0, 0.12))  # the last dictation is over; at any time between two polls
        begun = time.monotonic()
        press = session.start(session.bin / "kavrinctl", "type", "toggle")
        suite.wait_for("dictationState", "recording", interval=0.001)
        starts.append(1000 * (time.monotonic() - begun))
        press.wait()
        session.ctl("type", "toggle")
        first_byte, exchange = service.next_exchange()
        typed.append(1000 * (field.time_of_next_text(TEXT) - first_byte) - exchange)
    return starts, typed


def type_with(session, field, tool, rounds):
    """Milliseconds from each start of the tool to the last character."""
    times = []
    for _ in range(rounds):
        begun = time.monotonic()
        process = session.start(*tool)
        times.append(1000 * (field.time_of_next_text(TEXT) - begun))
        process.wait()
    return times


def use(session, field, tool, rounds):
    """Starts the programs, and times them and the tool: starts, texts, the tool's texts, and the typist's process."""
    service = Service(TEXT)
    session.ctl("set", "provider", "custom")
    session.ctl("set", "customURL", service.url)
    session.start_kavrin("--background")
    typist = session.start(session.bin / "kavrin-typist")
    session.run("gdbus", "wait", "--session", "--timeout", "60", "app.kavrin.Typist")
    return *dictate(session, service, field, rounds), type_with(session, field, tool, rounds), typist


def under_x11(rounds, seconds):
    """As use() returns it, but for the process: its memory in megabytes and its wake-ups a second."""
    with PrivateSession(display=True) as session:
        *times, typist = use(session, TerminalField.under_x11(session), XDOTOOL, rounds)
        before = wake_ups(typist.pid)
        time.sleep(seconds)
        return *times, resident_megabytes(typist.pid), (wake_ups(typist.pid) - before) / seconds


def under_sway(rounds):
    with SwaySession() as session:
        field = TerminalField(session, "foot", "--log-level", "none")
        return use(session, field, WTYPE, rounds)[:-1]


def measure(options):
    starts, typed, xdotool, memory, woken = under_x11(options.rounds, options.seconds)
    sway = subprocess.run([sys.executable, "-B", __file__, str(options.rounds)], check=True, capture_output=True,
                          env=os.environ | {"PYTHONPATH": os.pathsep.join(sys.path)}, text=True).stdout
    starts_in_sway, typed_in_sway, wtype = json.loads(sway)
    text = f"Typist, the service's answer to the last of {LENGTH} characters"
    return [
        Row("Typist, key to \"recording\"", "ms", median_and_95(starts + starts_in_sway),
            (("the poll that it waits for", POLL),), (at_most(160),), MEDIAN_AND_95,
            note="The key is kavrinctl type, its start included."),
        Row(f"{text}, X11", "ms", median_and_95(typed), (("xdotool type from its start", median_and_95(xdotool)),),
            (excess_at_most(60),), MEDIAN_AND_95),
        Row(f"{text}, sway", "ms", median_and_95(typed_in_sway), (("wtype from its start", median_and_95(wtype)),),
            (excess_at_most(60),), MEDIAN_AND_95),
        Row("Typist, memory after some texts", "MB", (memory,), (), (at_most(20),)),
        Row("Typist, wake-ups a second while nothing happens", "", (woken,), (), (at_most(1),)),
    ]


if __name__ == "__main__":
    become_ordinary_user()
    print(json.dumps(under_sway(int(sys.argv[1]))))
