"""scripts/cross-build: what it does in the fresh Debian that it makes, and what is left of that."""

import os
import unittest

from script_tree import ScriptTree

DEBOOTSTRAP = """
echo "debootstrap $*" >>"$JOURNAL"
for root; do case "$root" in /*) break ;; esac; done
mkdir -p "$root/proc" "$root/dev/shm"
"""
CHROOT = """
echo "chroot $*" >>"$JOURNAL"
for root; do case "$root" in /*) break ;; esac; done
case "$*" in
  *"$FAILING"*) echo "it went wrong"; exit 1 ;;
  *" dpkg-buildpackage "*) touch "$root"/build/tool_1.2_arm64.{deb,changes,buildinfo} ;;
  *" ctest "*) echo "100% tests passed, 0 tests failed out of 7" ;;
  *--version) echo "tool 1.2" ;;
esac
"""


class CrossBuild(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.journal, self.work, self.built = (self.tree.top / name for name in ("journal", "work", "built"))
        self.work.mkdir()
        (self.built / "source").mkdir(parents=True)
        self.tree.replace("scripts/parallelism", "echo 5")
        self.tree.replace("scripts/workplace", f'mktemp -d "{self.work}/$1.XXXXXX"')
        self.tree.stand_in("debootstrap", DEBOOTSTRAP)
        self.tree.stand_in("chroot", CHROOT)
        for program in ("mount", "umount"):
            self.tree.stand_in(program, f'echo "{program} $*" >>"$JOURNAL"')

    def cross_build(self, *words, failing="nothing at all", **variables):
        return self.tree.run("scripts/cross-build", "arm64", self.built / "source", *words, environment={
            "JOURNAL": self.journal, "FAILING": failing, **variables})

    def test_the_packages_are_left_and_nothing_else(self):
        result = self.cross_build()
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertIn("0 tests failed out of 7", result.stdout)
        self.assertEqual(sorted(os.listdir(self.built)),
                         ["source"] + [f"tool_1.2_arm64.{end}" for end in ("buildinfo", "changes", "deb")])
        self.assertEqual(os.listdir(self.work), [])

    def test_what_fails_is_told_and_leaves_nothing(self):
        for step in ("build-dep", "dpkg-buildpackage", "--version", " ninja ", " ctest "):
            with self.subTest(step):
                result = self.cross_build(failing=step)
                self.assertEqual(result.returncode, 1, result.stdout)
                self.assertIn("it went wrong", result.stdout)
                self.assertEqual(os.listdir(self.built), ["source"])
                self.assertEqual(os.listdir(self.work), [])

    def test_it_is_built_by_an_ordinary_user_and_tested_by_an_emulator_called_by_its_name(self):
        self.cross_build("--build-profiles=nodoc")
        journal = self.journal.read_text(encoding="utf-8")
        self.assertRegex(journal, r"chroot --userspec=nobody:nogroup .* dpkg-buildpackage -aarm64 .* --build-profiles=nodoc\n")
        self.assertRegex(journal, r"-DCMAKE_CROSSCOMPILING_EMULATOR=/usr/bin/qemu-aarch64\n")
        self.assertRegex(journal, r" ctest --test-dir obj-aarch64-linux-gnu .*--no-tests=error --parallel 5 ")

    def test_what_was_mounted_is_unmounted(self):
        self.cross_build(failing="build-dep")
        journal = self.journal.read_text(encoding="utf-8")
        mounted = {line.split()[-1] for line in journal.splitlines() if line.startswith("mount ")}
        unmounted = {word for line in journal.splitlines() if line.startswith("umount ") for word in line.split()[2:]}
        self.assertEqual(len(mounted), 2)
        self.assertEqual(unmounted, mounted)

    def test_another_mirror_is_taken(self):
        self.cross_build(DEBIAN_MIRROR="http://mirror/debian")
        self.assertRegex(self.journal.read_text(encoding="utf-8"), r"debootstrap .* http://mirror/debian\n")


if __name__ == "__main__":
    unittest.main()
