#!/usr/bin/env python3
"""Cameras that are not ready, fail and come back: a silent run waits for its photo within its limit."""

import unittest

import pixels
from tool import Tool, ToolTest, in_desktop

MODES = "modes=MJPG:320x240@30"
DESK = f"name=desk,title=Desk camera,{MODES}"


class SilentRun(ToolTest):
    def assert_photo(self, tool):
        self.assertEqual(tool.wait(), 0, tool.log())
        return pixels.decode_png(self.assert_one_photo(tool))

    @in_desktop(f"{DESK},fault=busy:2000")
    def test_another_program_lets_go_of_the_camera(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},fault=suspend:10")
    def test_the_system_sleeps_for_a_moment(self):
        self.assert_photo(Tool().start())


if __name__ == "__main__":
    unittest.main()
