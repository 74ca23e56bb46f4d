# SPDX-License-Identifier: MIT
"""Measures how soon Kavrin's window shows its first frame and its port answers, and the memory before any recording,
beside an empty window of Qt Quick Controls. Measures the same for a start in the background, which shows no window.

The two start in turn, each alone, after one start that does not count. Qt itself tells when a frame is drawn.
"""

import contextlib
import re
import socket
import subprocess
import threading
import time

from figures import MEDIAN_AND_95, median_and_95
from support.private_session import PORT, Failure, PrivateSession, wait_until
from table import Row, ratio_at_most

OPTIONS = {"rounds": (15, 2, "starts of each program"),
           "idle": (3.0, 0.5, "seconds from the first frame, or answer, to the weighing")}
PLACES = {"Start in a window of Xvfb": True, "Start in the background": False}  # whether there is a window
# Puts the monotonic clock before each message. Qt prints the low 32 bits of its milliseconds.
MESSAGES = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop=true", "QT_MESSAGE_PATTERN": "%{time boot} %{message}"}
FRAME = re.compile(r"^ *(\d+)\.(\d{3}) .*frame rendered", re.IGNORECASE | re.MULTILINE)

BETWEEN = ("What is between Kavrin and an empty window that is drawn in the same way are the first screen's fonts, "
           "shaped text (the empty window has none), rows and symbols, none of which stands out. Kept of what was "
           "tried: compiled QML, libcurl and libav loaded at their first use, drawing without OpenGL. Not kept, as "
           "each would save 3 to 8 % and cost clarity or memory: finding fonts in another thread, loading the other "
           "pages' QML at their first use.")


class PortWatch(threading.Thread):
    """Asks the port until it answers or the watch is stopped. Asks again one millisecond after each refusal."""

    def __init__(self):
        super().__init__(daemon=True)
        self.answered = None  # nanoseconds of the monotonic clock
        self.stopped = threading.Event()
        self.start()

    def run(self):
        while not self.answered and not self.stopped.wait(0.001):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", PORT)) as connection:
                connection.sendall(b"GET /get HTTP/1.1\r\n\r\n")
                if connection.recv(1):
                    self.answered = time.monotonic_ns()

    def stop(self):
        self.stopped.set()
        self.join()


def first_frame(process, messages, begun):
    """Milliseconds from `begun`, in nanoseconds of the monotonic clock, to the first frame."""

    def rendered():
        if process.poll() is not None:
            raise Failure(f"{process.args[0]} ended with code {process.returncode} before its first frame")
        return FRAME.search(messages.read_text(encoding="utf-8"))

    seconds, milliseconds = wait_until(rendered, f"{process.args[0]} shows a frame", interval=0.1).groups()
    return (int(seconds) * 1000 + int(milliseconds) - begun / 1e6) % 2**32


def megabytes(pid):
    """Resident memory, and proportional memory, in which each process has its share of what several use."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as rollup:
        kilobytes = {name: int(rest.split()[0]) for name, rest in (line.split(":", 1) for line in list(rollup)[1:])}
    return kilobytes["Rss"] * 1024 / 1e6, kilobytes["Pss"] * 1024 / 1e6


def start_once(session, command, draws, serves, idle):
    """The milliseconds to the first frame and to the port's first answer, if there are such, and the megabytes after
    `idle` more seconds. The port is watched even for a program that does not serve it, so that both programs bear that
    load."""
    messages = session.folder / "messages"
    port = PortWatch()
    with messages.open("w", encoding="utf-8") as output:
        begun = time.monotonic_ns()
        process = session.start(*command, stdout=output, stderr=subprocess.STDOUT)
    frame = first_frame(process, messages, begun) if draws else None
    if serves:
        wait_until(lambda: port.answered, "the port is served")
    port.stop()
    time.sleep(idle)
    memory = megabytes(process.pid)
    process.terminate()
    process.wait()
    return frame, (port.answered - begun) / 1e6 if serves else None, *memory


def start_in_turn(options, window):
    """The starts of Kavrin, in a window of Xvfb or in the background, and of each empty window: frames, answers,
    resident and proportional megabytes."""
    with PrivateSession(display=window, sound=False) as session:
        session.env.update(MESSAGES)
        kavrin = session.bin / "kavrin"
        empty = session.bin.with_name("tests-bin") / "empty_window"
        if window:
            commands = {"kavrin": [kavrin], "empty window": [empty], "the same without OpenGL": [empty, "software"]}
        else:
            commands = {"kavrin": [kavrin, "--background"], "empty window offscreen": [empty]}
        starts = {name: [] for name in commands}
        for counted in [False] + [True] * options.rounds:
            for name, command in commands.items():
                is_ours = name == "kavrin"
                start = start_once(session, command, draws=window or not is_ours, serves=is_ours,
                                   idle=options.idle if counted else 0)
                starts[name] += [start] if counted else []
    return {name: list(zip(*of_one)) for name, of_one in starts.items()}


def rows(where, starts, window):
    frames, answers, resident, proportional = starts.pop("kavrin")

    def memory(resident, proportional):
        return median_and_95(resident)[0], median_and_95(proportional)[0]

    frames_beside = tuple((name, median_and_95(empty[0])) for name, empty in starts.items())
    memory_beside = tuple((name, memory(*empty[2:])) for name, empty in starts.items())
    first_frame = [
        Row(f"{where}: first frame", "ms", median_and_95(frames), frames_beside, (ratio_at_most(1.3),), MEDIAN_AND_95,
            note="An empty window is drawn with OpenGL unless its program asks for something else, as Kavrin does. "
                 + BETWEEN),
    ] if window else []
    return [
        *first_frame,
        Row(f"{where}: first answer on the port", "ms", median_and_95(answers), frames_beside, (ratio_at_most(1.3),),
            MEDIAN_AND_95, note="Beside the first frame of the empty window, which serves no port. From the start of "
                                "the process; the port is asked every millisecond."),
        Row(f"{where}: memory", "MB", memory(resident, proportional), memory_beside,
            (ratio_at_most(1.3), ratio_at_most(1.3, figure=1)), ("resident", "proportional"),
            note="Rss and Pss of /proc/PID/smaps_rollup, before any recording."),
    ]


def measure(options):
    return [row for where, window in PLACES.items() for row in rows(where, start_in_turn(options, window), window)]
