"""The runner's own control socket: one request a connection, answered when it has taken effect."""

import os
import selectors
import socket

from .failures import DesktopError

_LONGEST_REQUEST = 65536


class ControlServer:
    """Listens at `path` and has `answer(request)` return the text that follows "ok"."""

    def __init__(self, path, answer):
        self._path = path
        self._answer = answer
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(path)
        self._listener.listen()
        self._connections = {}
        self._selector = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for connection in (self._listener, *self._connections):
            connection.close()
        os.unlink(self._path)

    def register(self, selector):
        """The data of the selector's keys are functions to call."""
        self._selector = selector
        selector.register(self._listener, selectors.EVENT_READ, self._accept)

    def _accept(self):
        connection, _ = self._listener.accept()
        self._connections[connection] = b""
        self._selector.register(connection, selectors.EVENT_READ, lambda: self._read(connection))

    def _read(self, connection):
        part = connection.recv(4096)
        request = self._connections[connection] = self._connections[connection] + part
        if part and b"\n" not in request and len(request) < _LONGEST_REQUEST:
            return
        try:
            if b"\n" in request:
                connection.sendall(self._respond(request.partition(b"\n")[0].decode(errors="replace")))
        except OSError:
            pass  # whoever asked is gone
        finally:
            self._selector.unregister(connection)
            del self._connections[connection]
            connection.close()

    def _respond(self, request):
        try:
            return f"ok {self._answer(request)}".strip().encode() + b"\n"
        except DesktopError as error:
            return f"error {error}".replace("\n", " | ").encode() + b"\n"
