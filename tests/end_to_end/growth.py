"""What a process that lives long holds: memory, descriptors, threads. Looked at while it has nothing to do."""

import os
import statistics
from pathlib import Path

# What differs between two looks at a process that is all right: the allocator's and the toolkit's caches, threads of a
# pool on their way out, the descriptor of a file that is just being written.
MEGABYTES, DESCRIPTORS, THREADS = 8, 4, 4


class Holdings:
    """One look."""

    def __init__(self, process):
        folder = Path(f"/proc/{process}")
        status = dict(line.split(":", 1) for line in (folder / "status").read_text(encoding="ascii").splitlines())
        self.megabytes = int(status["RssAnon"].split()[0]) / 1024
        self.descriptors = len(os.listdir(folder / "fd"))
        self.threads = int(status["Threads"])


class Growth:
    """The looks at one process, the first of which come once it has done everything for the first time."""

    def __init__(self, process):
        self._process = process
        self._looks = []

    def look(self):
        self._looks.append(Holdings(self._process))

    def _between(self, name):
        """How much more of it there is in the last third than in the first one."""
        third = max(1, len(self._looks) // 3)
        values = [getattr(look, name) for look in self._looks]
        return statistics.median(values[-third:]) - statistics.median(values[:third])

    def excess(self):
        """What has grown by more than a process that is all right; empty: nothing."""
        bounds = {"megabytes": MEGABYTES, "descriptors": DESCRIPTORS, "threads": THREADS}
        return {name: grown for name, bound in bounds.items() if (grown := self._between(name)) > bound}

    def __str__(self):
        first, last = self._looks[0], self._looks[-1]
        return ", ".join(f"{name} {getattr(first, name):.4g} to {getattr(last, name):.4g} ({self._between(name):+.3g})"
                         for name in ("megabytes", "descriptors", "threads"))
