"""scripts/parallelism: how much runs beside each other on machines and in containers of all sizes."""

import unittest

from script_tree import ScriptTree

GIGABYTE = 1024 ** 3


class Parallelism(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.root = self.tree.top / "root"
        self.given("proc/self/cgroup", "0::/box/inner\n")
        self.machine(64, 256)

    def machine(self, processors, gigabytes):
        self.tree.stand_in("nproc", f"echo {processors}")
        self.given("proc/meminfo", f"MemTotal:  {gigabytes * GIGABYTE // 1024} kB\nMemFree:  1 kB\n")

    def given(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text, encoding="utf-8")

    def assert_beside(self, compilers, tests):
        for what, expected in (("compilers", compilers), ("tests", tests)):
            result = self.tree.run("scripts/parallelism", what, self.root)
            self.assertEqual((result.returncode, result.stdout), (0, f"{expected}\n"), what)

    def test_a_machine_of_two_processors(self):
        self.machine(2, 16)
        self.assert_beside(compilers=2, tests=8)

    def test_a_large_machine_has_bounds_for_tests_only(self):
        self.assert_beside(compilers=64, tests=24)

    def test_a_quota_of_the_group_or_of_one_around_it_counts_upwards(self):
        self.given("sys/fs/cgroup/box/cpu.max", "150000 100000\n")
        self.given("sys/fs/cgroup/box/inner/cpu.max", "max 100000\n")
        self.assert_beside(compilers=2, tests=8)

    def test_a_container_that_sees_its_group_as_the_root(self):
        self.given("proc/self/cgroup", "0::/\n")
        self.given("sys/fs/cgroup/cpu.max", "200000 100000\n")
        self.given("sys/fs/cgroup/memory.max", f"{GIGABYTE}\n")
        self.assert_beside(compilers=1, tests=4)

    def test_a_group_that_the_container_does_not_see_leaves_those_that_it_sees(self):
        self.given("proc/self/cgroup", "0::/elsewhere/with a space/altogether\n")
        self.given("sys/fs/cgroup/cpu.max", "100000 100000\n")
        self.assert_beside(compilers=1, tests=4)

    def test_the_first_version_of_groups(self):
        self.given("proc/self/cgroup", "5:cpu,cpuacct:/box\n3:memory:/box\n1:name=systemd:/box\n")
        self.given("sys/fs/cgroup/cpu,cpuacct/box/cpu.cfs_quota_us", "250000\n")
        self.given("sys/fs/cgroup/cpu,cpuacct/box/cpu.cfs_period_us", "100000\n")
        self.given("sys/fs/cgroup/cpu,cpuacct/cpu.cfs_quota_us", "-1\n")
        self.given("sys/fs/cgroup/cpu,cpuacct/cpu.cfs_period_us", "100000\n")
        self.given("sys/fs/cgroup/memory/box/memory.limit_in_bytes", f"{2 * GIGABYTE}\n")
        # No limit is a number that hardly fits.
        self.given("sys/fs/cgroup/memory/memory.limit_in_bytes", "9223372036854771712\n")
        self.assert_beside(compilers=2, tests=8)

    def test_a_tiny_machine_still_goes_on(self):
        self.machine(1, 0)
        self.assert_beside(compilers=1, tests=1)

    def test_a_system_without_groups(self):
        (self.root / "proc/self/cgroup").unlink()
        self.machine(4, 3)
        self.assert_beside(compilers=3, tests=12)

    def test_anything_else_is_told_how_it_is_used(self):
        result = self.tree.run("scripts/parallelism", "nothing")
        self.assertEqual(result.returncode, 64)
        self.assertIn("scripts/parallelism compilers | tests", result.stdout)

    def test_this_machine(self):
        self.assertRegex(self.tree.run("/usr/bin/env", "-u", "HOME", "scripts/parallelism", "compilers").stdout, r"^[1-9]\d*\n$")


if __name__ == "__main__":
    unittest.main()
