# SPDX-License-Identifier: MIT
"""Those who use the suite and the loopback server while dictations go on, each in a process of its own."""

import functools
import json
import multiprocessing
import os
import random
import signal
import socket
import sqlite3
import struct
import time
from collections import Counter
from dataclasses import dataclass, field

from machine import recordings
from support.private_session import PORT, Suite

_PROCESSES = multiprocessing.get_context("fork")
_ANSWER_LIMIT = 60  # seconds
_LEFT_ALONE = {"provider", "customURL"}  # the dictations' own


@dataclass
class Report:
    """What an actor did."""

    counts: Counter = field(default_factory=Counter)
    stored: dict = field(default_factory=dict)  # key to the value that is there since the last write that returned
    problems: list = field(default_factory=list)


class Actor:
    """One of them at work, from the beginning on."""

    def __init__(self, work, session, troubles, seed):
        self.name = work.__name__
        self._stop = _PROCESSES.Event()
        self._report, self._sending = _PROCESSES.Pipe(duplex=False)
        self._process = _PROCESSES.Process(target=self._run, args=(work, session, troubles, seed), daemon=True)
        self._process.start()
        self._sending.close()  # it is the other process's, and ends with that

    def _run(self, work, session, troubles, seed):
        signal.signal(signal.SIGTERM, signal.SIG_DFL)
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        driver = os.getppid()
        report = Report()
        chance = random.Random(f"{seed} {self.name}")
        try:
            steps = work(session, troubles, chance, report)
            while not self._stop.is_set() and os.getppid() == driver:
                next(steps)
        except Exception as error:  # whatever it is, the soak is to tell it
            report.problems.append(f"gave up: {error!r}")
        self._sending.send(report)

    def end(self):
        """Stops it; returns its report."""
        self._stop.set()
        report = self._report.recv()
        self._process.join()
        return report


# Settings

def writes_settings(session, troubles, chance, report):
    """Sets settings with kavrinctl and as another program does, and looks at once whether they are there."""
    suite = troubles.open()
    values = _settings(session)
    while True:
        key = chance.choice(sorted(values))
        kind, value = values[key](chance)
        mark = troubles.mark()
        try:
            if chance.random() < 0.4:
                _set_with_kavrinctl(session, key, kind, value, report)
            else:
                suite.set(key, kind, value)
        except (_Refused, sqlite3.OperationalError) as refusal:
            report.counts["writes refused"] += 1
            if not troubles.were_there_since(mark):
                report.problems.append(str(refusal))
        else:
            report.counts["writes"] += 1
            report.stored[key] = value
        if key in report.stored and suite.get(key) != report.stored[key]:
            report.problems.append(f"{key} was set to {report.stored[key]!r} and is {suite.get(key)!r}")
        yield
        time.sleep(chance.uniform(0, 0.2))


def _settings(session):
    """For each setting what chooses a type and a value for it."""
    makers = {}
    pages = json.loads(session.ctl("catalogue", "--json"))
    items = [item for page in pages for section in page["sections"] for item in section["items"]]
    for item in items:
        if item["kind"] == "toggle":
            makers[item["key"]] = lambda chance: ("bool", chance.randint(0, 1))
        elif item["kind"] == "slider":
            makers[item["key"]] = functools.partial(_on_slider, *item["range"], item["step"])
        elif item["kind"] == "choice":
            options = [option["v"] for option in item["options"]]
            makers[item["key"]] = lambda chance, options=options: ("string", chance.choice(options))
        elif item["kind"] == "text" and not item["secret"]:
            makers[item["key"]] = lambda chance: ("string", f"model {chance.randint(0, 9999)} ğ語")
    return {key: maker for key, maker in makers.items() if key not in _LEFT_ALONE}


def _on_slider(low, high, step, chance):
    return "double", round(low + step * chance.randint(0, round((high - low) / step)), 6)


class _Refused(Exception):
    pass


def _set_with_kavrinctl(session, key, kind, value, report):
    text = str(bool(value)).lower() if kind == "bool" else value
    done = session.run(session.bin / "kavrinctl", "set", key, text, check=False)
    report.counts["kavrinctl"] += 1
    if done.returncode != 0 or done.stderr:
        raise _Refused(f"kavrinctl set {key} {text}: {done.returncode}, {done.stderr.strip()}")


# Keyboards that are killed

_KEYS = [f"org.example.soak.{letter}" for letter in "abcdefgh"]


def kills_keyboards(_session, troubles, chance, report):
    """Starts keyboards that write one number after the other, and kills each in the middle of that."""
    suite = troubles.open()
    for key in _KEYS:
        suite.set(key, "int", 0)
        report.stored[key] = 0
    while True:
        key = chance.choice(_KEYS)
        holds = chance.random() < 0.2
        last = _kill_a_keyboard(troubles.path, key, report.stored[key], holds, chance.uniform(0, 0.5))
        report.counts["killed"] += 1
        report.counts["writes"] += last - report.stored[key]
        found = suite.get(key)
        if found not in ((last,) if holds else (last, last + 1)):
            report.problems.append(f"a keyboard had written {last} to {key} when it was killed, and it is {found}")
        report.stored[key] = found
        yield
        time.sleep(chance.uniform(0, 0.5))


