# SPDX-License-Identifier: MIT
"""Presses the keys of a desktop, as a person at its keyboard does: hands_of(session).tap("ctrl", "alt", "d")."""

import contextlib
import os
import socket
import struct
import time

from support.desktop import Bus

# As <linux/input-event-codes.h> numbers them.
KEYS = {"escape": 1, "minus": 12, "tab": 15, "enter": 28, "ctrl": 29, "d": 32, "shift": 42, "x": 45, "alt": 56,
        "space": 57, "super": 125}
PACE = 0.03  # seconds between two events
MUTTER = "org.gnome.Mutter.RemoteDesktop"


class Hands:
    """The subclass says how an event reaches the desktop."""

    def _send(self, code, is_down):
        raise NotImplementedError

    @contextlib.contextmanager
    def holding(self, *keys):
        self._send_all(keys, True)
        try:
            yield
        finally:
            self._send_all(reversed(keys), False)

    def tap(self, *keys):
        with self.holding(*keys):
            pass

    def _send_all(self, keys, is_down):
        for key in keys:
            self._send(KEYS[key], is_down)
            time.sleep(PACE)


class GnomeHands(Hands):
    """A keyboard that stays plugged in for as long as this object's connection to the bus."""

    def __init__(self, session):
        self._bus = Bus(session)
        self._path = self._bus.call(MUTTER, "/org/gnome/Mutter/RemoteDesktop", MUTTER, "CreateSession")[0]
        self._bus.call(MUTTER, self._path, f"{MUTTER}.Session", "Start")

    def _send(self, code, is_down):
        self._bus.call(MUTTER, self._path, f"{MUTTER}.Session", "NotifyKeyboardKeycode", "(ub)", code, is_down)


class PlasmaHands(Hands):
    """Speaks the Wayland protocol org_kde_kwin_fake_input, version 4."""

    DISPLAY, REGISTRY, CALLBACK, INPUT = 1, 2, 3, 4  # numbers of objects
    NAME = b"org_kde_kwin_fake_input"

    def __init__(self, session):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(30)
        self._socket.connect(os.path.join(session.env["XDG_RUNTIME_DIR"], session.env["WAYLAND_DISPLAY"]))
        self._request(self.DISPLAY, 1, struct.pack("I", self.REGISTRY))  # get_registry
        self._request(self.DISPLAY, 0, struct.pack("I", self.CALLBACK))  # sync
        bind = struct.pack("I", self._find()) + _text(self.NAME) + struct.pack("II", 4, self.INPUT)
        self._request(self.REGISTRY, 0, bind)
        self._request(self.INPUT, 0, _text(b"hands") + _text(b"a person's"))  # authenticate

    def _request(self, target, number, body):
        self._socket.sendall(struct.pack("II", target, (len(body) + 8) << 16 | number) + body)

    def _find(self):
        """The number of the protocol in the registry."""
        data = b""
        while True:
            while len(data) < 8 or len(data) < struct.unpack_from("II", data)[1] >> 16:
                data += self._socket.recv(65536)
            sender, word = struct.unpack_from("II", data)
            body, data = data[8:word >> 16], data[word >> 16:]
            if sender == self.REGISTRY and self.NAME + b"\0" in body:
                return struct.unpack_from("I", body)[0]
            if sender == self.CALLBACK:
                raise LookupError("this KWin lets nobody press keys")

    def _send(self, code, is_down):
        self._request(self.INPUT, 10, struct.pack("II", code, is_down))


class X11Hands(Hands):
    """Speaks XTEST, by xdotool."""

    def __init__(self, session):
        self._session = session

    def _send(self, code, is_down):
        """X11 numbers keys from 8 on. A number below 10 would be the name of a digit, so there are three digits."""
        self._session.run("xdotool", "keydown" if is_down else "keyup", f"{code + 8:03}")


def _text(text):
    size = len(text) + 1
    return struct.pack("I", size) + text.ljust(size + -size % 4, b"\0")
