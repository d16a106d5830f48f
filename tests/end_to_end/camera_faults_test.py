#!/usr/bin/python3
"""Cameras that are missing, go away, fall silent, or send what is no picture."""

import os
import subprocess
import unittest
from pathlib import Path

import pixels
from saves import LARGE, Save
from tool import HD, CameraLine, Tool, ToolTest, control, in_desktop
from waiting import until_in_time

SMALL = "name=desk,title=Desk camera,modes=MJPG:640x480@30"
LATE = SMALL + ",start-delay=60000"  # no frame before a test has done its part


def write_jpeg_of_twelve_bits(path):
    """The header of a JPEG says so, in front of its samples' usual eight (ITU-T T.81, B.2.2)."""
    usual = subprocess.run(["cjpeg"], input=b"P5 320 240 255\n" + bytes(320 * 240), capture_output=True, check=True).stdout
    precision = usual.index(b"\xff\xc0") + 4
    path.write_bytes(usual[:precision] + b"\x0c" + usual[precision + 1:])


class CameraFaults(ToolTest):
    def assert_failed_shot(self, tool):
        """A failed shot leaves the tool up, without a photo, until it is asked to end."""
        tool.wait_for_failure()
        self.assertEqual(tool.stop(), 0)
        self.assertEqual(tool.names(), ["Launch", "Start", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop()
    def test_no_camera_ends_the_run_without_a_photo(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop("name=desk,modes=YUY2:320x180@30,property=device.api=v4l2,property=api.v4l2.path=/dev/video0,fault=error:0")
    def test_one_that_claims_a_device_of_the_machine(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(LATE)
    def test_unplugged_before_the_shot(self):
        tool = Tool()
        with CameraLine(1) as camera:
            def unplug_and_see_the_end():
                camera.ask("plug")
                tool.start()
                camera.ask("wait-streaming")
                camera.ask("unplug")
                return tool.ends_by_itself()

            until_in_time(unplug_and_see_the_end, "the unplugging")
        self.assertEqual(tool.process.returncode, 0, tool.log())
        self.assertEqual(tool.names()[-3:], ["Launch", "Start", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop(LATE)
    def test_unplugged_during_the_shot(self):
        tool = Tool().start()
        tool.wait_for_event("Start")
        control("camera", "1", "unplug")
        self.assert_failed_shot(tool)

    @in_desktop(LARGE)
    def test_unplugged_while_the_file_is_written(self):
        tool = Tool()
        with CameraLine(1) as camera:
            def unplug():
                self.assertRegex(camera.ask("plug"), "^ok ")
                save = Save(tool.photo_folder)
                tool.start()
                save.wait_for(0)
                gone = camera.ask("unplug")
                being_written = save.size() is not None
                self.assertRegex(gone, "^ok .*state=unplugged")
                self.assertEqual(tool.wait(), 0, tool.log())
                self.assert_one_photo(tool).unlink()
                return being_written

            until_in_time(unplug, "the unplugging")

    @in_desktop(SMALL + ",fault=stall:0")
    def test_a_camera_that_never_sends_a_frame(self):
        tool = Tool().start()
        self.assert_failed_shot(tool)
        self.assertIn("code = 110. ", tool.log())  # ETIMEDOUT

    @in_desktop(SMALL + ",fault=stall:1")
    def test_a_camera_that_stalls(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(SMALL + ",fault=truncated:0")
    def test_a_camera_that_sends_only_truncated_frames(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(SMALL + ",fault=truncated:10-40")
    def test_truncated_frames_among_whole_ones_are_left_out(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertGreater(pixels.decode_png(self.assert_one_photo(tool)).at(0.97, 0.5)[0], 180)

    @in_desktop()
    def test_the_log_says_why_pictures_of_twelve_bits_are_none(self):
        picture = Path(os.environ["HOME"]) / "deep.jpg"
        write_jpeg_of_twelve_bits(picture)
        control("add-camera", f"name=deep,title=Deep camera,picture={picture}")
        tool = Tool().start()
        self.assert_failed_shot(tool)
        self.assertIn("Unsupported JPEG data precision 12", tool.log())

    @in_desktop(SMALL + ",fault=empty:0")
    def test_a_camera_that_sends_only_empty_frames(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(SMALL + ",fault=empty:20-40")
    def test_empty_frames_among_whole_ones_are_left_out(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(SMALL + ",fault=busy")
    def test_a_busy_camera(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(SMALL + ",fault=error:1")
    def test_a_camera_that_breaks(self):
        self.assert_failed_shot(Tool().start())

    @in_desktop(SMALL + ",start-delay=1500")
    def test_a_camera_that_starts_late(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)


class Pipewire(ToolTest):
    @in_desktop(HD)
    def test_absent_at_the_start(self):
        control("pipewire", "kill")
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop(LATE)
    def test_dies_during_the_shot(self):
        tool = Tool().start()
        tool.wait_for_event("Start")
        control("pipewire", "kill")
        tool.wait_for_failure()
        self.assertEqual(tool.stop(), 0)
        self.assert_no_photo(tool)

    @in_desktop(HD)
    def test_dies_and_comes_back_before_the_next_run(self):
        control("pipewire", "restart")
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(LATE)
    def test_dies_and_comes_back_before_the_shot(self):
        tool = Tool().start()
        control("camera", "1", "wait-streaming")
        control("pipewire", "restart")
        # The camera was gone for a moment: the run says so and ends, or its shot fails; it never hangs or crashes.
        tool.ends_by_itself()
        self.assertEqual(tool.process.returncode, 0, tool.log())
        self.assert_no_photo(tool)


if __name__ == "__main__":
    unittest.main()
