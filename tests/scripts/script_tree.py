"""The project's scripts in a folder of their own, where stand-ins answer for the programs that they call."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]


class ScriptTree:
    """Removed at the end of `test`. Stand-ins in `programs` come before the system's programs."""

    def __init__(self, test):
        folder = tempfile.TemporaryDirectory(prefix="camera-shot-scripts-")
        test.addCleanup(folder.cleanup)
        self.top = Path(folder.name)
        self.folder = self.top / "project"
        self.programs = self.top / "programs"
        self.programs.mkdir()
        for name in ("scripts", ".ci"):
            shutil.copytree(SOURCE / name, self.folder / name)
        # Caught between PATH's own folders and Debian's, stand-ins would come too late.
        self.replace("scripts/plainly", 'exec env CAMERA_SHOT_PLAIN=yes "$@"')

    def replace(self, path, body):
        """The project's file is a shell script of this body from now on."""
        _write_script(self.folder / path, body)

    def stand_in(self, program, body):
        """Whoever calls the program gets a shell script of this body."""
        _write_script(self.programs / program, body)

    def run(self, *words, environment=None):
        """Runs a script to its end; all that it says is in `stdout`. Variables that are None are unset."""
        surroundings = {**os.environ, "PATH": f"{self.programs}:/usr/bin:/bin:/usr/sbin:/sbin", "HOME": str(self.top),
                        **(environment or {})}
        return subprocess.run([str(word) for word in words], cwd=self.folder, stdin=subprocess.DEVNULL, check=False, text=True,
                              env={name: str(value) for name, value in surroundings.items() if value is not None},
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)


def _write_script(path, body):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(f"#!/usr/bin/env bash\n{body}\n", encoding="utf-8")
    path.chmod(0o755)
