# SPDX-License-Identifier: MIT
"""Measures how fast a dictation starts and ends, and what a recording costs, with the real programs.

The peer of each figure is the poll that a command waits for, PulseAudio's own parec, or curl, which posts the same file
to the same server.
"""

import functools
import http.server
import json
import pathlib
import queue
import random
import shutil
import statistics
import threading
import time

from figures import MEDIAN_AND_95, MEDIAN_AND_99, median_and_95, median_and_99
from support.private_session import PrivateSession
from table import Row, at_most, excess_at_most

OPTIONS = {"rounds": (40, 3, "dictations to start"),
           "exchanges": (200, 3, "exchanges to time"),
           "seconds": (60, 5, "length of the recording that is sent"),
           "stops": (20, 3, "recordings to finish"),
           "minutes": (5.0, 0.1, "length of the recording that is weighed")}
POLL = (60, 114)  # median and 95th percentile of the wait for a poll every 120 ms, in milliseconds
NO_PAUSE = excess_at_most(5, figure=1)  # a pause is an upload that waits 40 ms for the other side to acknowledge
PACE = "8/s"  # how often a curl that waits posts: it waits about as long as a dictation waits for the poll


class Service:
    """A speech service that answers with a text at once. For each exchange it tells when the first byte of the request came, in
    seconds of the monotonic clock, and how many milliseconds passed from there to the end of the answer. A thread that
    waits for an exchange does not use the processor."""

    def __init__(self, text="measured"):
        answer = json.dumps({"text": text}).encode()
        exchanges = queue.SimpleQueue()
        self.next_exchange = functools.partial(exchanges.get, timeout=60)

        class Handler(http.server.BaseHTTPRequestHandler):
            def handle_one_request(self):
                self.rfile.peek(1)
                self.first_byte = time.monotonic()
                super().handle_one_request()

            def do_POST(self):
                self.rfile.read(int(self.headers["Content-Length"]))
                self.send_response(200)
                self.send_header("Content-Length", str(len(answer)))
                self.end_headers()
                self.wfile.write(answer)
                exchanges.put((self.first_byte, 1000 * (time.monotonic() - self.first_byte)))
                self.close_connection = True

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.url = f"http://127.0.0.1:{self.server.server_port}/v1/audio/transcriptions"


def command_to_recording(suite, service, rounds):
    """Milliseconds from each "start" to "recording"."""
    times = []
    for _ in range(rounds):
        time.sleep(random.uniform(0, 0.12))  # at any time between two polls
        begun = time.monotonic()
        suite.set("dictationCommand", "string", "start")
        suite.wait_for("dictationState", "recording", interval=0.001)
        times.append(1000 * (time.monotonic() - begun))
        stop(suite, service)
    return times


def resident_megabytes(pid):
    with open(f"/proc/{pid}/statm", encoding="ascii") as statm:
        return int(statm.read().split()[1]) * 4096 / 1e6


def parec_to_first_samples(session, rounds):
    """Milliseconds from the start of PulseAudio's own recorder to its first samples."""
    times = []
    for _ in range(rounds):
        begun = time.monotonic()
        parec = session.start("parec", "--raw", "--rate=16000", "--channels=1", "--latency-msec=20")
        parec.stdout.buffer.read(1)
        times.append(1000 * (time.monotonic() - begun))
        session.end(parec)
    return times


def make_noise(session, seconds):
    """Plays noise into the microphone: an encoder can leave nothing of it out."""
    session.run("play", "-q", "-n", "synth", str(seconds), "pinknoise", "vol", "0.3")


def start(suite):
    suite.set("dictationCommand", "string", "start")
    suite.wait_for("dictationState", "recording")


def stop(suite, service):
    """Milliseconds from the moment when "stop" is consumed to the request's first byte, from there to the end of the
    answer, and from there to "done"."""
    suite.set("dictationCommand", "string", "stop")
    suite.wait_for("dictationCommand", "", interval=0.0005)
    consumed = time.monotonic()
    first_byte, exchange = service.next_exchange()
    suite.wait_for("dictationState", "done", interval=0.0005)
    published = 1000 * (time.monotonic() - first_byte) - exchange
    return 1000 * (first_byte - consumed), exchange, published


def curl(recording, *arguments):
    """The command that posts the recording as Kavrin does."""
    return ("curl", "--silent", "--output", "/dev/null", "--form", "model=whisper-1",
            "--form", "response_format=json", "--form", f"file=@{recording};type=audio/mp4", *arguments)


def posts_after_waiting(session, service, recording, rounds):
    """The milliseconds of each exchange of a curl that waits before it, as a dictation does. A processor that was idle
    takes longer than one that has just loaded a program."""
    command = curl(recording, "--rate", PACE, f"{service.url}?[1-{rounds}]")
    waiting = session.start(*command)
    times = [service.next_exchange()[1] for _ in range(rounds)]
    session.end(waiting)
    return times


