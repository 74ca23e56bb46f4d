# SPDX-License-Identifier: MIT
"""Measures how many requests the loopback server answers, how soon, and the cost of each request. The peers are nginx
with a constant body, and cpp-httplib, which reads and writes the same suite.

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
from table import Row, ratio_at_least, ratio_at_most

OPTIONS = {"seconds": (1, 1, "how long each server is asked in a round"),
           "rounds": (15, 1, "rounds, of which the median is taken")}
TEXTS = {"dictationState": "done", "transcript": "ten of clubs, and a few words more"}
STAMPS = ("dictationAlive", "tStamp", "tUsed")
TARGETS = {"/get": "/get", "/cmd": "/cmd?v=stop", "/used": "/used?t=%d"}  # another number each time
SCRIPT = """
local count = 0
request = function()
    count = count + 1
    return string.format("GET %s HTTP/1.1\\r\\nHost: 127.0.0.1\\r\\nConnection: close\\r\\n\\r\\n", count)
end
done = function(summary, latency)
    io.write(string.format("FIGURES %%d %%d %%d %%d %%d %%d\\n", summary.requests, summary.duration,
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
        location /used { return 200 '%(done)s'; }
    }
}
"""

HELD_TO_GOALS = ("/get", "/cmd")

TRIED = ("Some 4 µs of Kavrin's processor time are the question to the kernel whose the connection is, 2 µs the look "
         "whether the suite has changed. Kept of what was tried: connections that the kernel keeps until their request "
         "is there, answers past the event loop and without a coroutine, no second reading of what has not changed, no "
         "second storing of what stands there. Not kept: storing in the thread that answers, which is hardly sooner, "
         "and whoever holds the suite would keep all others waiting.")
ASKED = {"/cmd": "One command again and again: stored anew only when Kavrin has taken it out of the suite, which it "
                 "does every 120 ms.",
         "/used": "Another stamp each time, stored before it is answered; those that wait at a time are stored "
                 "together. nginx stores nothing."}


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
    script = session.folder / "requests.lua"
    script.write_text(SCRIPT % target, encoding="ascii")
    before = processor_seconds(process.pid)
    output = session.run("wrk", "--threads", "1", "--connections", str(connections), "--duration", f"{seconds}s",
                         "--script", script, f"http://127.0.0.1:{PORT}").stdout
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
    asked = ASKED.get(name, "")

    def row(figures, unit, first, last, goal, labels=(), note=""):
        beside = tuple((server, tuple(measured[first:last])) for server, measured in peers)
        goals = (goal,) if name in HELD_TO_GOALS else ()
        return Row(f"{what}: {figures}", unit, tuple(ours[1][first:last]), beside, goals, labels, note, missed=TRIED)

    return [
        row("requests a second", "", 0, 1, ratio_at_least(1),
            note="wrk with one thread, a connection for each request; nginx has one worker, a constant body and no "
                 "keep-alive; cpp-httplib reads and writes the same suite, each request for itself and without "
                 "asking whose the connection is. Only Kavrin's listener leaves connections to the kernel until their "
                 "request is there. Medians of rounds in turn."),
        row("answered within", "ms", 1, 4, ratio_at_most(1, figure=1), labels=("50 %", "99 %", "99.9 %"),
            note="wrk counts from the request on: what waits to be accepted is not in it, and cpp-httplib lets at most "
                 "five wait."),
        row("processor time of the server", "µs", 4, 5, ratio_at_most(1.3), note=asked),
    ]


def measure(options):
    table = []
    with PrivateSession(sound=False) as session:
        store_what_is_read(session)
        bodies = answers(session)
        servers = {
            "kavrin": lambda: session.start_kavrin("--background"),
            "nginx": lambda: start_nginx(session, bodies),
            "cpp-httplib": lambda: session.start(session.bin.with_name("tests-bin") / "loopback_peer"),
        }
        for name, target in TARGETS.items():
            for connections in (16, 256):
                medians = ask_in_turn(session, servers, target, connections, options)
                table += rows(name, connections, medians)
    return table
