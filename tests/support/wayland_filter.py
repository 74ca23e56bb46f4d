# SPDX-License-Identifier: MIT
"""A Wayland display that is another one without a protocol of it."""

import contextlib
import os
import socket
import struct
import threading

_DISPLAY = 1  # the number of the object that every client begins with
_GET_REGISTRY = 1  # its request
_GLOBAL = 0  # the event of a registry that offers a protocol
_MOST_DESCRIPTORS = 28  # in one message of libwayland


class WaylandFilter:
    """Listens on a socket, and hands every client on to the display at another socket."""

    def __init__(self, path, display, hidden):
        self._display, self._hidden = str(display), hidden.encode() + b"\0"
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(path))
        self._listener.listen()
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            client, server = self._listener.accept()[0], socket.socket(socket.AF_UNIX)
            server.connect(self._display)
            registries = set()
            for arguments in ((client, server, lambda message: self._note(message, registries)),
                              (server, client, lambda message: self._is_shown(message, registries))):
                threading.Thread(target=_hand_on, args=arguments, daemon=True).start()

    @staticmethod
    def _note(message, registries):
        target, number = _header(message)
        if (target, number) == (_DISPLAY, _GET_REGISTRY):
            registries.update(struct.unpack_from("I", message, 8))
        return True

    def _is_shown(self, message, registries):
        sender, number = _header(message)
        return not (sender in registries and number == _GLOBAL and self._hidden in message)


def _header(message):
    """The object and the number of its request or event."""
    object_number, word = struct.unpack_from("II", message)
    return object_number, word & 0xffff


def _size(data):
    return struct.unpack_from("II", data)[1] >> 16 if len(data) >= 8 else 8


def _hand_on(source, target, is_wanted):
    """Until one of them goes. Descriptors go ahead with what is complete."""
    data, descriptors = b"", []
    with contextlib.suppress(OSError):
        while True:
            part, more, *_ = socket.recv_fds(source, 65536, _MOST_DESCRIPTORS)
            if not part:
                break
            data, descriptors, wanted = data + part, descriptors + more, b""
            while len(data) >= _size(data):
                message, data = data[:_size(data)], data[_size(data):]
                wanted += message if is_wanted(message) else b""
            if wanted:
                target.sendall(wanted[socket.send_fds(target, [wanted], descriptors):])
                for descriptor in descriptors:
                    os.close(descriptor)
                descriptors = []
    for end in (source, target):
        with contextlib.suppress(OSError):
            end.shutdown(socket.SHUT_RDWR)
