# SPDX-License-Identifier: MIT
"""How many requests the loopback server answers, how soon, and what each costs it, beside nginx with a constant body
and cpp-httplib doing the same work.

A connection is for one request. wrk asks as fast as it is answered, so on few cores it and the kernel set the pace;
what tells the servers apart is the processor time that a request costs them.
"""

import argparse
import pathlib
import platform
import sys
import tempfile
import time

from figures import processor_seconds

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests"))
from support.private_session import PORT, PrivateSession, enter_private_namespaces, wait_until  # noqa: E402

KEYS = {"dictationState": "done", "transcript": "ten of clubs, and a few words more", "dictationCommand": ""}
TARGETS = {"/get": "/get", "/cmd": "/cmd?v=stop"}
SCRIPT = """
request = function() return "GET %s HTTP/1.1\\r\\nHost: 127.0.0.1\\r\\nConnection: close\\r\\n\\r\\n" end
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
    access_log off; keepalive_timeout 0; server_tokens off;
    client_body_temp_path %(folder)s/body; proxy_temp_path %(folder)s/proxy; fastcgi_temp_path %(folder)s/fastcgi;
    uwsgi_temp_path %(folder)s/uwsgi; scgi_temp_path %(folder)s/scgi;
    server { listen 127.0.0.1:%(port)s; location / { default_type application/json; return 200 '%(body)s'; } }
}
"""


def measure(session, process, target, connections, seconds):
    """Requests a second, three latencies in milliseconds, and microseconds of the server's processor time each."""
    script = session.folder / "requests.lua"
    script.write_text(SCRIPT % target, encoding="ascii")
    before = processor_seconds(process.pid)
    output = session.run("wrk", "--threads", "1", "--connections", str(connections), "--duration", f"{seconds}s",
                         "--script", script, f"http://127.0.0.1:{PORT}").stdout
    used = processor_seconds(process.pid) - before
    figures = next(line for line in output.splitlines() if line.startswith("FIGURES")).split()[1:]
    requests, duration, *latencies, errors = (int(figure) for figure in figures)
    if errors:
        sys.exit(f"{errors} requests failed.")
    return (requests * 1e6 / duration, *(latency / 1000 for latency in latencies), used * 1e6 / requests)


def start_nginx(session, body):
    folder = tempfile.mkdtemp(dir=session.folder)
    configuration = pathlib.Path(folder, "nginx.conf")
    configuration.write_text(NGINX % {"folder": folder, "port": PORT, "body": body}, encoding="utf-8")
    return session.start("nginx", "-p", folder, "-c", configuration)


def wait_until_served(session):
    def answers():
        try:
            return session.http("/get") is not None
        except OSError:
            return False

    wait_until(answers, f"port {PORT} is served")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=int, default=8, help="how long each server is asked (8)")
    options = parser.parse_args()
    enter_private_namespaces()
    with PrivateSession(sound=False) as session:
        suite = session.suite()
        for key, value in KEYS.items():
            suite.set(key, "string", value)
        for key in ("dictationAlive", "tStamp"):
            suite.set(key, "double", time.time())
        kavrin = session.start_kavrin("--background")
        body = str(session.http("/get")).replace("'", '"')
        session.end(kavrin)
        peer = session.bin.parent / "tests-bin" / "loopback_peer"
        servers = {
            "kavrin": lambda: session.start_kavrin("--background"),
            "nginx, constant body": lambda: start_nginx(session, body),
            "cpp-httplib, same work": lambda: session.start(peer),
        }
        print(f"One request a connection on {platform.node()}, {options.seconds} s each, {time.strftime('%Y-%m-%d')}")
        print(f"  {'':<40} {'requests/s':>10} {'50 %':>9} {'99 %':>9} {'99.9 %':>9} {'processor':>13}")
        for name, target in TARGETS.items():
            for connections in (16, 256):
                for server, start in servers.items():
                    process = start()
                    wait_until_served(session)
                    rate, *latencies, cost = measure(session, process, target, connections, options.seconds)
                    session.end(process)
                    columns = " ".join(f"{latency:>6.2f} ms" for latency in latencies)
                    print(f"  {f'{name}, {connections} at once: {server}':<40} {rate:>10.0f} {columns} {cost:>7.1f} us each")


if __name__ == "__main__":
    main()