def exchanges(suite, service, kept, recording, rounds):
    """For each dictation, the milliseconds from "stop" to the exchange, those of the exchange, and those from its first
    byte to the published transcript. Kavrin sends the file at the recording's path, so one long recording serves for
    all."""
    first_bytes, ours, published = [], [], []
    for _ in range(rounds):
        start(suite)
        shutil.copy(kept, recording.with_name("copy.m4a"))
        recording.with_name("copy.m4a").replace(recording)
        first_byte, exchange, rest = stop(suite, service)
        first_bytes.append(first_byte)
        ours.append(exchange)
        published.append(exchange + rest)
    return first_bytes, ours, published


def posts(session, service, kept, rounds):
    """The milliseconds of Kavrin's and of curl's exchanges of the same file, in turn and on an idle machine, and those
    from curl's start to its first byte."""
    ours, curls, first_bytes = [], [], []
    for _ in range(rounds):
        session.ctl("transcribe", kept)
        ours.append(service.next_exchange()[1])
        begun = time.monotonic()
        session.run(*curl(kept, service.url))
        first_byte, exchange = service.next_exchange()
        curls.append(exchange)
        first_bytes.append(1000 * (first_byte - begun))
    return ours, curls, first_bytes


def stops(session, seconds, rounds):
    """Milliseconds from the last sample of each recording to the file that can be sent."""
    program = session.bin.with_name("tests-bin") / "stop_benchmark"
    return [float(line) for line in session.run(program, seconds, rounds).stdout.split()]


def growth(session, suite, kavrin, minutes):
    """How many megabytes the resident memory grows by after the first ten seconds of a recording."""
    start(suite)
    make_noise(session, 10)
    before = resident_megabytes(kavrin.pid)
    make_noise(session, 60 * minutes)
    return resident_megabytes(kavrin.pid) - before


def measure(options):
    service = Service()
    with PrivateSession() as session:
        session.env["AUDIODRIVER"] = "pulseaudio"
        session.ctl("set", "provider", "custom")
        session.ctl("set", "customURL", service.url)
        kavrin = session.start_kavrin()
        suite = session.suite()
        recording = pathlib.Path(json.loads(session.ctl("where", "--json"))["recording"])
        starts = command_to_recording(suite, service, options.rounds)
        parec = parec_to_first_samples(session, options.rounds)

        start(suite)
        make_noise(session, options.seconds)
        first_byte, _, _ = stop(suite, service)
        kept = recording.with_name("kept.m4a")
        shutil.copy(recording, kept)
        first_bytes, dictated, published = exchanges(suite, service, kept, recording, options.exchanges)
        waited = posts_after_waiting(session, service, kept, options.exchanges)
        posted, curls, curls_first_bytes = posts(session, service, kept, options.exchanges)

        finished = stops(session, options.seconds, options.stops)
        grown = growth(session, suite, kavrin, options.minutes)
        size = recording.stat().st_size
        stop(suite, service)

    return [
        Row("Dictation, command to \"recording\"", "ms", median_and_95(starts),
            (("the poll that it waits for", POLL), ("parec to its first samples", median_and_95(parec))),
            (at_most(160), at_most(250, figure=1)), MEDIAN_AND_95,
            note="The wait for a poll every 120 ms is computed, not measured.",
            telling="Kavrin records {} after the command to start."),
        Row(f"Dictation, stop to the request's first byte, {options.seconds} s recorded", "ms",
            median_and_95([first_byte, *first_bytes]), (("curl from its start", median_and_95(curls_first_bytes)),),
            (at_most(30), at_most(30, figure=1)), MEDIAN_AND_95,
            telling=f"It begins to send a recording of {options.seconds} s {{}} after the command to stop."),
        Row(f"End of a recording of {options.seconds} s, until its file can be sent", "ms",
            (statistics.median(finished), max(finished)), (), (at_most(10), at_most(10, figure=1)), ("median", "worst"),
            note="The last samples are encoded, and the fragmented file becomes an ordinary one."),
        Row("Transcription of a file, the exchange as the service sees it", "ms", median_and_99(posted),
            (("curl, the same file", median_and_99(curls)),), (NO_PAUSE,), MEDIAN_AND_99),
        Row("Dictation, the exchange as the service sees it", "ms", median_and_99(dictated),
            (("curl that has waited as long", median_and_99(waited)), ("curl, just started", median_and_99(curls))),
            (NO_PAUSE,), MEDIAN_AND_99,
            note="A processor that was idle takes longer for the same work, Kavrin's as curl's; a curl that was just "
                 "started has had it awake."),
        Row("Dictation, first byte to transcript published", "ms", median_and_95(published),
            (("curl, the exchange alone", median_and_95(curls)),), labels=MEDIAN_AND_95,
            note="The exchange included; the answer is then read, stored and put on the clipboard."),
        Row(f"Dictation, memory grown in {options.minutes:g} min of recording", "MB", (grown,),
            (("the recorded file", (size / 1e6,)),), (at_most(20 * options.minutes / 30),)),
    ]
