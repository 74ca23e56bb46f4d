# SPDX-License-Identifier: MIT
"""How quickly a dictation starts and ends, and what a recording costs, measured on the real programs.

Beside each figure stands what it is held against: the poll that a command waits for, PulseAudio's own parec, or curl
posting the same file to the same server in turn.
"""

import argparse
import http.server
import json
import pathlib
import platform
import random
import shutil
import subprocess
import sys
import threading
import time

from figures import two

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests"))
from support.private_session import PrivateSession, enter_private_namespaces  # noqa: E402


class Service:
    """A speech service that answers at once, and notes when the first byte of each request came and how long the
    whole exchange took from there, in milliseconds."""

    def __init__(self):
        self.first_bytes = []
        self.exchanges = []
        service = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def handle_one_request(self):
                self.rfile.peek(1)
                service.first_bytes.append(time.monotonic())
                super().handle_one_request()

            def do_POST(self):
                self.rfile.read(int(self.headers["Content-Length"]))
                body = b'{"text":"measured"}'
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)
                service.exchanges.append(1000 * (time.monotonic() - service.first_bytes[-1]))
                self.close_connection = True

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.url = f"http://127.0.0.1:{self.server.server_port}/v1/audio/transcriptions"


def command_to_recording(suite, rounds):
    """Milliseconds from each "start" to "recording"."""
    times = []
    for _ in range(rounds):
        time.sleep(random.uniform(0, 0.12))  # anywhere between two polls
        begun = time.monotonic()
        suite.set("dictationCommand", "string", "start")
        suite.wait_for("dictationState", "recording", interval=0.001)
        times.append(1000 * (time.monotonic() - begun))
        suite.set("dictationCommand", "string", "stop")
        suite.wait_for("dictationState", "done")
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
    """Noise before the microphone: an encoder can leave nothing of it out."""
    session.run("play", "-q", "-n", "synth", str(seconds), "pinknoise", "vol", "0.3")


def start(suite):
    suite.set("dictationCommand", "string", "start")
    suite.wait_for("dictationState", "recording")


def stop_to_first_byte(suite, service):
    """Milliseconds from the moment that "stop" is consumed to the request's first byte, and from there to "done"."""
    service.first_bytes.clear()
    suite.set("dictationCommand", "string", "stop")
    suite.wait_for("dictationCommand", "", interval=0.0005)
    consumed = time.monotonic()
    suite.wait_for("dictationState", "done", interval=0.0005)
    done = time.monotonic()
    return 1000 * (service.first_bytes[0] - consumed), 1000 * (done - service.first_bytes[0])


def post_with_curl(session, service, recording):
    session.run("curl", "--silent", "--output", "/dev/null", "--form", "model=whisper-1",
                "--form", "response_format=json", "--form", f"file=@{recording};type=audio/mp4", service.url)


def exchanges(session, suite, service, recording, rounds):
    """Kavrin's and curl's exchanges of the same recording in turn, as the server sees them, and the milliseconds from
    Kavrin's first byte to the published transcript. Kavrin sends what lies at the recording's path, so one long
    recording does for all rounds."""
    kept = recording.with_name("kept.m4a")
    shutil.copy(recording, kept)
    published, ours, curls = [], [], []
    for _ in range(rounds):
        start(suite)
        shutil.copy(kept, recording.with_name("copy.m4a"))
        recording.with_name("copy.m4a").replace(recording)
        published.append(stop_to_first_byte(suite, service)[1])
        ours.append(service.exchanges[-1])
        post_with_curl(session, service, kept)
        curls.append(service.exchanges[-1])
    return published, ours, curls


def growth(session, suite, kavrin, minutes):
    """Megabytes that the resident memory grows by while recording, once ten seconds are recorded."""
    start(suite)
    make_noise(session, 10)
    before = resident_megabytes(kavrin.pid)
    make_noise(session, 60 * minutes)
    return resident_megabytes(kavrin.pid) - before


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=40, help="dictations to start (40)")
    parser.add_argument("--exchanges", type=int, default=200, help="exchanges to time (200)")
    parser.add_argument("--seconds", type=int, default=60, help="length of the recording that is sent (60)")
    parser.add_argument("--minutes", type=float, default=5, help="length of the recording that is weighed (5)")
    options = parser.parse_args()
    enter_private_namespaces()

    service = Service()
    with PrivateSession() as session:
        session.env["AUDIODRIVER"] = "pulseaudio"
        session.ctl("set", "provider", "custom")
        session.ctl("set", "customURL", service.url)
        kavrin = session.start_kavrin()
        suite = session.suite()
        recording = pathlib.Path(json.loads(session.ctl("where", "--json"))["recording"])
        starts = command_to_recording(suite, options.rounds)
        parec = parec_to_first_samples(session, options.rounds)

        start(suite)
        make_noise(session, options.seconds)
        first_byte, _ = stop_to_first_byte(suite, service)
        published, ours, curls = exchanges(session, suite, service, recording, options.exchanges)

        grown = growth(session, suite, kavrin, options.minutes)
        size = recording.stat().st_size
        stop_to_first_byte(suite, service)

    print(f"Dictation on {platform.node()}, {time.strftime('%Y-%m-%d')} (two figures: median, 95th percentile)")
    rows = [
        ("command to recording", two(starts), f"the poll takes 60, 114 of it; parec to its first samples: {two(parec)}"),
        (f"stop to first byte, {options.seconds} s recorded", f"{first_byte:.1f} ms", ""),
        ("the exchange, as the server sees it", two(ours), f"curl, the same file: {two(curls)}"),
        ("first byte to the transcript published", two(published), "the answer read, stored and on the clipboard"),
        (f"memory grown in {options.minutes:g} minutes", f"{grown:.2f} MB", f"the file has {size / 1e6:.2f} MB"),
    ]
    for name, value, beside in rows:
        print(f"  {name:<40} {value:>16}   {beside}")


if __name__ == "__main__":
    try:
        main()
    except subprocess.SubprocessError as error:
        sys.exit(str(error))
