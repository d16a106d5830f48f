"""scripts/test: what it calls, and in which order."""

import unittest

from script_tree import ScriptTree

STEPS = ("deps", "kernel", "cmake", "cmake", "ctest")


class Test(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.tree.replace("scripts/parallelism", 'if [ "$1" = tests ]; then echo 17; else echo 5; fi')
        for script in ("deps", "kernel"):
            self.tree.replace(f"scripts/{script}", f'echo "{script} $*" >>calls')
        for program in ("cmake", "ctest"):
            self.tree.stand_in(program, f'echo "{program} $*" >>calls')

    def calls(self, *arguments):
        result = self.tree.run("scripts/test", *arguments)
        self.assertEqual(result.returncode, 0, result.stdout)
        return (self.tree.folder / "calls").read_text(encoding="utf-8").splitlines()

    def test_what_needs_the_network_comes_first(self):
        self.assertEqual([line.split()[0] for line in self.calls()], list(STEPS))

    def test_the_kernel_comes_into_the_folder_of_the_build(self):
        self.assertIn("kernel build/debug", self.calls("debug"))

    def test_sanitizers_do_without_the_emulated_machine(self):
        for preset in ("asan", "tsan"):
            self.assertNotIn(f"kernel build/{preset}", self.calls(preset))

    def test_a_kernel_that_cannot_be_had_is_the_tests_to_complain_about(self):
        self.tree.replace("scripts/kernel", 'echo "no such package" >&2; exit 69')
        self.assertTrue(self.calls()[-1].startswith("ctest "))

    def test_as_much_runs_beside_each_other_as_may(self):
        _, _, _, build, tests = self.calls("-R", "something")
        self.assertIn(" --parallel 5", build)
        self.assertTrue(tests.endswith(" --parallel 17 -R something"), tests)

    def test_a_build_is_all_that_may_be_wanted(self):
        self.assertEqual([line.split()[0] for line in self.calls("--build-only")], list(STEPS[:-1]))


if __name__ == "__main__":
    unittest.main()
