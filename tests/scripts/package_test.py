"""scripts/package: what it builds, installs and leaves behind."""

import os
import unittest

from script_tree import ScriptTree

BUILD = """
echo "dpkg-buildpackage $* in $(ls)" >&2
touch ../quillo-camera-shot_1.2_amd64.deb ../quillo-camera-shot_1.2_amd64.changes ../quillo-camera-shot_1.2_amd64.buildinfo
"""
CROSS_BUILD = """
echo "cross-build $* from $DEBIAN_MIRROR"
touch "$2/../quillo-camera-shot_1.2_$1.deb"
"""


class Package(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.tree.replace("scripts/deps", 'echo "deps $*"')
        self.tree.replace("scripts/bill-of-materials", "echo '{}'")
        self.tree.replace("scripts/parallelism", "echo 5")
        self.tree.stand_in("dpkg-parsechangelog", "echo 1.2")
        self.tree.stand_in("dpkg-buildpackage", BUILD)
        self.tree.stand_in("dpkg", "echo amd64")
        self.tree.stand_in("id", "echo 1000")
        self.tree.stand_in("sudo", 'echo "sudo $*"')
        for program in ("lintian", "lintian-explain-tags"):
            self.tree.stand_in(program, "exit 0")

    def package(self, *words, **variables):
        result = self.tree.run("scripts/package", *words, environment=variables)
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout

    def test_a_tree_that_is_no_repository_is_built_as_it_is(self):
        said = self.package()
        self.assertIn("taking the tree as it is", said)
        self.assertIn("in scripts\n", said)
        self.assertEqual(sorted(os.listdir(self.tree.folder / "build/package")),
                         ["quillo-camera-shot_1.2.spdx.json"] + [f"quillo-camera-shot_1.2_amd64.{end}"
                                                                 for end in ("buildinfo", "changes", "deb")])

    def test_as_much_is_compiled_beside_each_other_as_may_and_options_are_passed_on(self):
        self.assertRegex(self.package("--build-profiles=nocheck"), r"dpkg-buildpackage --jobs=5 .*--build-profiles=nocheck in")

    def test_nothing_is_installed_by_itself(self):
        self.assertNotIn("sudo", self.package())

    def test_it_installs_as_root_without_asking(self):
        said = self.package("--install", "--build-profiles=nocheck")
        self.assertRegex(said, r"sudo env .*apt-get .*-y .*install .*/build/package/quillo-camera-shot_1\.2_amd64\.deb\n")
        self.assertRegex(said, r"dpkg-buildpackage .*--build-profiles=nocheck in")
        self.assertNotRegex(said, r"dpkg-buildpackage .*--install")

    def test_for_another_kind_of_machine_it_is_built_elsewhere(self):
        self.tree.replace("scripts/cross-build", CROSS_BUILD)
        self.tree.stand_in("sudo", 'exec env -i PATH="$PATH" "$@"')
        said = self.package("--arch", "arm64", "--build-profiles=nodoc", DEBIAN_MIRROR="http://mirror/debian")
        self.assertIn("deps --cross\n", said)
        self.assertRegex(said, r"cross-build arm64 .*/build/package-arm64/quillo-camera-shot-1\.2 --build-profiles=nodoc from http://mirror/debian\n")
        self.assertNotIn("dpkg-buildpackage", said)
        self.assertEqual(sorted(os.listdir(self.tree.folder / "build/package-arm64")),
                         ["quillo-camera-shot_1.2.spdx.json", "quillo-camera-shot_1.2_arm64.deb"])

    def test_its_own_kind_of_machine_is_none_other(self):
        said = self.package("--arch", "amd64")
        self.assertIn("deps --package\n", said)
        self.assertIn("dpkg-buildpackage", said)


if __name__ == "__main__":
    unittest.main()
