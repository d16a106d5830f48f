#!/usr/bin/python3
"""The runner of the emulated machine: what it gives its command, and that it leaves nothing behind."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

RUN = Path(__file__).resolve().parent / "run"
SOMEBODY = 65534  # of no rights at all
TELL = 'echo "$PWD $GREETING"; id -u; uname -r; touch /usr/changed && echo complaint >&2; exit 7'


class Runner(unittest.TestCase):
    def setUp(self):
        # A folder for temporary files of our own: other runs have theirs elsewhere.
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o1777)
        self.temporary = folder.name

    def run_runner(self, *arguments, prefix=()):
        """The result of a run, which leaves nothing behind."""
        result = subprocess.run([*prefix, RUN, *arguments], capture_output=True, text=True, timeout=200, check=False,
                                env={**os.environ, "TMPDIR": self.temporary})
        self.assertEqual(os.listdir(self.temporary), [])
        return result

    def test_an_ordinary_user_is_root_in_a_machine_of_his_own(self):
        ordinary = ("setpriv", f"--reuid={SOMEBODY}", f"--regid={SOMEBODY}", "--clear-groups") if os.getuid() == 0 else ()
        result = self.run_runner("--env", "GREETING=hello", "--", "sh", "-c", TELL, prefix=ordinary)
        folder, user, release = result.stdout.splitlines()
        self.assertEqual((folder, user), (f"{os.getcwd()} hello", "0"), result.stderr)
        self.assertTrue(release.endswith("-amd64"), release)
        self.assertEqual(result.stderr, "complaint\n")
        self.assertEqual(result.returncode, 7)
        self.assertFalse(os.path.exists("/usr/changed"))

    def test_a_command_that_takes_too_long_ends_with_its_machine(self):
        result = self.run_runner("--timeout", "2", "--env", "GREETING=too-long", "--", "sleep", "1000")
        self.assertEqual(result.returncode, 124)
        self.assertIn("not done within 2 s", result.stderr)

    def test_without_the_emulator_it_names_the_package(self):
        result = self.run_runner("--", "true", prefix=("env", "PATH=/nowhere", "/usr/bin/python3"))
        self.assertEqual(result.returncode, 69)
        self.assertIn("install the Debian package qemu-system-x86", result.stderr)


if __name__ == "__main__":
    unittest.main()
