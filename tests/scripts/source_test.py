"""scripts/source: what is built, of a repository or of a folder that is none."""

import os
import subprocess
import time
import unittest

from script_tree import ScriptTree

YEAR = 365 * 24 * 3600


class Source(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.copy = self.tree.top / "a copy"
        (self.tree.folder / "file").write_text("committed", encoding="utf-8")
        for name in ("build/release/object", "build-of-my-own/file"):
            (self.tree.folder / name).parent.mkdir(parents=True)
            (self.tree.folder / name).touch()

    def git(self, *words, when=None):
        identity = {"HOME": str(self.tree.top), "GIT_AUTHOR_NAME": "A", "GIT_AUTHOR_EMAIL": "a@b", "GIT_COMMITTER_NAME": "A",
                    "GIT_COMMITTER_EMAIL": "a@b", **({"GIT_COMMITTER_DATE": f"@{when} +0000"} if when else {})}
        subprocess.run(["git", *words], cwd=self.tree.folder, check=True, stdout=subprocess.DEVNULL, env={**os.environ, **identity})

    def commit(self, when=None):
        self.git("init", "-q")
        self.git("add", "file", "scripts")
        self.git("commit", "-q", "-m", "first", when=when)

    def copied(self, **variables):
        result = self.tree.run("scripts/source", self.copy, environment=variables)
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout

    def assert_is_the_commit(self):
        self.assertEqual((self.copy / "file").read_text(encoding="utf-8"), "committed")
        self.assertEqual(sorted(os.listdir(self.copy)), ["file", "scripts"])
        self.assertTrue(os.access(self.copy / "scripts/source", os.X_OK))

    def test_a_repository_gives_its_last_commit(self):
        self.commit()
        (self.tree.folder / "file").write_text("changed since", encoding="utf-8")
        self.assertEqual(self.copied(), "")
        self.assert_is_the_commit()

    def test_without_a_repository_it_is_the_tree_without_what_was_built(self):
        said = self.copied()
        self.assertIn("no repository", said)
        self.assertEqual((self.copy / "file").read_text(encoding="utf-8"), "committed")
        self.assertEqual(sorted(os.listdir(self.copy)), [".ci", "build-of-my-own", "file", "scripts"])

    def test_a_copy_may_go_into_what_was_built(self):
        self.copy = self.tree.folder / "build/package/source"
        self.copied()
        self.assertFalse((self.copy / "build").exists())

    def test_a_repository_around_the_tree_is_another_one(self):
        subprocess.run(["git", "init", "-q", self.tree.top], check=True)
        self.assertIn("no repository", self.copied())

    def test_somebody_elses_clone_is_one_too(self):
        self.commit()
        self.copied(GIT_TEST_ASSUME_DIFFERENT_OWNER="1")
        self.assert_is_the_commit()

    def test_no_file_comes_from_the_future(self):
        # A clock that is behind: ninja would build for ever.
        self.commit(when=int(time.time()) + YEAR)
        self.copied()
        newest = max(path.stat().st_mtime for path in self.copy.rglob("*"))
        self.assertLess(newest, time.time() + YEAR / 2)


if __name__ == "__main__":
    unittest.main()