def _kill_a_keyboard(path, key, number, holds, after):
    """Returns the last number that its write returned for."""
    read, write = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(read)
        _be_a_keyboard(path, key, number, holds, write)
    os.close(write)
    with os.fdopen(read, "rb") as told:
        first = told.readline()  # it has begun
        time.sleep(after)
        os.kill(child, signal.SIGKILL)
        numbers = (first + told.read()).split()
    os.waitpid(child, 0)
    return int(numbers[-1]) if numbers else number


def _be_a_keyboard(path, key, number, holds, told):
    try:
        suite = Suite(path)
        os.write(told, b"%d\n" % number)
        if holds:
            suite.database.execute("BEGIN IMMEDIATE")
        while True:
            number += 1
            suite.set(key, "int", number)
            if not holds:
                os.write(told, b"%d\n" % number)
            time.sleep(0.002)
    finally:
        os._exit(1)


# Requests

def asks(_session, troubles, chance, report):
    """Sends the loopback server requests, good ones and others."""
    asker = _Asker(troubles, chance, report)
    while True:
        ask = chance.choice(_Asker.KINDS)
        report.counts["requests"] += 1
        try:
            ask(asker)
        except (OSError, ValueError) as error:
            report.problems.append(f"{ask.__name__}: {error}")
        yield
        time.sleep(chance.uniform(0, 0.05))


class _Asker:
    def __init__(self, troubles, chance, report):
        self._troubles = troubles
        self._suite = troubles.open()
        self._chance = chance
        self._report = report
        self._silent = []

    def _connect(self):
        return socket.create_connection((self._chance.choice(("127.0.0.1", "::1")), PORT), timeout=_ANSWER_LIMIT)

    def _answer(self, *pieces):
        with self._connect() as connection:
            for piece in pieces:
                connection.sendall(piece)
            connection.shutdown(socket.SHUT_WR)
            with connection.makefile("rb") as stream:
                head, _, body = stream.read().partition(b"\r\n\r\n")
        if not head.startswith(b"HTTP/1.1 200 OK\r\n"):
            raise ValueError(f"answered {head!r}")
        return json.loads(body)

    def _expect(self, right, answer):
        if not right:
            raise ValueError(f"answered {answer!r}")

    def gets_the_state(self):
        answer = self._answer(b"GET /get HTTP/1.1\r\n\r\n")
        self._expect("dictationAlive" in answer, answer)

    def uses_a_transcript(self):
        stamp = round(self._chance.uniform(1, 1e9), 3)
        mark = self._troubles.mark()
        answer = self._answer(b"GET /used?t=%s HTTP/1.1\r\n\r\n" % str(stamp).encode())
        self._expect(answer == {"ok": True}, answer)
        stored = self._suite.get("tUsed")
        self._expect(stored == stamp or self._troubles.were_there_since(mark), f"{answer}, and stored {stored}")
        self._report.stored["tUsed"] = stored
        self._report.counts["writes"] += 1

    def asks_for_nothing(self):
        answer = self._answer(b"GET /nothing HTTP/1.1\r\n\r\n")
        self._expect(answer == {}, answer)

    def sends_rubbish(self):
        self._answer(b"\n" + self._chance.randbytes(self._chance.randint(0, 20_000)))

    def sends_pieces(self):
        self._answer(b"GET /get?", b"x=1 HTTP/1.1\r\n", b"Host: localhost\r\n\r\n")

    def goes_away(self):
        with self._connect() as connection:
            connection.sendall(b"GET /get HTTP/1.1\r\n\r\n"[:self._chance.randint(0, 20)])
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    def stays_silent(self):
        if self._silent and self._chance.random() < 0.5:
            self._silent.pop().close()
        elif len(self._silent) < 50:
            self._silent.append(self._connect())

    KINDS = (gets_the_state, uses_a_transcript, asks_for_nothing, sends_rubbish, sends_pieces, goes_away, stays_silent)


# Spectators

def reads_transcripts(_session, troubles, _chance, report):
    """Looks all the time whether stamps only grow, and whether a text comes a second time."""
    suite = troubles.open()
    seen = set()
    last = suite.get("tStamp") or 0
    while True:
        now = dict(suite.database.execute("SELECT key, value FROM defaults WHERE key IN ('transcript', 'tStamp')"))
        stamp, text = now.get("tStamp", 0), now.get("transcript")
        if stamp < last:
            report.problems.append(f"the stamp {stamp} came after {last}")
        if stamp != last and "dictation" in text:  # each of these has a number of its own
            report.counts["transcripts read"] += 1
            if text in seen:
                report.problems.append(f"came twice: {text!r}")
            seen.add(text)
        last = stamp
        yield
        time.sleep(0.02)


def counts_recordings(session, _troubles, _chance, report):
    """Looks all the time whether two recordings run at once."""
    while True:
        running = recordings(session)
        report.counts["recordings seen"] += len(running)
        if len(running) > 1:
            report.problems.append(f"recordings at once: {running}")
        yield
        time.sleep(0.3)


ACTORS = (writes_settings, kills_keyboards, asks, reads_transcripts, counts_recordings)
