#!/usr/bin/python3
"""Silent runs that are killed at random moments of a save, many side by side: no part of a photo under a final name, no
announced photo missing, and nothing left behind after the next run.

    CAMERA_SHOT_KILLS=1000 killed_saves_test.py     the long form; by default 12 kills
"""

import collections
import concurrent.futures
import os
import random
import time
import unittest
from pathlib import Path

from saves import Save
from tool import Tool, ToolTest, apart, control, in_desktop
from waiting import wait_until

KILLS = int(os.environ.get("CAMERA_SHOT_KILLS", "12"))
SIDE_BY_SIDE = 6
# Large enough for a save to take a while, small enough for a thousand of them.
CAMERA = "modes=MJPG:1920x1080@30,noise=12"
FIRST_SPAN = 0.1  # seconds; about what a save takes


class Station:
    """A camera and a place of its own for runs that are killed, one after the other."""

    def __init__(self, number, seed):
        name = f"killed-{number}"
        control("add-camera", f"name={name},title={name},{CAMERA}")
        self.tool = Tool(settings=f"[Defaults]\nShowPreview=false\nVideoSourceID={name}\n",
                         environment=apart(Path(os.environ["HOME"]) / name))
        self.tool.log_path.touch()
        self._random = random.Random(f"{seed} {number}")
        self._spans = {self._wait_for_start: FIRST_SPAN, self._wait_for_file: FIRST_SPAN}
        self._runs = 0

    def _wait_for_start(self, _):
        self.tool.wait_for_count("Start", self._runs)

    def _wait_for_file(self, save):
        """Of the photo, or of its failure: a camera whose last user was killed may stay silent."""
        failures = self._failures()
        wait_until(lambda: save.has_begun() or self._failures() > failures, self.tool.photo_folder, self.tool.state,
                   what="the save")

    def _failures(self):
        return self.tool.log().count("Error while capture")

    def kill_one(self):
        """Kills a run at a random moment after it has begun a shot, or the file. Returns whether it had announced the photo
        or its failure by then, the photos that are there, and whether it has left anything else."""
        earlier = set(self.tool.leftovers())
        failures = self._failures()
        wait = self._random.choice(list(self._spans))
        save = Save(self.tool.photo_folder)
        tool = self.tool.start()
        try:
            self._runs += 1
            wait(save)
            # A kill at any moment is what is wanted here, so this is no wait for something to happen.
            time.sleep(self._random.uniform(0, self._spans[wait]))
        except AssertionError as error:
            raise AssertionError(f"{error}\n{tool.names()[-3:]}\n{tool.log()[-2000:]}") from error
        finally:
            tool.end()
        announced = tool.names()[-1] in ("Stop", "Quit")
        told = "announced" if announced else "failed" if self._failures() > failures else None
        # One in three kills comes too late, so that those before spread over all of the save, however busy the machine is. A
        # run whose camera was silent tells nothing of that.
        self._spans[wait] *= {"announced": 0.8, "failed": 1.0, None: 1.12}[told]
        return told, tool.photos(), not earlier.issuperset(tool.leftovers())


class KilledSaves(ToolTest):
    def check_one(self, station):
        """Returns when in a save the kill fell."""
        told, photos, has_left = station.kill_one()
        for photo in photos:
            self.assert_whole_png(photo)
            photo.unlink()
        self.assertLessEqual(len(photos), 1)
        if told == "announced":
            self.assertTrue(photos, f"an announced photo is missing\n{station.tool.log()}")
        if told:
            return told
        return "named" if photos else "being written" if has_left else "not begun"

    def kill_many(self, station, kills):
        moments = collections.Counter()
        while moments.total() - moments["announced"] - moments["failed"] < kills:
            moments[self.check_one(station)] += 1
            self.assertLess(moments.total(), 20 + 10 * kills, f"kills come too late: {moments}")
        return moments

    @in_desktop()
    def test_at_random_moments(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}", flush=True)
        stations = [Station(number, seed) for number in range(SIDE_BY_SIDE)]
        with concurrent.futures.ThreadPoolExecutor(SIDE_BY_SIDE) as pool:
            each = -(-KILLS // SIDE_BY_SIDE)
            moments = sum(pool.map(lambda station: self.kill_many(station, each), stations), collections.Counter())
            print(f"killed: {dict(moments)}", flush=True)
            while not moments["being written"]:
                moments += self.kill_many(stations[0], 1)
            list(pool.map(self.check_next_run, stations))

    def check_next_run(self, station):
        """A run that nobody kills saves its photo and clears away what the killed ones left."""
        tool = station.tool
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)
        for folder in (tool.config, tool.state):
            self.assertEqual(list(folder.glob(".*")), [])


if __name__ == "__main__":
    unittest.main()
