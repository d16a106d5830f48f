"""What the program and its helper leave behind in a private desktop: processes, names on the bus, files that nobody wants."""

import os
import sys
import tempfile
from pathlib import Path

from bubbles import APPLICATION, NOTIFIER
from session_bus import turn_until
from tool import ROOT, installation

sys.path.append(str(ROOT / "tests/desktop"))
from session import processes_of  # noqa: E402 (the path comes first)

SUITE = "com.verrano.quillo"


def temporary_folder(bus):
    """A new folder for temporary files, of programs that are started from now on by us or by the bus."""
    folder = Path(os.environ["CAMERA_DESKTOP_DIR"]) / "tmp"
    folder.mkdir()
    tempfile.tempdir = None  # Python remembers the earlier one
    os.environ["TMPDIR"] = str(folder)
    bus.ask_bus("UpdateActivationEnvironment", "a{ss}", {"TMPDIR": str(folder)})
    return folder


def _processes():
    """Command lines of the desktop's processes, by number and start."""
    found = {}
    for process, descriptor in processes_of(os.environ["CAMERA_DESKTOP_DIR"]).items():
        os.close(descriptor)
        try:
            start = Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[19]
            words = Path(f"/proc/{process}/cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
        except (FileNotFoundError, ProcessLookupError):
            continue
        if words:  # none: it has ended, and whoever started it has not asked yet
            found[(process, start)] = words
    return found


class Before:
    """What there is before the first run; whatever is more afterwards has been left by one."""

    def __init__(self, bus):
        self._bus = bus
        self._temporary = temporary_folder(bus)
        self._runtime = Path(os.environ["XDG_RUNTIME_DIR"])
        self._files = set(self._runtime.rglob("*"))

    def programs(self):
        """The command lines of the installed programs' processes, and of what they have started."""
        return [words for words in _processes().values() if str(installation()) in words]

    def left(self, tool):
        """All that has been left, as text; the helper and what the bus has started may take their time to go."""
        for name in (NOTIFIER, APPLICATION):
            self._bus.wait_until_unowned(name)
        turn_until(lambda: not self.programs(), what="the end of all programs", retry=True)
        names = [str(name) for name in self._bus.ask_bus("ListNames") if str(name).startswith(SUITE)]
        # PipeWire's own sockets come and go with it.
        runtime = {path for path in self._runtime.rglob("*") if not path.name.startswith("pipewire-")} - self._files
        hidden = [path for folder in (tool.config, tool.state) for path in folder.glob(".*")]
        return names + [str(path) for path in [*runtime, *self._temporary.rglob("*"), *hidden, *tool.leftovers()]]
