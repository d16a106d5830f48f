#!/usr/bin/python3
"""Disks and servers that do not answer for a while, each stopped at one call."""

import os
import unittest
from pathlib import Path

from held_call import LOOKING, SAVING, HeldCall
from tool import HD, Tool, ToolTest, in_desktop
from window_case import WITH_PREFERENCES, WindowTest
from windows import PREFERENCES, in_windowed_desktop

NOT_THERE = "This folder does not exist."


class Home(ToolTest):
    @in_desktop(HD)
    def test_the_record_of_the_last_run_waits_for_no_disk(self):
        with HeldCall(SAVING, file="last-runs.ini") as held:
            tool = Tool(environment=held.environment)
            self.assertEqual(tool.run(), 0, tool.log())
            self.assert_one_photo(tool)
            self.assertIn("a5f597ea", (tool.state / "last-runs.ini").read_text(encoding="utf-8"))


class Folder:
    """The folder of photos is on a server that is not reached: the preferences show it, and how it is when that is known."""

    @in_windowed_desktop(HD)
    def test_that_does_not_answer_holds_neither_the_window_nor_the_end(self):
        with HeldCall(LOOKING, file="/shots") as held:
            tool = self.open_preferences(environment=held.environment)
            held.wait()
            self.windows.find("~/shots", PREFERENCES)
            self.assertEqual(tool.stop(), 0, tool.log())

    @in_windowed_desktop(HD)
    def test_that_answers_late_is_then_warned_of(self):
        with HeldCall(LOOKING, file="/gone") as held:
            self.open_preferences(environment=held.environment, photos=Path(os.environ["HOME"]) / "gone")
            held.wait()
            self.windows.find("~/gone", PREFERENCES)
            self.assertNotIn(NOT_THERE, [each.name for each in self.windows.objects()])
            held.release()
            self.windows.find(NOT_THERE, PREFERENCES)

    @in_windowed_desktop(HD)
    def test_that_is_the_users_for_pictures_holds_nothing_either(self):
        with HeldCall(LOOKING, file="/Pictures") as held:
            tool = Tool(command=WITH_PREFERENCES, environment=held.environment)
            tool.write_location("")  # none is chosen
            tool.start()
            self.windows.wait_for_window(PREFERENCES)
            held.wait()
            self.windows.find("~/Pictures", PREFERENCES)
            self.assertEqual(tool.stop(), 0, tool.log())


class FolderOnX11(Folder, WindowTest):
    display = "x11"


class FolderOnWayland(Folder, WindowTest):
    display = "wayland"


if __name__ == "__main__":
    unittest.main()
