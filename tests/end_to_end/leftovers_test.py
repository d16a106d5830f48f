#!/usr/bin/python3
"""Whatever a run could leave behind is found: the check of the long runs can fail."""

import os
import subprocess
import sys
import unittest
from pathlib import Path

from bubbles import SERVICES
from leftovers import SUITE, Before
from session_bus import Client
from tool import Tool, ToolTest, in_desktop, installation


class Leftovers(ToolTest):
    @in_desktop(options=SERVICES)
    def test_nothing_is_left_where_nothing_ran(self):
        before, tool = Before(Client()), Tool()
        self.assertEqual(before.left(tool), [])

    @in_desktop(options=SERVICES)
    def test_each_file_that_is_left_is_found(self):
        before, tool = Before(Client()), Tool()
        for folder, name in ((os.environ["XDG_RUNTIME_DIR"], "socket"), (os.environ["TMPDIR"], "work"),
                             (tool.config, ".camera-shot.ini.part"), (tool.state, ".usage-events"),
                             (tool.photo_folder, ".Camera shot.png.part")):
            left = Path(folder) / name
            left.write_text("", encoding="utf-8")
            self.assertEqual(before.left(tool), [str(left)])
            left.unlink()

    @in_desktop(options=SERVICES)
    def test_a_name_on_the_bus_is_found(self):
        bus = Client()
        before, tool = Before(bus), Tool()
        bus.ask_bus("RequestName", "su", f"{SUITE}.Another", 0)
        self.assertEqual(before.left(tool), [f"{SUITE}.Another"])

    @in_desktop(options=SERVICES)
    def test_a_process_that_goes_on_is_found(self):
        before = Before(Client())
        command = [sys.executable, "-c", "input('it runs\\n')", installation() / "bin/program"]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as left:
            self.assertEqual(left.stdout.readline(), b"it runs\n")
            self.assertEqual(len(before.programs()), 1)
            left.communicate(b"\n")
        self.assertEqual(before.programs(), [])


if __name__ == "__main__":
    unittest.main()
