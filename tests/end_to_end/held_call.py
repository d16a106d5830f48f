"""A file on its way to the disk, stopped at a call of the program for as long as a test likes."""

import os
import socket
from pathlib import Path

from waiting import BOUND

DECODING = "jpeg_start_decompress"  # of the still: its frame has come, its pixels have not
SAVING = "fsync"  # of its file: all is written, nothing has its name
LOOKING = "stat"  # at a file or folder


class HeldCall:
    """Surroundings for a program, `environment`, in which files that have `file` in their paths, the photos, stop at that
    call. Used in a `with` block, whose end lets everything go on."""

    def __init__(self, call, file=".png"):
        path = Path(os.environ["XDG_RUNTIME_DIR"]) / "held-call"
        # The library's own path may have spaces, at which the variable's value is split.
        library = path.with_suffix(".so")
        library.unlink(missing_ok=True)
        library.symlink_to(os.environ["CAMERA_SHOT_HELD_CALL"])
        self.environment = {"LD_PRELOAD": str(library), "HELD_CALL": call, "HELD_FILE": file, "HELD_CALL_SOCKET": str(path)}
        self._call = call
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.settimeout(BOUND)
        self._listener.bind(os.fspath(path))
        self._listener.listen()
        self._held = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.release()

    def wait(self):
        """Returns when the program has reached the call."""
        try:
            self._held, _ = self._listener.accept()
        except TimeoutError:
            raise AssertionError(f"{self._call} was not reached within {BOUND} s") from None

    def release(self):
        """The call that was waited for goes on, and none that comes later is held."""
        self._listener.close()
        if self._held:
            self._held.close()
