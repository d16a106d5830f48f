#!/usr/bin/python3
"""A long night: silent runs, a preview with many shots, and runs of all kinds, while cameras come and go and the
notification service and PipeWire start anew. Each shot has its file or its message, each click arrives, nothing grows, and
nothing is left at the end. scripts/soak is the long form.

    CAMERA_SHOT_RUNS=2000 soak_test.py SilentRuns       CAMERA_SHOT_SHOTS=10000 soak_test.py LongPreview
    CAMERA_SHOT_RUNS=10000 soak_test.py MixedRuns       CAMERA_SHOT_SEED=N: as in the run that said so
"""

import os
import random
import sys
import unittest

from bubbles import APPLICATION, SERVICES
from desk import CAMERAS, Desk
from growth import Growth
from soak import MixedShooter, Shooter, SilentShooter
from tool import ROOT, ToolTest, in_desktop

RUNS = int(os.environ.get("CAMERA_SHOT_RUNS", "6"))
SHOTS = int(os.environ.get("CAMERA_SHOT_SHOTS", "30"))
SEED = int(os.environ.get("CAMERA_SHOT_SEED", random.randrange(1 << 32)))
PROGRESS = 250  # runs or shots
# Of a preview, in shots: how many come before anybody looks at what it holds, and how often that happens then.
WARM_UP, LOOK = 10, 5


class SoakTest(ToolTest):
    def setUp(self):
        if "CAMERA_DESKTOP_DIR" in os.environ:
            self.desk = Desk(SEED)
            self.addCleanup(self.desk.close)
            print(f"seed {SEED}", flush=True)

    def run_all(self, shooter):
        """That many runs; between them cameras and services change."""
        for number in range(RUNS):
            shooter.run()
            self.change_something(cameras=4, notifications=20, pipewire=50)
            self.tell_progress(number)

    def change_something(self, *, cameras, notifications, pipewire):
        """Each of them changes once in so many times."""
        if self.desk.happens(cameras):
            self.desk.plug_or_unplug()
        if self.desk.happens(notifications):
            self.desk.restart_daemon()
        if self.desk.happens(pipewire):
            self.desk.restart_pipewire()

    def tell_progress(self, number):
        if number % PROGRESS == PROGRESS - 1:
            print(f"{number + 1}: {self.desk.happened}", flush=True)

    def assert_nothing_left(self, shooter):
        """After a run that takes its photo: what killed ones leave is removed by the next."""
        self.desk.plug_all()
        shooter.forget()
        shooter.whole_run()
        for identifier in list(self.desk.daemon.shown):
            self.desk.daemon.close(identifier)
        self.assertEqual(self.desk.before.left(shooter.tool), [])
        print(self.desk.happened)


class SilentRuns(SoakTest):
    @in_desktop(*CAMERAS, options=SERVICES)
    def test_each_has_its_photo_or_its_message_and_nothing_is_left(self):
        shooter = SilentShooter(self.desk, self)
        self.run_all(shooter)
        self.assert_nothing_left(shooter)


class MixedRuns(SoakTest):
    @in_desktop(*CAMERAS, options=(*SERVICES, "--display"))
    def test_each_has_its_photo_or_its_message_and_nothing_is_left(self):
        shooter = MixedShooter(self.desk, self)
        self.run_all(shooter)
        self.assert_nothing_left(shooter)


class LongPreview(SoakTest):
    @in_desktop(*CAMERAS, options=(*SERVICES, "--display"))
    def test_each_shot_has_its_photo_or_its_message_and_nothing_grows(self):
        shooter = Shooter(self.desk, self, show_preview=True)
        shooter.tool.start()
        self.desk.bus.wait_for_owner(APPLICATION)
        shooter.turn_until(lambda: shooter.count("Launch"), "the launch")
        self.do_everything_once(shooter)
        growth = Growth(shooter.tool.process.pid)
        for number in range(SHOTS):
            if number % LOOK == 0:
                self.look(shooter, growth)
            self.shoot(shooter, disturbed=self.desk.happens(50))
            self.change_something(cameras=30, notifications=100, pipewire=500)
            self.tell_progress(number)
        self.look(shooter, growth)
        print(growth)
        self.assertEqual(growth.excess(), {}, growth)
        self.assertEqual(shooter.tool.stop(), 0, shooter.tool.log())
        self.assert_nothing_left(SilentShooter(self.desk, self))

    def do_everything_once(self, shooter):
        """What is loaded and kept when it is used for the first time is no growth."""
        for _ in range(WARM_UP):
            self.shoot(shooter, click=True)
        for change in (self.desk.restart_daemon, self.desk.restart_pipewire):
            change()
            self.shoot(shooter)
        while "failures told" not in self.desk.happened:
            self.shoot(shooter, disturbed=True)

    def look(self, shooter, growth):
        """After a shot that nothing disturbed, so that a camera's pictures are coming."""
        self.desk.plug_all()
        self.shoot(shooter, click=False)
        growth.look()

    def shoot(self, shooter, *, disturbed=False, click=None):
        """A camera comes or goes during a shot that is disturbed; one in some bubbles is clicked on where nothing is said of
        it. After a shot that failed the preview keeps to its camera, which then is plugged again."""
        shooter.forget()
        self.desk.click_menu_icon()
        if disturbed:
            self.desk.plug_or_unplug()
        shooter.check_shot(click=self.desk.happens(10) if click is None else click)
        if shooter.failures():
            self.desk.plug_all()


if __name__ == "__main__":
    if sys.argv[1:2] == ["--long"]:  # says at once how far it is
        desktop = ROOT / "tests/desktop/run"
        plugged = [word for camera in CAMERAS for word in ("--camera", camera)]
        os.execv(desktop, [desktop, *plugged, *SERVICES, "--display", "--", sys.executable, __file__, sys.argv[2]])
    unittest.main()
