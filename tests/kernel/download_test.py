#!/usr/bin/python3
"""How the kernel's package comes, from sources of the test's own."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

TESTS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / folder) for folder in ("kernel", "desktop", "support")]

from guest import kernel
from guest.failures import EX_UNAVAILABLE, GuestError
from private_apt import PrivateApt

IMAGE = "linux-image-9.9.9-1-amd64"
PACKAGES = {kernel.META_PACKAGE: IMAGE, IMAGE: ""}
# Translations come with other packages than apt, or not at all.
GERMAN = """#!/bin/sh
if [ $LC_ALL = C ]; then exec /usr/bin/apt-cache $@; fi
/usr/bin/apt-cache $@ | sed 's/Depends:/Hängt ab von:/'
"""


class Download(unittest.TestCase):
    def setUp(self):
        self.apt = PrivateApt(self)
        self.set_variables(self.apt.environment)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = Path(folder.name)

    def set_variables(self, variables):
        patch = mock.patch.dict(os.environ, variables)
        patch.start()
        self.addCleanup(patch.stop)

    def assert_downloaded(self, version):
        package = kernel.download(self.work)
        told = subprocess.run(["dpkg-deb", "-f", package, "Package", "Version"], check=True, capture_output=True, text=True).stdout
        self.assertEqual(told, f"Package: {IMAGE}\nVersion: {version}\n")

    def test_lists_that_are_not_there_are_fetched(self):
        self.apt.publish("1", PACKAGES)
        self.assert_downloaded("1")

    def test_lists_that_are_old_are_renewed(self):
        self.apt.publish("1", PACKAGES)
        self.apt.update()
        self.apt.publish("2", PACKAGES)
        self.assert_downloaded("2")

    def test_without_any_source_it_is_said_what_to_do(self):
        with self.assertRaises(GuestError) as raised:
            kernel.download(self.work)
        self.assertIn("run apt-get update", str(raised.exception))
        self.assertEqual(raised.exception.status, EX_UNAVAILABLE)

    def test_apt_is_understood_whatever_it_speaks(self):
        self.apt.publish("1", PACKAGES)
        self.apt.update()
        speaker = self.work / "apt-cache"
        speaker.write_text(GERMAN, encoding="utf-8")
        speaker.chmod(0o755)
        self.set_variables({"PATH": f"{self.work}:{os.environ['PATH']}", "LC_ALL": "de_DE.UTF-8"})
        self.assert_downloaded("1")


if __name__ == "__main__":
    unittest.main()
