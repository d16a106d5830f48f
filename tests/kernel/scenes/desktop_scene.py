#!/usr/bin/python3
"""Private desktops on machines of other kinds, which the emulated machine is for the occasion."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import guest
from guest import SOURCE, plug_vivid, run, unplug_vivid

NOBODY = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")


class AMachineWithACamera(unittest.TestCase):
    """Its camera is neither seen nor used."""

    @classmethod
    def setUpClass(cls):
        plug_vivid()
        cls.addClassCleanup(unplug_vivid)

    def assert_passes(self, test):
        result = run(sys.executable, SOURCE / "tests/end_to_end/camera_faults_test.py", test, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_where_there_is_no_other(self):
        self.assert_passes("CameraFaults.test_no_camera_ends_the_run_without_a_photo")

    def test_without_pipewire(self):
        self.assert_passes("Pipewire.test_absent_at_the_start")

    def test_in_place_of_a_virtual_one_that_claims_its_device(self):
        self.assert_passes("CameraFaults.test_one_that_claims_a_device_of_the_machine")


class AMachineThatHidesOtherUsersProcesses(unittest.TestCase):
    def setUp(self):
        self.hide(1)
        self.addCleanup(self.hide, 0)

    def hide(self, level):
        run("mount", "-o", f"remount,hidepid={level}", "/proc")

    def readable_copies(self):
        """For everybody: what is copied may be in a home that is its owner's alone."""
        copies = tempfile.TemporaryDirectory()
        self.addCleanup(copies.cleanup)
        programs = Path(os.environ["CAMERA_DESKTOP_PROGRAMS"])
        run("cp", "--recursive", SOURCE / "tests/desktop", programs / "virtual_camera", programs / "session_probe", copies.name)
        run("chmod", "--recursive", "a+rX", copies.name)
        return Path(copies.name)

    def test_starts_a_desktop_that_ends_what_it_started(self):
        hidden = run(*NOBODY, "cat", "/proc/1/stat", check=False)
        self.assertIn("not permitted", hidden.stderr)
        folder = self.readable_copies()
        result = run(*NOBODY, folder / "desktop/run", "--programs", folder, "--",
                     "sh", "-c", "sleep 1000 >/dev/null 2>&1 & echo $!", check=False)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertNotEqual(subprocess.call(["kill", "-0", result.stdout.strip()]), 0)


if __name__ == "__main__":
    guest.start_udev()
    unittest.main()
