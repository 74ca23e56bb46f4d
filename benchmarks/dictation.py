# SPDX-License-Identifier: MIT
"""How quickly a dictation starts and ends, and what a recording costs, measured on the real programs.

Beside each figure stands what it is held against: the poll that a command waits for, or curl posting the same file
to the same server.
"""

import argparse
import http.server
import pathlib
import platform
import random
import statistics
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests"))
from support.private_session import PrivateSession, enter_private_network  # noqa: E402


class Service:
    """A speech service that answers at once and notes when the first byte of each request came."""

    def __init__(self):
        self.first_bytes = []
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
                self.close_connection = True

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.url = f"http://127.0.0.1:{self.server.server_port}/v1/audio/transcriptions"


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


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


def record(session, suite, seconds):
    """Records noise, of which an encoder can leave nothing out."""
    suite.set("dictationCommand", "string", "start")
    suite.wait_for("dictationState", "recording")
    session.run("play", "-q", "-n", "synth", str(seconds), "pinknoise", "vol", "0.3")


def stop_to_first_byte(suite, service):
    """Milliseconds from the moment that "stop" is consumed to the request's first byte, and to "done"."""
    service.first_bytes.clear()
    suite.set("dictationCommand", "string", "stop")
    suite.wait_for("dictationCommand", "", interval=0.0005)
    consumed = time.monotonic()
    suite.wait_for("dictationState", "done", interval=0.0005)
    done = time.monotonic()
    return 1000 * (service.first_bytes[0] - consumed), 1000 * (done - service.first_bytes[0])


def curl_exchange(session, service, recording):
    """Milliseconds from the first byte of curl's request to its end."""
    service.first_bytes.clear()
    session.run("curl", "--silent", "--form", "model=whisper-1", "--form", "response_format=json",
                "--form", f"file=@{recording};type=audio/mp4", service.url)
    return 1000 * (time.monotonic() - service.first_bytes[0])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=40, help="dictations to start (40)")
    parser.add_argument("--seconds", type=int, default=60, help="length of the recording that is sent (60)")
    parser.add_argument("--minutes", type=float, default=2, help="length of the recording that is weighed (2)")
    options = parser.parse_args()
    enter_private_network()

    service = Service()
    with PrivateSession() as session:
        session.ctl("set", "provider", "custom")
        session.ctl("set", "customURL", service.url)
        kavrin = session.start_kavrin()
        suite = session.suite()
        starts = command_to_recording(suite, options.rounds)

        session.env["AUDIODRIVER"] = "pulseaudio"
        record(session, suite, options.seconds)
        first_byte, exchange = stop_to_first_byte(suite, service)
        recording = session.folder / "run" / "kavrin" / "dict.m4a"
        curl = statistics.median(curl_exchange(session, service, recording) for _ in range(5))

        record(session, suite, 10)
        before = resident_megabytes(kavrin.pid)
        session.run("play", "-q", "-n", "synth", str(60 * options.minutes), "pinknoise", "vol", "0.3")
        grown = resident_megabytes(kavrin.pid) - before
        size = recording.stat().st_size
        stop_to_first_byte(suite, service)

    print(f"Dictation on {platform.node()}, {time.strftime('%Y-%m-%d')}")
    rows = [
        ("command to recording, median", f"{statistics.median(starts):.0f} ms", "the poll takes 60 of it"),
        ("command to recording, 95th percentile", f"{percentile(starts, 0.95):.0f} ms", "the poll takes 114 of it"),
        (f"stop to first byte, {options.seconds} s recorded", f"{first_byte:.1f} ms", ""),
        ("first byte to the transcript published", f"{exchange:.1f} ms", f"curl, same file: {curl:.1f} ms"),
        (f"memory grown in {options.minutes:g} minutes", f"{grown:.2f} MB", f"the file has {size / 1e6:.2f} MB"),
    ]
    for name, value, beside in rows:
        print(f"  {name:<40} {value:>10}   {beside}")


if __name__ == "__main__":
    try:
        main()
    except subprocess.SubprocessError as error:
        sys.exit(str(error))
