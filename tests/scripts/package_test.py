"""scripts/package: what it builds, installs and leaves behind."""

import os
import unittest

from script_tree import ScriptTree

BUILD = """
echo "dpkg-buildpackage $* in $(ls)" >&2
touch ../quillo-camera-shot_1.2_amd64.deb ../quillo-camera-shot_1.2_amd64.changes ../quillo-camera-shot_1.2_amd64.buildinfo
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

    def package(self, *words):
        result = self.tree.run("scripts/package", *words)
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


if __name__ == "__main__":
    unittest.main()
