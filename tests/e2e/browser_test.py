# SPDX-License-Identifier: MIT
"""What web pages in the user's own browser get from the loopback server: nothing. A real Chromium opens the pages; all
that it sends goes through a relay that notes what Kavrin answers."""

import contextlib
import re
import shutil
import socket
import socketserver
import subprocess
import threading
import unittest

from support.private_session import PORT, PrivateSession, enter_private_namespaces, wait_until
from support.speech import SPOKEN

PAGE = "http://page.example"
NEAR = f"http://127.0.0.1:{PORT}"
REBOUND = f"http://rebound.example:{PORT}"  # a name of the page's own that it has made point to this machine
ALSO_NEAR = {"localhost": "localhost", "below": "kavrin.localhost", "6": "[::1]", "any": "0.0.0.0", "any-6": "[::]",
             "mapped": "[::ffff:127.0.0.1]"}

# What a page makes its browser do without asking the user.
DEEDS = {
    "image": '<img src="{url}">',
    "script": '<script src="{url}"></script>',
    "style": '<link rel="stylesheet" href="{url}">',
    "frame": '<iframe src="{url}"></iframe>',
    "object": '<object data="{url}"></object>',
    "module": '<script type="module">import("{url}")</script>',
    "fetch": '<script>fetch("{url}")</script>',
    "fetch-unread": '<script>fetch("{url}", {{mode: "no-cors"}})</script>',
    "post": '<script>fetch("{url}", {{method: "POST", mode: "no-cors"}})</script>',
    "beacon": '<script>navigator.sendBeacon("{url}")</script>',
    "form": '<form method="post" action="{url}"></form><script>document.forms[0].submit()</script>',
    "location": '<script>location = "{url}"</script>',
    "refresh": '<meta http-equiv="refresh" content="0; url={url}">',
    "window": '<script>open("{url}", "_blank", "noopener")</script>',
    "long": '<script>location = "{url}&x=" + "x".repeat(9000)</script>',
}


PAGE_HEAD = b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n\r\n"


def answer(body):
    """The whole answer that has this body."""
    return (b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: %d\r\nConnection: close\r\n\r\n"
            % len(body)) + body


class Relay(socketserver.ThreadingTCPServer):
    """Serves the pages, under any host, and hands on to Kavrin what bears a name: "&from=" in its target."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Exchange)
        self.start_page = ""
        self.answers = {}  # Kavrin's, by that name
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Exchange(socketserver.BaseRequestHandler):
    def handle(self):
        request = self.request.recv(65536)
        target = request.decode("latin-1").partition(" ")[2].partition(" ")[0]
        if target == "/start":
            self.request.sendall(PAGE_HEAD + self.server.start_page.encode())
        elif way := re.match("/page/(.*?)/(.*)", target):
            self.request.sendall(PAGE_HEAD + DEEDS[way[1]].format(url=way[2]).encode())
        elif way := re.match("/redirect/(.*)", target):
            self.request.sendall(b"HTTP/1.1 302 Found\r\nConnection: close\r\nLocation: %s\r\n\r\n" % way[1].encode())
        elif name := re.search(r"&from=([^&]+)", target):
            self.server.answers[name[1]] = self.kavrin_s_answer(request)

    def kavrin_s_answer(self, request):
        with socket.create_connection(("127.0.0.1", PORT), timeout=30) as kavrin, kavrin.makefile("rb") as answer:
            kavrin.sendall(request)
            with contextlib.suppress(ConnectionResetError):
                return answer.read()
        return b""


class Browser(unittest.TestCase):
    def setUp(self):
        if not shutil.which("chromium"):
            self.skipTest("chromium is not installed")
        self.session = self.enterContext(PrivateSession(sound=False))
        self.session.start_kavrin("--background")
        self.suite = self.session.suite()
        self.suite.set("transcript", "string", SPOKEN)
        self.relay = self.enterContext(Relay())
        self.addCleanup(self.relay.shutdown)

    def open(self, address):
        return self.session.start(
            "chromium", "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-popup-blocking",
            f"--user-data-dir={self.session.folder}/browser",
            f"--host-resolver-rules=MAP * 127.0.0.1:{self.relay.server_address[1]}", address,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def expect_answers(self, address, expected):
        """Opens the address, as another program does, and expects these answers of Kavrin to what follows, by name."""
        browser = self.open(address)
        with contextlib.suppress(TimeoutError):
            wait_until(lambda: expected.keys() <= self.relay.answers.keys(), "an answer to each", limit=60)
        self.session.end(browser)
        self.assertEqual(self.relay.answers, expected)
        self.assertEqual((self.suite.get("dictationCommand"), self.suite.get("tUsed")), (None, None))

    def expect_answers_to_pages(self, pages, expected):
        """The same of pages, by name, each in a window of its own."""
        self.relay.start_page = "".join(f'<script>open("{page}", "_blank", "noopener")</script>'
                                        for page in pages.values())
        self.expect_answers(f"{PAGE}/start", expected)

    def test_gives_a_page_nothing_and_does_nothing_for_it(self):
        pages = {deed: f"{PAGE}/page/{deed}/{NEAR}/cmd?v=start&from={deed}" for deed in DEEDS if deed != "long"}
        pages |= {name: f"{PAGE}/page/location/http://{host}:{PORT}/cmd?v=start&from={name}"
                  for name, host in ALSO_NEAR.items()}
        self.expect_answers_to_pages(pages, dict.fromkeys(pages, b""))

    def test_gives_a_page_nothing_whose_own_name_leads_to_this_machine(self):
        pages = {deed: f"{REBOUND}/page/{deed}/{REBOUND}/get?&from={deed}" for deed in ("fetch", "frame", "location")}
        pages["used"] = f"{REBOUND}/page/fetch/{REBOUND}/used?t=1.5&from=used"
        self.expect_answers_to_pages(pages, dict.fromkeys(pages, b""))

    def test_does_nothing_for_a_link_opened_from_another_program(self):
        self.expect_answers(f"{NEAR}/cmd?v=start&from=link", {"link": b""})

    def test_does_nothing_where_an_opened_link_is_redirected(self):
        self.expect_answers(f"{PAGE}/redirect/{NEAR}/cmd?v=start&from=link", {"link": b""})

    def test_gives_a_page_nothing_for_an_address_that_leaves_no_room_for_headers(self):
        pages = {"cmd": f"{PAGE}/page/long/{NEAR}/cmd?v=start&from=cmd",
                 "used": f"{PAGE}/page/long/{NEAR}/used?t=1.5&from=used",
                 "get": f"{REBOUND}/page/long/{REBOUND}/get?&from=get"}
        ok, nothing = answer(b'{"ok":true}'), answer(b"{}")
        self.expect_answers_to_pages(pages, {"cmd": ok, "used": ok, "get": nothing})


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
