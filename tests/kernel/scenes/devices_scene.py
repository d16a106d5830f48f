#!/usr/bin/python3
"""The kernel's cameras without PipeWire, in the emulated machine."""

import re
import subprocess
import unittest

import guest
import pixels
from guest import HDMI, UsbCamera, camera_frames, plug_vivid, reference_picture, run, unplug_vivid
from scene import SceneTest, make_jpeg
from tool import Tool
from waiting import until_in_time

# What the test driver offers of what can be decoded.
PACKED = {"YUY2", "UYVY", "YVYU", "VYUY", "AYUV", "VUYA", "YUVA", "RGB", "BGR", "RGBx", "BGRx", "xRGB", "xBGR", "RGBA", "BGRA",
          "ARGB", "ABGR", "RGB16", "RGB16_BE", "RGB15", "BGR15", "RGB12"}
PLANAR = {"Y42B", "I420", "YV12", "NV12", "NV21", "NV16", "NV61", "NV24", "NV42"}
GREY = {"GRAY8", "GRAY10", "GRAY12", "GRAY16", "GRAY16_BE"}
NOBODY = 65534


class Formats(SceneTest):
    source = "devices"

    def tearDown(self):
        unplug_vivid()

    def test_of_devices_with_one_block_of_memory(self):
        plug_vivid()
        self.assertEqual(self.assert_exact_formats(reference_picture()), PACKED | PLANAR | GREY)

    def test_of_devices_with_a_block_for_each_plane(self):
        plug_vivid(planes=2)
        self.assertEqual(self.assert_exact_formats(reference_picture()), PACKED | PLANAR | GREY | {"Y444", "YV16", "YV24"})


class TwoOfOneName(SceneTest):
    def setUp(self):
        plug_vivid(count=2)
        self.addCleanup(unplug_vivid)

    def test_each_can_be_chosen(self):
        listed = [line.split("\t") for line in camera_frames("devices", "list")]
        self.assertEqual([title for _, title in listed], ["vivid", "vivid"])
        run("v4l2-ctl", "-d", 0, "-c", "test_pattern=6")  # all white
        run("v4l2-ctl", "-d", 1, "-c", "test_pattern=5")  # all black
        for (identity, _), brightness in zip(listed, (range(200, 256), range(0, 30))):
            photo = self.take_photo(f"VideoSourceID={identity}\n")
            self.assertIn(photo.at(0.5, 0.5)[1], brightness)


class Grabber(SceneTest):
    """A device with an HDMI input, at which the signal changes."""

    SELECTED = 4  # of the driver's ways to make up a signal

    def setUp(self):
        plug_vivid(kind=HDMI)
        self.addCleanup(unplug_vivid)
        menu = run("v4l2-ctl", "-d", 0, "--list-ctrls-menus").stdout
        self._timings = {size: number for number, size in re.findall(r"^\s+(\d+): (\d+x\d+)p", menu, re.MULTILINE)}

    def send(self, width, height):
        """That size comes in from now on."""
        number = self._timings[f"{width}x{height}"]
        run("v4l2-ctl", "-d", 0, "-c", f"dv_timings_signal_mode={self.SELECTED},dv_timings={number}")

    def assert_size(self, picture, width, height):
        self.assertEqual((picture.width, picture.height), (width, height))

    def test_the_size_that_comes_in_is_the_photos(self):
        for width, height in ((640, 480), (720, 576)):
            self.send(width, height)
            self.assert_size(self.take_photo(), width, height)

    def test_it_changes_while_a_photo_is_waited_for(self):
        tool = Tool()
        self.addCleanup(lambda: tool.process and tool.end())

        def is_of_the_new_size():
            self.send(640, 480)
            launches = tool.names().count("Launch")
            tool.start()
            tool.wait_for_count("Launch", launches + 1)
            self.send(720, 576)
            self.assertEqual(tool.wait(), 0, tool.log())
            photo = self.assert_one_photo(tool)
            picture = pixels.decode_png(photo)
            photo.unlink()
            return (picture.width, picture.height) == (720, 576)

        until_in_time(is_of_the_new_size, "the change")


class Faults(SceneTest):
    def setUp(self):
        plug_vivid()
        self.addCleanup(unplug_vivid)

    def assert_told(self, text, tool):
        """A silent run without a photo tells its user this."""
        with subprocess.Popen(["dbus-monitor", "--session"], stdout=subprocess.PIPE, text=True) as monitor:
            self.addCleanup(monitor.kill)
            monitor.stdout.readline()
            self.assertEqual(tool.run(), 0, tool.log())
            monitor.terminate()
            said = monitor.stdout.read()
        self.assertIn(text, said)
        self.assert_no_photo(tool)

    def test_no_permission(self):
        run("chmod", "600", "/dev/video0")
        run("chown", NOBODY, "/dev/video0")
        # Of root's rights its name is left, which the session's bus knows, and the one to read the program in whoever's home.
        tool = Tool(command=["setpriv", "--bounding-set=-all,+dac_read_search", "--inh-caps=-all"])
        self.assert_told("PipeWire’s socket, or the camera’s device (/dev/video*), is not open to you.", tool)

    def test_another_program_has_the_camera(self):
        self.assert_busy_while_another_program_streams()


class Webcam(SceneTest):
    def test_its_jpeg_and_its_unplugging(self):
        frames = [make_jpeg(f"/run/frame-{shift}.jpg", shift) for shift in (0, 90)]
        self.check_photo(frames)
        self.check_unplugging(frames)
        self.check_photo(frames)

    def check_photo(self, frames):
        camera = UsbCamera(*frames)
        self.assert_webcam_exact(frames)
        camera.unplug()

    def check_unplugging(self, frames):
        camera = UsbCamera(*frames)
        tool = Tool().start()
        self.addCleanup(tool.end)
        camera.wait_for("streaming")
        camera.unplug()
        self.assertEqual(tool.stop(), 0, tool.log())
        self.assert_no_photo(tool)


if __name__ == "__main__":
    guest.start_udev()
    guest.enter_session()
    unittest.main()
