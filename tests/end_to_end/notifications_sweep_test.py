#!/usr/bin/python3
"""Clicks at every moment around the end of the program: whoever gets them, each shows its photo exactly once.

    notifications_sweep_test.py [--clicks N]
"""

import collections
import os
import random
import sys
import unittest

from gi.repository import GLib

from bubbles import APPLICATION, NOTIFIER, SERVICES, post_photo
from scripted_services import ScriptedDaemon, ScriptedFileManager
from session_bus import Client, turn_until
from tool import HD, ROOT, Tool, ToolTest, in_desktop

CLICKS = int(os.environ.get("CLICKS", "50"))
# Seconds after the last click was answered: the program that it started ends a tenth of a second after that.
LATEST_CLICK = 0.2
AROUND_THE_END = (0.08, 0.14)
# Every so many-th click is made at the end of a run that takes a photo, a second after the photo.
CLICKS_A_RUN = 25
QUIT_DELAY = 1.0


def let_pass(seconds):
    """Turns the main loop for that time."""
    passed = []
    GLib.timeout_add(max(1, round(1000 * seconds)), lambda: passed.append(True))
    turn_until(lambda: passed, bound=seconds + 10)


class ClicksAroundTheEnd(ToolTest):
    def moment(self, number):
        """Half of the clicks are spread evenly, half fall where the program leaves."""
        if number % 2:
            return self.random.uniform(*AROUND_THE_END)
        return LATEST_CLICK * number / CLICKS

    def click_at_the_end_of_a_run(self, tool, identifier):
        tool.start()
        stops = tool.names().count("Stop")
        turn_until(lambda: tool.names().count("Stop") > stops, tool.state, what="the photo")
        let_pass(QUIT_DELAY + self.random.uniform(-0.03, 0.04))
        self.daemon.click(identifier)
        self.assertEqual(tool.wait(), 0, tool.log())

    @in_desktop(HD, options=SERVICES)
    def test_every_one_shows_its_photo_once(self):
        self.random = random.Random(1)
        self.bus, self.daemon, file_manager = Client(), ScriptedDaemon(), ScriptedFileManager()
        tool = Tool()
        for number in range(CLICKS):
            post_photo(self.bus, f"{number}", f"/photos/{number}.png")
        turn_until(lambda: len(self.daemon.order) == CLICKS, what="the bubbles")
        bubbles = {identifier: "file://" + text.strip() for identifier, text in self.daemon.shown.items()}
        runs = 0
        for number, (identifier, photo) in enumerate(bubbles.items()):
            if number % CLICKS_A_RUN == CLICKS_A_RUN - 1:
                self.click_at_the_end_of_a_run(tool, identifier)
                runs += 1
            else:
                let_pass(self.moment(number))
                self.daemon.click(identifier)
            turn_until(lambda: photo in file_manager.shown, what=photo)
        # What is left is that of the photos taken meanwhile; a bubble goes only after its click has reached the program.
        turn_until(lambda: len(self.daemon.shown) == 1 and self.daemon.shown.keys().isdisjoint(bubbles),
                   what="the end of all bubbles but that of the photos")
        self.daemon.close(*self.daemon.shown)
        self.bus.wait_until_unowned(NOTIFIER)
        self.bus.wait_until_unowned(APPLICATION)
        shown = collections.Counter(file_manager.shown)
        self.assertEqual(shown, collections.Counter(bubbles.values()))

        by_launch = [event for event in tool.events() if event["details"] == {"ClickOnNotification": True}]
        self.assertEqual(tool.names().count("Launch"), len(by_launch) + runs)
        self.assertEqual(tool.names().count("Quit"), len(by_launch) + runs)
        self.assertEqual(len(tool.photos()), runs)
        print(f"{CLICKS} clicks: {len(by_launch)} started the program, {CLICKS - len(by_launch)} reached it running")


if __name__ == "__main__":
    if sys.argv[1:2] == ["--clicks"]:
        desktop = ROOT / "tests/desktop/run"
        os.execv(desktop, [desktop, "--camera", HD, *SERVICES, "--env", f"CLICKS={sys.argv[2]}", "--", sys.executable, __file__])
    unittest.main()
