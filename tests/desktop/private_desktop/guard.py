"""Two processes that guard each other, so that no death of the runner leaves anything behind.

The outer one waits; the inner one brings the desktop up and runs the command. If the inner one is killed, the outer
one, to which all its orphans fall, ends them and removes the folder. If the outer one is killed, the kernel tells the
inner one, which takes everything down in good order.
"""

import os
import shutil
import signal
import sys
import traceback

from .failures import EX_SOFTWARE, Stopped
from .processes import adopt_orphans, end_descendants, end_with

_ENDING_SIGNALS = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)


def run_guarded(folder, keep, work):
    """Runs `work()` in a process of its own and returns its status. `folder` is gone afterwards unless kept."""
    adopt_orphans()
    guard = os.getpid()
    # Until both have their handlers, a signal waits.
    signal.pthread_sigmask(signal.SIG_BLOCK, _ENDING_SIGNALS)
    sys.stdout.flush()
    inner = os.fork()
    if inner == 0:
        os._exit(_inner(guard, folder, keep, work))
    for number in _ENDING_SIGNALS:
        signal.signal(number, lambda received, _: _forward(inner, received))
    signal.pthread_sigmask(signal.SIG_UNBLOCK, _ENDING_SIGNALS)
    status = _wait_for(inner)
    end_descendants()
    _remove(folder, keep)
    return status if status >= 0 else 128 - status


def _inner(guard, folder, keep, work):
    status = EX_SOFTWARE
    try:
        try:
            adopt_orphans()
            _raise_stopped_once()
            end_with(guard, signal.SIGTERM)
            signal.pthread_sigmask(signal.SIG_UNBLOCK, _ENDING_SIGNALS)
            status = work()
        finally:
            _ignore_signals()
    except Stopped as stopped:
        status = 128 + stopped.number
    except Exception:  # pylint: disable=broad-except (the process must end here, not in its parent's code)
        traceback.print_exc()
    # The guard does the same; it is done here for the case that there is no guard any more.
    end_descendants()
    if os.getppid() != guard:
        _remove(folder, keep)
    sys.stdout.flush()
    sys.stderr.flush()
    return status


def _raise_stopped_once():
    """The first signal interrupts the work wherever it is; later ones must not interrupt the taking down."""
    def stop(number, _):
        _ignore_signals()
        raise Stopped(number)

    for number in _ENDING_SIGNALS:
        signal.signal(number, stop)


def _ignore_signals():
    for number in _ENDING_SIGNALS:
        signal.signal(number, signal.SIG_IGN)


def _forward(pid, number):
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        pass


def _wait_for(pid):
    while True:
        ended, status = os.waitpid(-1, 0)
        if ended == pid:
            return os.waitstatus_to_exitcode(status)


def _remove(folder, keep):
    if keep:
        print(f"run: kept {folder}", file=sys.stderr)
    else:
        shutil.rmtree(folder, ignore_errors=True)
