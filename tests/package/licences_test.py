#!/usr/bin/python3
"""Every file has a licence and a copyright, by the rules of REUSE, and every licence its text."""

import os
import re
import tomllib
import unittest
from pathlib import Path

SOURCE = Path(os.environ["CAMERA_SHOT_SOURCE"])
# What is of no one: version control, builds and caches.
PASSED_OVER = {".git", "build", "__pycache__", ".cache", "LICENSES"}


def files():
    for folder, folders, names in os.walk(SOURCE):
        folders[:] = [each for each in folders if each not in PASSED_OVER and not each.startswith("obj-")]
        yield from (Path(folder, name).relative_to(SOURCE) for name in names if name != ".git")


def matches(pattern, path):
    expression = re.escape(pattern).replace(r"\*\*", ".*").replace(r"\*", "[^/]*")
    return re.fullmatch(expression, path.as_posix()) is not None


class Licences(unittest.TestCase):
    def setUp(self):
        self.annotations = tomllib.loads((SOURCE / "REUSE.toml").read_text(encoding="utf-8"))["annotations"]

    def annotation_of(self, path):
        """The last that matches counts."""
        return [each for each in self.annotations if matches(each["path"], path)][-1:]

    def test_every_file_has_a_licence_and_a_copyright(self):
        found = list(files())
        self.assertGreater(len(found), 100)
        without = [path for path in found if not self.annotation_of(path)]
        self.assertEqual(without, [])
        for each in self.annotations:
            self.assertTrue(each["SPDX-FileCopyrightText"] and each["SPDX-License-Identifier"], each)

    def test_every_licence_has_its_text_and_every_text_is_used(self):
        used = {self.annotation_of(path)[0]["SPDX-License-Identifier"] for path in files()}
        self.assertEqual(used, {path.stem for path in (SOURCE / "LICENSES").iterdir()})

    def test_the_metainfo_states_its_own_licence(self):
        path = Path("resources/metainfo/com.verrano.quillo.CameraShot.metainfo.xml.in")
        stated = re.search("<metadata_license>(.*)</metadata_license>", (SOURCE / path).read_text(encoding="utf-8"))
        self.assertEqual(self.annotation_of(path)[0]["SPDX-License-Identifier"], stated[1])


if __name__ == "__main__":
    unittest.main()
