"""scripts/workplace: a folder in which can be built."""

import os
import unittest
from pathlib import Path

from script_tree import ScriptTree


class Workplace(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.parent = self.tree.top / "var tmp"
        self.parent.mkdir()
        self.set_free(4000)

    def set_free(self, megabytes):
        self.tree.stand_in("df", f"printf '  Avail\\n {megabytes}\\n'")

    def make(self, **variables):
        return self.tree.run("scripts/workplace", "camera-shot", environment={"CAMERA_SHOT_WORK": self.parent, **variables})

    def assert_refused(self, text):
        result = self.make()
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn(text, result.stdout)
        self.assertIn("CAMERA_SHOT_WORK", result.stdout)
        self.assertEqual(os.listdir(self.parent), [])

    def test_is_empty_and_everybodys_to_read(self):
        folder = Path(self.make().stdout.rstrip("\n"))
        self.assertEqual(folder.parent, self.parent)
        self.assertEqual(folder.stat().st_mode & 0o777, 0o755)
        self.assertEqual(os.listdir(folder), [])

    def test_is_not_where_temporary_files_go(self):
        folder = Path(self.make(CAMERA_SHOT_WORK=None, TMPDIR=str(self.parent)).stdout.rstrip("\n"))
        self.addCleanup(folder.rmdir)
        self.assertEqual(folder.parent, Path("/var/tmp"))

    def test_needs_room(self):
        self.set_free(3000)
        self.assert_refused("has less than 3 GB left")

    def test_needs_to_run_programs(self):
        # As on a file system that is mounted so.
        self.tree.stand_in("chmod", '/usr/bin/chmod "$@"; for file; do :; done; /usr/bin/chmod a-x "$file"')
        self.assert_refused("runs no programs")


if __name__ == "__main__":
    unittest.main()
