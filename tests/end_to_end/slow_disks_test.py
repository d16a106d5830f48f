#!/usr/bin/python3
"""Disks and servers that do not answer for a while, each stopped at one call."""

import unittest

from held_call import SAVING, HeldCall
from tool import HD, Tool, ToolTest, in_desktop


class Home(ToolTest):
    @in_desktop(HD)
    def test_the_record_of_the_last_run_waits_for_no_disk(self):
        with HeldCall(SAVING, file="last-runs.ini") as held:
            tool = Tool(environment=held.environment)
            self.assertEqual(tool.run(), 0, tool.log())
            self.assert_one_photo(tool)
            self.assertIn("a5f597ea", (tool.state / "last-runs.ini").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
