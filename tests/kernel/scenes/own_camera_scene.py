#!/usr/bin/python3
"""A machine with a camera of its own: tests in private desktops neither see nor use it. In the emulated machine."""

import subprocess
import sys
import unittest

import guest
from guest import SOURCE, plug_vivid


class OwnCamera(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        plug_vivid()

    def assert_passes(self, file, *tests):
        result = subprocess.run([sys.executable, SOURCE / "tests/end_to_end" / file, *tests], capture_output=True, text=True,
                                check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_is_not_used_where_there_is_no_other(self):
        self.assert_passes("camera_faults_test.py", "CameraFaults.test_no_camera_ends_the_run_without_a_photo")

    def test_is_not_used_without_pipewire(self):
        self.assert_passes("camera_faults_test.py", "Pipewire.test_absent_at_the_start")

    def test_is_not_used_in_place_of_a_virtual_one_that_claims_its_device(self):
        self.assert_passes("camera_faults_test.py", "CameraFaults.test_one_that_claims_a_device_of_the_machine")


if __name__ == "__main__":
    guest.start_udev()
    unittest.main()
