#!/usr/bin/python3
"""The runner of the emulated machine: what it gives its command, and that it leaves nothing behind."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
RUN = TESTS / "kernel/run"
PROGRAMS = Path(os.environ["CAMERA_SHOT_KERNEL_PROGRAMS"])
SOMEBODY = 65534  # of no rights at all
TELL = 'echo "$PWD $GREETING"; id -u; uname -r; touch /usr/changed && echo complaint >&2; exit 7'


class Runner(unittest.TestCase):
    def setUp(self):
        # A folder for temporary files of our own: other runs have theirs elsewhere.
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o1777)
        self.temporary = folder.name

    def run_runner(self, *arguments, prefix=(), runner=RUN, folder=None, **variables):
        """The result of a run, which leaves nothing behind."""
        result = subprocess.run([*prefix, runner, *arguments], capture_output=True, text=True, timeout=200, check=False,
                                cwd=folder, env={**os.environ, "TMPDIR": self.temporary, **variables})
        self.assertEqual(os.listdir(self.temporary), [])
        return result

    def readable_copies(self):
        """For everybody, of the runner and of what it needs: the project may be in a home that is its owner's alone."""
        copies = tempfile.TemporaryDirectory()
        self.addCleanup(copies.cleanup)
        subprocess.run(["cp", "--recursive", TESTS / "kernel", TESTS / "desktop", PROGRAMS / "guest_init", PROGRAMS / "machine",
                        copies.name], check=True)
        subprocess.run(["chmod", "--recursive", "a+rX", copies.name], check=True)
        return Path(copies.name)

    def test_an_ordinary_user_is_root_in_a_machine_of_his_own(self):
        ordinary = ("setpriv", f"--reuid={SOMEBODY}", f"--regid={SOMEBODY}", "--clear-groups") if os.getuid() == 0 else ()
        copies = self.readable_copies()
        result = self.run_runner("--env", "GREETING=hello", "--", "sh", "-c", TELL, prefix=ordinary, folder=copies,
                                 runner=copies / "kernel/run", CAMERA_SHOT_KERNEL_PROGRAMS=str(copies))
        self.assertEqual((result.returncode, result.stderr), (7, "complaint\n"))
        folder, user, release = result.stdout.splitlines()
        self.assertEqual((folder, user), (f"{copies} hello", "0"))
        self.assertTrue(release.endswith("-amd64"), release)
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
