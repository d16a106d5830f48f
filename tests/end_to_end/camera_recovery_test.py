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

    @in_desktop(f"{DESK},device=usb-1,device-property=device.api=v4l2,node-delay=1500")
    def test_the_node_comes_long_after_its_device(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},exposure=2500")
    def test_the_exposure_settles_slowly(self):
        picture = self.assert_photo(Tool().start())
        self.assertGreater(picture.at(0.97, 0.5)[0], 200)


if __name__ == "__main__":
    unittest.main()
