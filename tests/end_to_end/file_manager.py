"""The file manager and the default image program of a private desktop."""

import os
import subprocess
from pathlib import Path

from bubbles import mouse, windows_named
from session_bus import turn_until

_VIEWER = """\
#!/bin/sh
# One line a file, all in one write, so that nobody reads half a line.
printf '%s\\n' "$@" >>"{seen}"
"""
_DESKTOP_FILE = """\
[Desktop Entry]
Type=Application
Name=Test viewer
Exec="{program}" %F
MimeType=image/png;
"""


class Viewer:
    """The user's default program for PNG pictures: it notes what it was asked to open."""

    def __init__(self):
        self._folder = Path(os.environ["HOME"]) / "viewer"
        self._folder.mkdir()
        self._seen = self._folder / "seen"
        program = self._folder / "viewer"
        program.write_text(_VIEWER.format(seen=self._seen), encoding="utf-8")
        program.chmod(0o700)
        applications = Path(os.environ["XDG_DATA_HOME"]) / "applications"
        applications.mkdir(exist_ok=True)
        (applications / "test-viewer.desktop").write_text(_DESKTOP_FILE.format(program=program), encoding="utf-8")
        (Path(os.environ["XDG_CONFIG_HOME"]) / "mimeapps.list").write_text(
            "[Default Applications]\nimage/png=test-viewer.desktop\n", encoding="utf-8")

    def opened(self):
        return self._seen.read_text(encoding="utf-8").splitlines() if self._seen.exists() else []

    def wait_for_file(self):
        """The files opened so far, once there are any."""
        return turn_until(self.opened, self._folder, what="a file in the image program")

    def wait_for_file_while(self, doing):
        """The same, while `doing` is repeated: for what is lost on a window that is not ready."""
        def answer():
            doing()
            return self.opened()

        return turn_until(answer, self._folder, what="a file in the image program", retry=True)

    def forget(self):
        self._seen.unlink(missing_ok=True)


class FileManager:
    """Thunar, as its user sees it."""

    def __init__(self, viewer):
        self._viewer = viewer

    def windows(self):
        """Titles by window."""
        return {window: mouse("getwindowname", window).strip() for window in windows_named(" - Thunar$")}

    def selected_in(self, folder):
        """The files that are selected in the window of that folder, once there are any.

        A key that opens what is selected, and nothing where nothing is, shows them to the image program.
        """
        title = f"{Path(folder).name} - Thunar"

        def window():
            return [window for window, name in self.windows().items() if name == title]

        shown = turn_until(window, what=f'the window "{title}"', retry=True)[0]
        self._viewer.forget()
        selected = self._viewer.wait_for_file_while(lambda: mouse("windowfocus", shown, "key", "Return"))
        mouse("windowclose", shown)
        turn_until(lambda: not window(), what=f'the end of "{title}"', retry=True)
        self._viewer.forget()
        return sorted(set(selected))
