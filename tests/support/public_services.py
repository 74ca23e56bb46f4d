# SPDX-License-Identifier: MIT
"""OpenAI and Gemini on this machine: their names lead here over a proxy, with a certificate that the session trusts."""

import contextlib
import http.server
import json
import ssl
import subprocess
import threading

NAMES = ("api.openai.com", "generativelanguage.googleapis.com")


class _Handler(http.server.BaseHTTPRequestHandler):
    """A proxy that answers in the place of every server that it is asked to connect to."""

    def do_CONNECT(self):
        self.send_response(200)
        self.end_headers()
        self.connection = self.server.tls.wrap_socket(self.connection, server_side=True)
        self.rfile = self.connection.makefile("rb", -1)
        self.wfile = self.connection.makefile("wb", 0)
        self.close_connection = False

    def finish(self):
        super().finish()
        self.connection.close()

    def answer(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self.server.asked.append((self.command, self.path, self.headers.get("Authorization"), body))
        answer = json.dumps(self.server.answers.get((self.command, self.path.partition("?")[0]), {"error": "?"})).encode()
        self.send_response(200)
        self.send_header("Content-Length", str(len(answer)))
        self.end_headers()
        self.wfile.write(answer)

    do_GET = do_POST = answer

    def log_message(self, *_):
        pass


class PublicServices(contextlib.AbstractContextManager):
    """`answers`: method and path to JSON. `asked` is what has come: method, target, Authorization, body."""

    def __init__(self, session, answers):
        certificate, key = session.folder / "public.pem", session.folder / "public-key.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                        "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=Kavrin",
                        "-addext", "subjectAltName=" + ",".join(f"DNS:{name}" for name in NAMES),
                        "-out", certificate, "-keyout", key], check=True, capture_output=True)
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), _Handler)
        self.server.daemon_threads = True
        self.server.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.server.tls.load_cert_chain(certificate, key)
        self.server.answers = answers
        self.server.asked = self.asked = []
        session.env["https_proxy"] = f"http://127.0.0.1:{self.server.server_port}"
        session.env["SSL_CERT_FILE"] = str(certificate)

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()
