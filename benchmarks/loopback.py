# SPDX-License-Identifier: MIT
"""Measures how many requests the loopback server answers, how soon, and the cost of each request. The peers are
cpp-httplib, which reads and writes the same suite, and nginx with a constant body.

Each connection carries one request. wrk sends requests as fast as it gets answers, so on few cores wrk and the kernel
set the pace. The processor time of a request is what differs between the servers.
"""

import json
import pathlib
import statistics
import tempfile
import time

from figures import processor_seconds
from support.private_session import PORT, Failure, PrivateSession, wait_until
from table import Row, at_most, ratio_at_least, ratio_at_most

OPTIONS = {"seconds": (1, 1, "how long each server is asked in a round"),
           "rounds": (15, 1, "rounds, of which the median is taken")}
TEXTS = {"dictationState": "done", "transcript": "ten of clubs, and a few words more"}
STAMPS = ("dictationAlive", "tStamp", "tUsed")
TARGETS = {"/get": "/get", "/cmd": "/cmd?v=stop"}
MILLISECONDS = {16: 5, 256: 15}  # for so many connections at once
SCRIPT = """
done = function(summary, latency)
    io.write(string.format("FIGURES %d %d %d %d %d %d\\n", summary.requests, summary.duration,
             latency:percentile(50), latency:percentile(99), latency:percentile(99.9),
             summary.errors.connect + summary.errors.read + summary.errors.write + summary.errors.status))
end
"""
NGINX = """
daemon off; master_process off; pid %(folder)s/pid; error_log stderr crit;
events { worker_connections 4096; }
http {
    access_log off; keepalive_timeout 0; server_tokens off; default_type application/json;
    client_body_temp_path %(folder)s/body; proxy_temp_path %(folder)s/proxy; fastcgi_temp_path %(folder)s/fastcgi;
    uwsgi_temp_path %(folder)s/uwsgi; scgi_temp_path %(folder)s/scgi;
    server {
        listen 127.0.0.1:%(port)s;
        location /get { return 200 '%(get)s'; }
        location /cmd { return 200 '%(done)s'; }
    }
}
"""

ASKED = {"/cmd": "Each command is stored before it is answered. nginx stores nothing."}


def store_what_is_read(session):
    suite = session.suite()
    for key, value in TEXTS.items():
        suite.set(key, "string", value)
    for key in STAMPS:
        suite.set(key, "double", time.time())


def start_nginx(session, bodies):
    folder = tempfile.mkdtemp(dir=session.folder)
    configuration = pathlib.Path(folder, "nginx.conf")
    configuration.write_text(NGINX % {"folder": folder, "port": PORT, **bodies}, encoding="utf-8")
    return session.start("nginx", "-p", folder, "-c", configuration)


def answers(session):
    """What Kavrin answers: the bodies that nginx is to answer, too."""
    kavrin = session.start_kavrin("--background")
    bodies = {"get": session.http("/get"), "done": session.http("/cmd")}
    session.end(kavrin)
    lacking = {*TEXTS, *STAMPS} - set(bodies["get"])
    if lacking:
        raise Failure(f"/get lacks {', '.join(lacking)}")
    return {name: json.dumps(body, separators=(",", ":")) for name, body in bodies.items()}


def wait_until_served(session):
    def is_served():
        try:
            return session.http("/get") is not None
        except OSError:
            return False

    wait_until(is_served, f"port {PORT} is served")


def ask(session, process, target, connections, seconds):
    """Requests a second, three latencies in milliseconds, and microseconds of the server's processor time for each
    request."""
    script = session.folder / "figures.lua"
    script.write_text(SCRIPT, encoding="ascii")
    before = processor_seconds(process.pid)
    output = session.run("wrk", "--threads", "1", "--connections", str(connections), "--duration", f"{seconds}s",
                         "--header", "Connection: close", "--script", script, f"http://127.0.0.1:{PORT}{target}").stdout
    used = processor_seconds(process.pid) - before
    figures = next(line for line in output.splitlines() if line.startswith("FIGURES")).split()[1:]
    requests, duration, *latencies, errors = (int(figure) for figure in figures)
    if errors:
        raise Failure(f"{errors} requests failed")
    return (requests * 1e6 / duration, *(latency / 1000 for latency in latencies), used * 1e6 / requests)


def ask_in_turn(session, servers, target, connections, options):
    """The medians of ask()'s figures for each server."""
    rounds = {server: [] for server in servers}
    for _ in range(options.rounds):
        for server, start in servers.items():
            process = start()
            wait_until_served(session)
            rounds[server].append(ask(session, process, target, connections, options.seconds))
            session.end(process)
    return {server: [statistics.median(figures) for figures in zip(*asked)] for server, asked in rounds.items()}


def rows(name, connections, medians):
    what = f"Loopback {name}, {connections} at once"
    ours, *peers = medians.items()

    def row(figures, unit, first, last, goal, labels=(), note="", missed=""):
        beside = tuple((server, tuple(measured[first:last])) for server, measured in peers)
        return Row(f"{what}: {figures}", unit, tuple(ours[1][first:last]), beside, (goal,), labels, note, missed)

    return [
        row("requests a second", "", 0, 1, ratio_at_least(1),
            note="wrk with one thread, a connection for each request; cpp-httplib reads and writes the same suite, "
                 "without asking whose the connection is; nginx has one worker, a constant body and no keep-alive. "
                 "Medians of rounds in turn."),
        row("answered within", "ms", 1, 4, at_most(MILLISECONDS[connections], figure=1),
            labels=("50 %", "99 %", "99.9 %"),
            note="wrk counts from the request on: what waits to be accepted is not in it, and cpp-httplib lets at most "
                 "five wait.",
            missed="The one thread that answers is busy without a pause then: each request waits for the 255 others, "
                   "and takes 45 to 50 µs, two thirds of them in the kernel. Answers kept from one request to the next "
                   "and commands stored together made that 13 ms. Both went again: they took 300 lines, and a keyboard "
                   "asks eight times a second."),
        row("processor time of the server", "µs", 4, 5, ratio_at_most(1), note=ASKED.get(name, "")),
    ]


def measure(options):
    table = []
    with PrivateSession(sound=False) as session:
        store_what_is_read(session)
        bodies = answers(session)
        servers = {
            "kavrin": lambda: session.start_kavrin("--background"),
            "cpp-httplib": lambda: session.start(session.bin.with_name("tests-bin") / "loopback_peer"),
            "nginx": lambda: start_nginx(session, bodies),
        }
        for name, target in TARGETS.items():
            for connections in MILLISECONDS:
                medians = ask_in_turn(session, servers, target, connections, options)
                table += rows(name, connections, medians)
    return table
