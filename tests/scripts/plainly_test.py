"""scripts/plainly: what a command finds, and to whom what it builds belongs."""

import os
import shutil
import tempfile
import unittest
from unittest import mock

from script_tree import SOURCE, ScriptTree

OWNER = {"SUDO_UID": 4321, "SUDO_GID": 1234}


class Plainly(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        shutil.copy(SOURCE / "scripts/plainly", self.tree.folder / "scripts/plainly")
        (self.tree.folder / "build").mkdir()
        self.tree.stand_in("chown", f'echo "$*" >{self.tree.top}/chown')
        # As scripts/test runs these tests on a machine that has no compiler cache.
        self.enterContext(mock.patch.dict(os.environ, CCACHE_DISABLE="1"))

    def plainly(self, *words, status=0, **variables):
        result = self.tree.run("scripts/plainly", *words, environment=variables)
        self.assertEqual(result.returncode, status, result.stdout)
        return result.stdout

    def handed_over(self):
        told = self.tree.top / "chown"
        return told.read_text(encoding="utf-8") if told.exists() else None

    def test_what_sudo_built_belongs_to_whoever_called_it(self):
        self.tree.stand_in("id", "echo 0")
        self.plainly("sh", "-c", "exit 7", status=7, **OWNER)
        self.assertEqual(self.handed_over(), "-R 4321:1234 build\n")

    def test_roots_own_builds_stay_roots(self):
        self.tree.stand_in("id", "echo 0")
        self.plainly("true", SUDO_UID=None)
        self.assertIsNone(self.handed_over())

    def test_an_ordinary_users_builds_stay_his(self):
        self.tree.stand_in("id", "echo 1000")
        self.plainly("true", **OWNER)
        self.assertIsNone(self.handed_over())

    def test_scripts_that_build_begin_so(self):
        self.tree.replace("scripts/plainly", 'echo "plainly $*"')
        for name in ("explore", "fuzz", "lint", "package", "reproduce", "soak", "test"):
            said = self.tree.run(f"scripts/{name}", "word", environment={"CAMERA_SHOT_PLAIN": None}).stdout
            self.assertEqual(said, f"plainly scripts/{name} word\n")

    def test_aptitude_for_building_gets_through_and_nothing_else(self):
        said = self.plainly("env", http_proxy="http://proxy:3128", APT_CONFIG="/etc/my apt", GTK_THEME="Loud", MAKEFLAGS="-j99")
        self.assertIn("http_proxy=http://proxy:3128\n", said)
        self.assertIn("APT_CONFIG=/etc/my apt\n", said)
        self.assertNotIn("GTK_THEME", said)
        self.assertNotIn("MAKEFLAGS", said)

    def test_a_folder_for_temporary_files_gets_through_if_tests_can_use_it(self):
        for name, is_kept in (("short", True), (60 * "x", False), ("with a space", False), ("with:colon", False)):
            with tempfile.TemporaryDirectory(dir="/tmp", suffix=name) as folder:
                self.assertEqual(f"TMPDIR={folder}\n" in self.plainly("env", TMPDIR=folder), is_kept, name)
        self.assertNotIn("TMPDIR", self.plainly("env", TMPDIR="/nowhere"))

    def assert_cache_is_used(self, is_used, **variables):
        said = self.plainly("env", CCACHE_DISABLE=None, **variables)
        self.assertEqual("CCACHE_DISABLE=1\n" not in said, is_used, said)

    def test_a_compiler_cache_that_can_be_written_is_used(self):
        cache = self.tree.top / "cache"
        self.tree.stand_in("ccache", f'[ "$*" = "-k cache_dir" ] && echo {cache}')
        self.assert_cache_is_used(True)  # it will be made
        cache.mkdir()
        self.assert_cache_is_used(True)
        self.assertEqual(os.listdir(cache), [])

    def test_one_that_cannot_be_written_is_not(self):
        (self.tree.top / "file").touch()
        for place in ("/proc/1", "/proc/nowhere/cache", self.tree.top / "file/cache"):
            self.tree.stand_in("ccache", f"echo {place}")
            self.assert_cache_is_used(False, CCACHE_DIR=place)

    def test_without_the_program_there_is_none(self):
        self.tree.stand_in("ccache", "exit 127")
        self.assert_cache_is_used(False)


if __name__ == "__main__":
    unittest.main()
