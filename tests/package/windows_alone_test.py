#!/usr/bin/python3
"""The windows of the program as installed below CAMERA_SHOT_ROOT, in a private desktop of this system: they open, and their
pictures are left in CAMERA_SHOT_PICTURES. depends-alone runs it."""

import os
import subprocess
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "end_to_end"))

from tool import Tool, in_desktop
from waiting import BOUND
from window_case import WITH_PREFERENCES, WindowTest
from windows import PREFERENCES, PREVIEW

INSIDE = ["chroot", os.environ["CAMERA_SHOT_ROOT"]]
# Its pictures are all alike.
DESK = "name=desk,title=Desk camera,modes=MJPG:640x480@30,fault=black:0-1000000"
WINDOWS = ["--window-manager", "--accessibility"]


class WindowsAlone(WindowTest):
    def keep_picture(self, name, title):
        """The window, once it stands still."""
        left, top, width, height = self.windows.screen.frame(title)
        look = ["import", "-silent", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "-depth", "8", "rgb:-"]
        deadline = time.monotonic() + BOUND
        before, now = None, subprocess.check_output(look)
        while before != now:
            self.assertLess(time.monotonic(), deadline, f"{title} does not stand still")
            before, now = now, subprocess.check_output(look)
        self.assertGreater(len(set(now)), 10, "the window is empty")
        subprocess.run(["convert", "-size", f"{width}x{height}", "-depth", "8", "rgb:-",
                        Path(os.environ["CAMERA_SHOT_PICTURES"]) / f"{name}.png"], input=now, check=True)

    @in_desktop(DESK, options=WINDOWS)
    def test_the_preview_with_its_button(self):
        self.open_preview(command=INSIDE)
        self.windows.wait_until(lambda objects: [each for each in objects if each.name == "Take a photo"
                                                 and "sensitive" in each.states], "the shoot button")
        self.windows.wait_until(lambda objects: "Starting the camera…" not in [each.name for each in objects],
                                "the first picture")
        self.keep_picture("preview", PREVIEW)

    @in_desktop(options=WINDOWS)
    def test_the_preview_without_a_camera(self):
        self.open_preview(command=INSIDE)
        self.windows.find("No camera found", PREVIEW)
        self.keep_picture("no-camera", PREVIEW)

    @in_desktop(DESK, options=WINDOWS)
    def test_the_preferences(self):
        Tool(command=[*WITH_PREFERENCES, *INSIDE]).start()
        self.windows.wait_for_window(PREFERENCES)
        self.keep_picture("preferences", PREFERENCES)


if __name__ == "__main__":
    unittest.main(verbosity=2)
