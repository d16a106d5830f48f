"""scripts/deps: on machines whose apt is busy, broken or behind a proxy."""

import fcntl
import os
import sys
import threading
import unittest

from script_tree import SOURCE, ScriptTree

sys.path.insert(0, str(SOURCE / "tests/support"))

from private_apt import PrivateApt

# The lists are the test's own; nothing is installed, but what would be is told.
APT = """
for word; do if [ "$word" = update ] && [ -n "$APT_CONFIG" ]; then exec /usr/bin/apt-get "$@"; fi; done
echo "apt-get $* with ${http_proxy:-no proxy} and ${APT_CONFIG:-no settings}"
"""
# As it is set up everywhere: variables do not get through.
SUDO = 'exec env -i PATH="$PATH" "$@"'
CD = "deb cdrom:[Debian GNU/Linux 12 _Bookworm_ - Official amd64 NETINST]/ bookworm main\n"


class Deps(unittest.TestCase):
    def setUp(self):
        self.apt = PrivateApt(self)
        self.tree = ScriptTree(self)
        self.tree.stand_in("apt-get", APT)
        self.tree.stand_in("sudo", SUDO)
        self.tree.stand_in("dpkg-checkbuilddeps", "exit 1")

    def run_deps(self, *options, **variables):
        result = self.tree.run("scripts/deps", *options, environment={**self.apt.environment, **variables})
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout

    def assert_installs(self, said):
        self.assertRegex(said, r"apt-get .* install dpkg-dev\b")
        self.assertRegex(said, r"apt-get .* build-dep \./")

    def release_at_the_first_sleep(self, lock):
        """Whoever sleeps does so until the lock is free."""
        asked, free = (self.tree.top / name for name in ("asked", "free"))
        for pipe in (asked, free):
            os.mkfifo(pipe)
        self.tree.stand_in("sleep", f"echo >{asked}; read -r <{free}")

        def release():
            asked.read_text()
            fcntl.lockf(lock, fcntl.LOCK_UN)
            free.write_text("\n")

        releaser = threading.Thread(target=release, daemon=True)
        releaser.start()
        return releaser

    def test_what_is_missing_is_installed(self):
        self.assert_installs(self.run_deps())

    def test_to_build_in_a_fresh_debian_nothing_that_building_needs_is_installed(self):
        self.tree.stand_in("dpkg-query", "exit 1")
        said = self.run_deps("--cross")
        self.assertRegex(said, r"apt-get .* install .*\bdebootstrap\b")
        self.assertNotIn("build-dep", said)

    def test_lists_that_another_program_renews_are_waited_for(self):
        with open(self.apt.lock, "wb") as lock:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            releaser = self.release_at_the_first_sleep(lock)
            said = self.run_deps()
            releaser.join(10)
            self.assertFalse(releaser.is_alive(), said)
        self.assertNotIn("Warning", said)
        self.assert_installs(said)

    def test_packages_that_another_program_installs_are_waited_for(self):
        self.assertRegex(self.run_deps(), r"apt-get .*-o DPkg::Lock::Timeout=\d{3} .*install")

    def test_a_source_that_is_broken_does_not_keep_from_what_others_have(self):
        self.apt.set_source(CD)
        said = self.run_deps()
        self.assertIn("Warning", said)
        self.assertIn("cdrom", said)
        self.assert_installs(said)

    def test_what_only_the_environment_names_gets_through_sudo(self):
        self.tree.stand_in("id", "echo 1000")
        said = self.run_deps(http_proxy="http://proxy:3128")
        self.assert_installs(said)
        self.assertIn(f"with http://proxy:3128 and {self.apt.environment['APT_CONFIG']}", said)

    def test_without_sudo_an_ordinary_user_is_told(self):
        self.tree.stand_in("id", "echo 1000")
        (self.tree.programs / "sudo").unlink()
        for program in ("bash", "dirname", "env", "sleep"):
            (self.tree.programs / program).symlink_to(f"/usr/bin/{program}")
        result = self.tree.run("scripts/deps", environment={**self.apt.environment, "PATH": self.tree.programs})
        self.assertEqual(result.returncode, 1)
        self.assertIn("needs root, or sudo", result.stdout)


if __name__ == "__main__":
    unittest.main()
