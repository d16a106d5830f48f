"""scripts/kernel: when it fetches the kernel of the emulated machine."""

import unittest

from script_tree import ScriptTree

# What it was fetched into, once the lists have been renewed.
FETCH = """
echo "fetch into $CAMERA_SHOT_KERNEL_PROGRAMS" >&2
[ -e lists ] && mkdir -p "$CAMERA_SHOT_KERNEL_PROGRAMS/machine/kernel"
"""


class KernelScript(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.tree.replace("tests/kernel/run", FETCH)
        self.tree.replace("scripts/deps", 'echo "deps $*"; touch lists')
        self.tree.stand_in("uname", "echo x86_64")
        self.machine = self.tree.folder / "build/release/tests/kernel/machine/kernel"

    def fetch(self):
        result = self.tree.run("scripts/kernel", "build/release")
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout

    def test_lists_that_know_it_are_left_alone(self):
        (self.tree.folder / "lists").touch()
        self.assertNotIn("deps", self.fetch())
        self.assertTrue(self.machine.is_dir())

    def test_old_lists_are_renewed(self):
        self.assertIn("deps --lists\n", self.fetch())
        self.assertTrue(self.machine.is_dir())

    def test_that_it_cannot_be_had_is_told(self):
        self.tree.replace("scripts/deps", "exit 0")
        result = self.tree.run("scripts/kernel", "build/release")
        self.assertEqual(result.returncode, 1)
        self.assertIn("fetch into", result.stdout)

    def test_it_is_fetched_once(self):
        self.machine.mkdir(parents=True)
        self.assertEqual(self.fetch(), "")

    def test_it_is_not_wanted_where_the_machine_cannot_run(self):
        self.tree.stand_in("uname", "echo aarch64")
        self.assertEqual(self.fetch(), "")
        self.assertFalse(self.machine.exists())


if __name__ == "__main__":
    unittest.main()
