"""tests/package/install-cycle and depends-alone: where their fresh Debian is made, and what is left of that."""

import os
import shutil
import unittest

from script_tree import SOURCE, ScriptTree

# As far as a fresh Debian; a bootstrapped one would take minutes.
DEBOOTSTRAP = """
for root; do case "$root" in /*) break ;; esac; done
mkdir -p "$root"/{proc,dev/shm,tmp,usr/sbin}
"""


class FreshDebian(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        shutil.copytree(SOURCE / "tests/package", self.tree.folder / "tests/package")
        self.work, self.built = (self.tree.top / name for name in ("work", "built"))
        self.journal = self.tree.top / "journal"
        self.work.mkdir()
        self.camera_program("true")
        (self.built / "quillo-camera-shot_1.2_amd64.deb").touch()
        self.tree.replace("scripts/workplace", f'mktemp -d "{self.work}/$1.XXXXXX"')
        self.tree.stand_in("debootstrap", DEBOOTSTRAP)
        self.tree.stand_in("dpkg-deb", 'if [ "$1" = -R ]; then mkdir -p "$3/DEBIAN"; echo "Version: 1.2" >"$3/DEBIAN/control"; fi')
        for program in ("mount", "umount"):
            self.tree.stand_in(program, ":")
        # The first step in the fresh Debian fails, with what is there.
        self.tree.stand_in("chroot", 'for root; do case "$root" in /*) break ;; esac; done; find "$root" >"$JOURNAL"; exit 1')

    def camera_program(self, body):
        self.tree.replace(self.built / "test-programs/virtual_camera", body)

    def run_in_fresh_debian(self, script):
        """What was there when its first step began, of a folder that is no repository."""
        result = self.tree.run(f"tests/package/{script}", self.built, environment={"JOURNAL": self.journal})
        self.assertEqual(result.returncode, 1, result.stdout)
        return self.journal.read_text(encoding="utf-8")

    def test_it_is_made_where_there_is_room_and_goes(self):
        for script in ("install-cycle", "depends-alone"):
            with self.subTest(script):
                self.assertIn(f"{self.work}/camera-shot-", self.run_in_fresh_debian(script))
                self.assertEqual(os.listdir(self.work), [])

    def test_the_tests_come_without_a_repository(self):
        self.assertIn("/tmp/tests/package/installed_test.py\n", self.run_in_fresh_debian("install-cycle"))

    def test_the_desktop_of_another_debian_is_refused_before_anything_is_made(self):
        self.camera_program("echo 'version GLIBC_2.99 not found' >&2; exit 1")
        result = self.tree.run("tests/package/depends-alone", self.built, environment={"JOURNAL": self.journal})
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn("GLIBC_2.99", result.stdout)
        self.assertIn("built on", result.stdout)
        self.assertFalse(self.journal.exists())


if __name__ == "__main__":
    unittest.main()
