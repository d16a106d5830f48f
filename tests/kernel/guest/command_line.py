"""The runner's command line."""

import os
import sys
import tempfile
from pathlib import Path

from private_desktop.failures import DesktopError
from private_desktop.guard import run_guarded
from private_desktop.options import runner

from . import kernel
from .failures import EX_UNAVAILABLE, GuestError
from .machine import Machine

_SOURCE = Path(__file__).resolve().parents[3]
_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


def programs_folder():
    """The folder of the built helper programs, and of the kernel beside them."""
    if "CAMERA_SHOT_KERNEL_PROGRAMS" in os.environ:
        return Path(os.environ["CAMERA_SHOT_KERNEL_PROGRAMS"])
    built = list(_SOURCE.glob("build/*/tests/kernel/guest_init"))
    if not built:
        raise GuestError("guest_init is missing: build the project first", EX_UNAVAILABLE)
    return max(built, key=lambda path: path.stat().st_mtime).parent


def _parse(arguments):
    parser = runner("Runs COMMAND as root in an emulated machine that has this machine's file system and Debian's kernel. "
                    "Changes are in memory and end with it.")
    parser.add_argument("--disk", metavar="IMAGE", help="a raw disk image that the machine may change, its /dev/vda")
    parser.add_argument("--processors", metavar="N", type=int, default=1, help="of the machine (1)")
    parser.add_argument("--timeout", metavar="SECONDS", type=int, default=120,
                        help="how long COMMAND may take, with the machine's start (120)")
    parser.add_argument("--prepare", action="store_true", help="only fetch the kernel, so that later runs need no network")
    options = parser.parse_args(arguments)
    if not options.prepare and not options.command:
        parser.error("a COMMAND is expected")
    return options


class _Passage:
    """Passes on what the guest writes to a file."""

    def __init__(self, path, stream):
        self._path = path
        self._stream = stream
        self._position = 0

    def __call__(self):
        with open(self._path, "rb") as file:
            file.seek(self._position)
            news = file.read()
        self._position += len(news)
        self._stream.buffer.write(news)
        self._stream.flush()


def environment(assignments=()):
    """What a command finds in the guest: nothing of the caller's session."""
    return {"PATH": _PATH, "HOME": "/root", "USER": "root", "LANG": "C.UTF-8", **dict(assignments)}


def _work(folder, options):
    programs = programs_folder()
    machine = Machine(kernel.prepare(programs / "machine"), programs / "guest_init", folder)
    machine.start(options.command, environment(options.env), os.getcwd(), options.disk, options.processors)
    passages = [_Passage(Path(folder) / "stdout", sys.stdout), _Passage(Path(folder) / "stderr", sys.stderr)]
    return machine.wait(options.timeout, lambda: [passage() for passage in passages])


def _told(work):
    try:
        return work()
    except (GuestError, DesktopError) as error:
        print(f"run: {error}", file=sys.stderr)
        return error.status


def main(arguments):
    """Returns the exit status."""
    options = _parse(arguments)
    if options.prepare:
        return _told(lambda: kernel.prepare(programs_folder() / "machine") and 0)
    folder = tempfile.mkdtemp(prefix="camera-kernel-")
    return run_guarded(folder, options.keep, lambda: _told(lambda: _work(folder, options)))
