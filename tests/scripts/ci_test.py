""".ci/run as root: what the ordinary user whom it makes finds."""

import unittest

from script_tree import ScriptTree

# As setpriv does it: nothing is left of root's environment.
SETPRIV = 'while [ "$1" != --reset-env ]; do shift; done; shift; exec env -i "$@"'
TEST = 'echo "in $PWD: test $* through ${https_proxy:-no proxy}, CI ${CI:-no}"'


class ContinuousIntegration(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.tree.replace("scripts/deps", "exit 0")
        self.tree.replace("scripts/kernel", 'echo "in $PWD: kernel $*"')
        self.tree.replace("scripts/test", TEST)
        self.tree.stand_in("setpriv", SETPRIV)
        self.tree.stand_in("ctest", 'echo "in $PWD: ctest $*"')
        self.tree.stand_in("id", "echo 0")
        self.tree.stand_in("df", "printf '  Avail\\n 4000\\n'")
        for program in ("useradd", "userdel", "chown"):
            self.tree.stand_in(program, "exit 0")
        self.work = self.tree.top / "work"
        self.work.mkdir()

    def run_it(self, *words, **variables):
        result = self.tree.run(".ci/run", *words, environment={"CI": None, "CAMERA_SHOT_WORK": self.work, **variables})
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual(list(self.work.iterdir()), [])
        return result.stdout

    def test_it_works_on_a_copy_outside_of_the_folder_for_temporary_files(self):
        for line in self.run_it().splitlines():
            if line.startswith("in "):
                self.assertRegex(line, rf"^in {self.work}/camera-shot-[^/]+/clone: ")

    def test_a_proxy_gets_through_to_the_user(self):
        self.assertIn("test --build-only through http://proxy:3128, CI yes",
                      self.run_it(https_proxy="http://proxy:3128", CI="yes"))

    def test_the_network_and_roots_rights_serve_to_fetch_the_kernel(self):
        steps = [line.split(": ")[1].split()[0] for line in self.run_it().splitlines() if line.startswith("in ")]
        self.assertEqual(steps, ["kernel", "test", "ctest", "test"])

    def test_arguments_are_those_of_the_tests(self):
        self.assertIn(": test asan -R something through no proxy, CI no\n", self.run_it("asan", "-R", "something"))


if __name__ == "__main__":
    unittest.main()
