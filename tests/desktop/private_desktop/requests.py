"""Requests to a control socket: a line goes out, a line comes back."""

import socket

from .failures import DesktopError

ANSWER_SECONDS = 30  # longer than anything that a desktop waits for


def ask(path, request, seconds=ANSWER_SECONDS):
    """Returns what follows "ok" in the answer; raises DesktopError for any other answer or none."""
    answer = b""
    try:
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(seconds)
            connection.connect(path)
            connection.sendall(request.encode() + b"\n")
            while not answer.endswith(b"\n"):
                part = connection.recv(4096)
                if not part:
                    raise DesktopError(f"no answer to '{request}'")
                answer += part
    except socket.timeout as error:
        raise DesktopError(f"no answer to '{request}' within {seconds} s") from error
    except OSError as error:
        raise DesktopError(f"{path}: {error.strerror}") from error
    verdict, _, text = answer.decode().strip().partition(" ")
    if verdict != "ok":
        raise DesktopError(text)
    return text
