#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Shows a text field of another program, and keeps what is in it in a file: field.py PROGRAM FILE. PROGRAM is qt,
gtk, terminal or chromium. Under X11 and sway, the file is there once the field has the focus."""

import glob
import http.server
import json
import os
import pathlib
import subprocess
import sys
import threading
import time

PROGRAM, FILE = sys.argv[1], pathlib.Path(sys.argv[2])
WAYLAND = os.environ.get("QT_QPA_PLATFORM") == "wayland"
SWAY_SOCKETS = glob.glob(str(pathlib.Path(os.environ.get("WAYLAND_DISPLAY", "")).parent / "sway-ipc.*.sock"))

# What runs in the terminal. It takes keys one by one, as an editor does.
IN_TERMINAL = 'stty raw -echo; exec /usr/bin/python3 "$0" in-terminal "$1"'

PAGE = b"""<!doctype html><meta charset=utf-8><title>field</title><textarea id=field></textarea><script>
let sent = Promise.resolve()
const send = () => sent = sent.then(() => fetch('/', {method: 'POST', body: field.value}))
field.oninput = field.onfocus = send
field.onkeydown = () => { fetch('/key', {method: 'POST', body: ''}) }
field.focus()
if (document.hasFocus())
    send()
window.onfocus = send
</script>"""


def keep(text):
    part = FILE.with_suffix(".part")
    part.write_bytes(text)
    part.rename(FILE)


def wait_until(condition):
    while not condition():
        time.sleep(0.01)


def sway(question):
    return json.loads(subprocess.run(["swaymsg", "--raw", "--socket", SWAY_SOCKETS[0], "--type", question], check=True,
                                     capture_output=True).stdout)


def has_focus(node):
    return node["focused"] and node["type"] == "con" and node.get("pid") or any(
        has_focus(child) for child in node["nodes"])


def focus():
    """Waits for the window, and gives it the focus where no window manager does."""
    if SWAY_SOCKETS:
        wait_until(lambda: has_focus(sway("get_tree")))
    elif not WAYLAND:
        wait_until(takes_focus)


def takes_focus():
    """Chromium has a window for a moment that is gone before it gets the focus."""
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^field$", "windowfocus", "--sync", "%@"],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0


def gtk():
    import gi
    gi.require_version("Gtk", "3.0")
    from gi.repository import Gtk
    window = Gtk.Window(title="field")
    field = Gtk.TextView()
    content = field.get_buffer()

    def show(*_):
        keep(content.get_text(content.get_start_iter(), content.get_end_iter(), True).encode())

    content.connect("changed", show)
    field.connect("focus-in-event", lambda *_: show() if not FILE.exists() else None)
    window.add(field)
    window.show_all()
    if not WAYLAND:
        threading.Thread(target=focus, daemon=True).start()
    Gtk.main()


def terminal():
    inside = ["sh", "-c", IN_TERMINAL, __file__, str(FILE)]
    if WAYLAND:
        os.execvp("foot", ["foot", "--title", "field", "--log-level", "none", *inside])
    os.execvp("xterm", ["xterm", "-u8", "-title", "field", "-e", *inside])


def in_terminal():
    focus()
    text = b""
    keep(text)
    while part := os.read(0, 65536):
        text += part
        keep(text)


class Page(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.answer(PAGE)

    hears_keys = threading.Event()

    def do_POST(self):
        if self.path == "/key":
            self.hears_keys.set()
        else:
            self.hears_keys.wait()
            keep(self.rfile.read(int(self.headers["Content-Length"])))
        self.answer(b"")

    def answer(self, body):
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


def chromium():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Page)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    browser = subprocess.Popen(["chromium", "--no-sandbox", "--no-first-run", "--disable-gpu", "--password-store=basic",
                                f"--user-data-dir={FILE.parent}/browser",
                                f"--ozone-platform={'wayland' if WAYLAND else 'x11'}",
                                f"--app=http://127.0.0.1:{server.server_port}/"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    focus()
    press = ["wtype", "-k", "Shift_L"] if SWAY_SOCKETS else ["xdotool", "key", "Shift_L"]
    while not Page.hears_keys.wait(0.2):  # the window has the focus before its page hears of keys
        if SWAY_SOCKETS or not WAYLAND:
            subprocess.run(press, check=True)
    browser.wait()


if SWAY_SOCKETS:
    wait_until(lambda: any(device["type"] == "keyboard" for device in sway("get_inputs")))
{"gtk": gtk, "terminal": terminal, "in-terminal": in_terminal, "chromium": chromium}[PROGRAM]()
