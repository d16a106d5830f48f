"""A photo on its way to the disk, seen while it is being written."""

import contextlib

from waiting import wait_until

# A raw mode of 12 megapixels with a sensor's noise: 25 MB that take some tenths of a second to write.
LARGE = "name=desk,title=Desk camera,modes=NV12:4000x3000@10,noise=20"
LARGE_BYTES = 25_000_000


class Save:
    """The next photo that is written in the folder; what is there already belongs to others."""

    def __init__(self, folder):
        self._folder = folder
        self._earlier = {path.name for path in folder.iterdir()}

    def _new(self, pattern):
        return [path for path in self._folder.glob(pattern) if path.name not in self._earlier]

    def size(self):
        """The bytes written so far; None while the photo has no file yet, and when it has got its name."""
        for path in self._new(".*.quillo-part"):
            with contextlib.suppress(FileNotFoundError):  # it has just got its name
                return path.stat().st_size
        return None

    def wait_for(self, size):
        """Returns once so many bytes have been written, or the photo has its name."""
        wait_until(lambda: self.has_begun(size), self._folder, what="the save")

    def has_begun(self, size=0):
        """Whether so many bytes have been written, or the photo has its name."""
        return self._has(size) or bool(self._new("*.png"))

    def _has(self, size):
        written = self.size()
        return written is not None and written >= size

    def wait_for_name(self):
        wait_until(lambda: self._new("*.png"), self._folder, what="the photo")
