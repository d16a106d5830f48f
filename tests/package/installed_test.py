#!/usr/bin/python3
"""The installed package in a private desktop: the menu's entry starts the program, which takes its photo.

With CAMERA_SHOT_PREFIX=/usr it is the system's own installation that is tested; install-cycle does that.
"""

import os
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "end_to_end"))

from tool import HD, Tool, ToolTest, in_desktop, installation

APPLICATION = "com.verrano.quillo.CameraShot"
SERVICES = ("--service-dir", f"{installation()}/share/dbus-1/services")


class MenuEntry(ToolTest):
    @in_desktop(HD, options=SERVICES)
    def test_starts_the_program(self):
        tool = Tool()  # its settings and its folder; the desktop starts the program itself, and has its log
        tool.log_path.touch()
        entry = installation() / f"share/applications/{APPLICATION}.desktop"
        # An entry whose program is not in the path is none.
        environment = {**os.environ, "PATH": f"{installation()}/bin:{os.environ['PATH']}"}
        launched = subprocess.run(["gio", "launch", entry], env=environment, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, check=False, timeout=20)
        self.assertEqual(launched.returncode, 0, launched.stdout + launched.stderr)
        tool.wait_for_event("Quit")
        self.assertIn("1280 x 720", self.assert_whole_png(self.assert_one_photo(tool)))
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Quit"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
