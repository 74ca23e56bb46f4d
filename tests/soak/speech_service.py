# SPDX-License-Identifier: MIT
"""A speech service that does what its address says: http://127.0.0.1:PORT/MANNER/NUMBER.

Which way a request is treated is told by the address alone, so nothing has to be agreed on while requests come and go.
"""

import gzip
import json
import os
import socket
import socketserver
import struct
import threading
import time

ANSWERS = ("answers", "answers slowly", "redirects", "sends trailers")
FAILURES = ("refuses", "fails", "answers rubbish", "answers no HTTP", "answers another form", "answers nothing",
            "cuts short", "resets", "hangs up", "hangs", "redirects for ever", "explodes", "has no end")
SLOW = ("trickles", "answers too late")  # the client has had enough after a minute

_SILENCE = 75  # seconds; longer than any client waits
_HANGING = 2  # seconds
_PAUSE = 0.2  # seconds between two pieces of a slow answer
_TRICKLE = 1  # seconds between two bytes
_BOMB = gzip.compress(bytes(64 * 1024 * 1024))


def text_of(number):
    """What the service understands in the recording that is sent to the address with this number."""
    return f"These are the words of dictation {number}, said aloud: ğüş 語."


def address(port, manner, number):
    return f"http://127.0.0.1:{port}/{manner.replace(' ', '-')}/{number}"


class SpeechService(socketserver.ThreadingTCPServer):
    """Serves in threads of the process that makes it."""

    daemon_threads = True
    request_queue_size = 64

    def __init__(self):
        super().__init__(("127.0.0.1", 0), _Exchange)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    @property
    def port(self):
        return self.server_address[1]

    def handle_error(self, *_):
        pass  # clients that have gone do not wait for their answer


class _Exchange(socketserver.StreamRequestHandler):
    def handle(self):
        target = self.rfile.readline().split()[1].decode()
        headers = {}
        while (line := self.rfile.readline().strip()):
            name, _, value = line.decode().partition(":")
            headers[name.lower()] = value.strip()
        self._manner, self._number = target.strip("/").split("/")[:2]
        self._size = int(headers.get("content-length", 0))
        self._key = headers.get("authorization", "")
        getattr(self, "_" + self._manner.replace("-", "_"))()

    def _read_recording(self):
        self.rfile.read(self._size)

    def _send(self, status, body, *headers, length=None):
        lines = [f"HTTP/1.1 {status}", f"Content-Length: {len(body) if length is None else length}",
                 "Connection: close", *headers, "", ""]
        self._read_recording()
        self.wfile.write("\r\n".join(lines).encode() + body)

    def _transcript(self):
        return json.dumps({"text": text_of(self._number)}).encode()

    def _answers(self):
        self._send("200 OK", self._transcript())

    def _answers_slowly(self):
        body = self._transcript()
        self._send("200 OK", b"", length=len(body))
        for piece in (body[:9], body[9:40], body[40:]):
            time.sleep(_PAUSE)
            self.wfile.write(piece)

    def _redirects(self):
        self._send("307 Temporary Redirect", b"", f"Location: /answers/{self._number}")

    def _refuses(self):
        body = json.dumps({"error": {"message": f"no such key: {self._key}"}})
        self._send("401 Unauthorized", body.encode())

    def _fails(self):
        self._send("500 Internal Server Error", b"<html><h1>Sorry</h1></html>")

    def _answers_rubbish(self):
        self._send("200 OK", os.urandom(3000))

    def _answers_no_HTTP(self):
        self._read_recording()
        self.wfile.write(os.urandom(3000))

    def _answers_another_form(self):
        self._send("200 OK", b'{"text":["no","string"]}')

    def _answers_nothing(self):
        self._send("200 OK", b"")

    def _cuts_short(self):
        self._send("200 OK", b'{"text":"half a', length=5000)

    def _resets(self):
        self.rfile.read(self._size // 2)
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.connection.close()

    def _hangs_up(self):
        self._read_recording()

    def _hangs(self):
        self._read_recording()
        time.sleep(_HANGING)

    def _answers_too_late(self):
        time.sleep(_SILENCE)
        self._answers()

    def _trickles(self):
        body = self._transcript()
        self._send("200 OK", b"", length=len(body))
        for byte in body:
            time.sleep(_TRICKLE)
            self.wfile.write(bytes([byte]))

    def _explodes(self):
        self._send("200 OK", _BOMB, "Content-Encoding: gzip")

    def _sends_trailers(self):
        self._begin_pieces("Trailer: Served-By")
        self._send_piece(self._transcript())
        self.wfile.write(b"0\r\nServed-By: soak\r\nContent-Length: 7\r\n\r\n")

    def _has_no_end(self):
        self._begin_pieces()
        while True:
            self._send_piece(b" " * 65536)

    def _begin_pieces(self, *headers):
        lines = ["HTTP/1.1 200 OK", "Transfer-Encoding: chunked", "Connection: close", *headers, "", ""]
        self._read_recording()
        self.wfile.write("\r\n".join(lines).encode())

    def _send_piece(self, piece):
        self.wfile.write(b"%x\r\n%s\r\n" % (len(piece), piece))

    def _redirects_for_ever(self):
        self._send("307 Temporary Redirect", b"", f"Location: /redirects-for-ever/{self._number}")
