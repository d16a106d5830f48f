#!/usr/bin/python3
"""The kernel's cameras by way of PipeWire and WirePlumber, in the emulated machine."""

import os
import sys
import unittest

import guest
from guest import SOURCE, UsbCamera, camera_frames, plug_vivid, reference_picture
from scene import SceneTest, make_jpeg

# What PipeWire 0.3 passes on of the formats that the test driver offers; later ones may know more.
FORMATS = {"YUY2", "UYVY", "YVYU", "I420", "YV12", "Y42B", "NV12", "NV21", "NV16", "NV61", "NV24", "RGB", "BGR", "BGRx", "xRGB", "BGRA",
           "ARGB", "RGB16", "GRAY8", "GRAY16"}


class ThroughTheDaemon(SceneTest):
    source = "daemon"

    def assert_same_identities(self):
        """A stored choice means the same camera, whether the daemon runs or not."""
        daemon, devices = ([line.split("\t")[0] for line in camera_frames(source, "list")] for source in ("daemon", "devices"))
        self.assertEqual(daemon, devices)

    def test_formats_and_names(self):
        plug_vivid(count=2)  # for good: the daemon keeps what it has opened
        reference = reference_picture()
        self.assert_same_identities()
        self.assertLessEqual(FORMATS, self.assert_exact_formats(reference))

    def test_a_webcam(self):
        frames = [make_jpeg(f"/run/frame-{shift}.jpg", shift) for shift in (0, 90)]
        camera = UsbCamera(*frames)
        self.addCleanup(camera.unplug)
        self.assert_same_identities()
        self.assert_busy_while_another_program_streams()
        self.assert_webcam_exact(frames)


if __name__ == "__main__":
    if "CAMERA_DESKTOP_DIR" not in os.environ:
        guest.start_udev()
        desktop = SOURCE / "tests/desktop/run"
        plain_controls = os.environ["CAMERA_SHOT_KERNEL_PROGRAMS"] + "/plain_controls.so"
        os.execv(desktop, [desktop, "--kernel-cameras", "--env", "PATH=" + os.environ["PATH"], "--env",
                           "LD_PRELOAD=" + plain_controls, "--", sys.executable, *sys.argv])
    unittest.main()
