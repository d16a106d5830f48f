"""Waiting for what happens, never for time: every wait sleeps in the kernel until something moves, and has a bound."""

import ctypes
import itertools
import os
import select
import time

# Seconds; far above anything that is waited for, so that only a fault reaches it. As a private desktop, which waits for ten
# at most, a slow machine has more.
BOUND = 2.0 * float(os.environ.get("CAMERA_DESKTOP_WAIT_SECONDS", "10"))

_IN_MODIFY, _IN_MOVED_TO, _IN_CREATE, _IN_DELETE, _IN_CLOSE_WRITE = 0x2, 0x80, 0x100, 0x200, 0x8
_libc = ctypes.CDLL(None, use_errno=True)


class FolderWatch:
    """Tells when anything changes in the given folders (inotify); those that are missing are watched from their parent."""

    def __init__(self, *folders):
        self._fd = _libc.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
        if self._fd < 0:
            error = ctypes.get_errno()
            raise OSError(error, f"{os.strerror(error)}: this user's programs watch too many folders; run fewer tests beside each "
                                 "other (ctest --parallel), or raise fs.inotify.max_user_instances (sysctl)")
        mask = _IN_MODIFY | _IN_MOVED_TO | _IN_CREATE | _IN_DELETE | _IN_CLOSE_WRITE
        for folder in folders:
            if _libc.inotify_add_watch(self._fd, os.fsencode(folder), mask) < 0:
                raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), str(folder))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self._fd)

    def fileno(self):
        """Readable when something has changed."""
        return self._fd

    def wait(self, seconds):
        """Returns once something has changed, or after that time."""
        if select.select([self._fd], [], [], max(0.0, seconds))[0]:
            os.read(self._fd, 65536)


def wait_until(condition, *folders, what="the awaited event", bound=BOUND):
    """Returns the condition's first true answer; it is asked again whenever something changes in the folders."""
    deadline = time.monotonic() + bound
    with FolderWatch(*folders) as watch:
        while True:
            if answer := condition():
                return answer
            if time.monotonic() > deadline:
                raise AssertionError(f"{what} did not come within {bound} s")
            watch.wait(deadline - time.monotonic())


def until_in_time(attempt, what):
    """Repeats an attempt to come at a moment that passes by itself, for a minute and at least five times; returns its first
    true answer."""
    deadline = time.monotonic() + 60
    for number in itertools.count(1):
        if answer := attempt():
            return answer
        if number >= 5 and time.monotonic() > deadline:
            raise AssertionError(f"{what}: all attempts came too late")


def wait_for_exit(process, bound=BOUND):
    """Waits for a subprocess to end and returns its exit status."""
    if process.poll() is not None:
        return process.returncode
    pidfd = os.pidfd_open(process.pid)
    try:
        if not select.select([pidfd], [], [], bound)[0]:
            raise AssertionError(f"the process did not end within {bound} s")
    finally:
        os.close(pidfd)
    return process.wait()
