"""The manual pages are sound and refer to pages that exist."""

import unittest

from surroundings import SOURCE, run

PAGES = sorted((SOURCE / "docs/man").glob("*.1"))
# Whether other pages are installed says nothing about ours.
UNRELATED = ("referenced manual not found", "outdated mandoc.db")


class ManualPagesTest(unittest.TestCase):
    def test_there_is_one_for_each_program(self):
        self.assertEqual([page.name for page in PAGES], ["quillo-camera-shot-notifier.1", "quillo-camera-shot.1"])

    def test_they_are_sound(self):
        status, output = run("mandoc", "-Tlint", *PAGES)
        remarks = [line for line in output.split("\n") if line and not any(text in line for text in UNRELATED)]
        self.assertEqual(remarks, [])
        self.assertLess(status, 2)  # mandoc: from 2 on a warning, from 3 on an error

    def test_they_refer_to_one_another(self):
        for page, other in zip(PAGES, reversed(PAGES)):
            self.assertIn(f".Xr {other.stem} 1", page.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
