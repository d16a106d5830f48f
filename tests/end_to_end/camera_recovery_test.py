#!/usr/bin/env python3
"""Cameras that are not ready, fail and come back: a silent run waits for its photo within its limit, and the preview
shows them again by itself."""

import contextlib
import os
import re
import signal
import subprocess
import unittest
from pathlib import Path

import pixels
from tool import CameraLine, Tool, ToolTest, control, in_desktop
from waiting import until_in_time, wait_until
from window_case import GREEN, RED, WindowTest, camera_of
from windows import PREVIEW, in_windowed_desktop

MODES = "modes=MJPG:320x240@30"
IN_USE = "The camera is in use by another program."
DESK = f"name=desk,title=Desk camera,{MODES}"


class Streams:
    """Counts the streams of cameras' pictures that programs have opened, as PipeWire tells of them."""

    def __init__(self):
        self.folder = Path(os.environ["CAMERA_DESKTOP_DIR"]) / "streams"
        self.folder.mkdir()
        self._told = self.folder / "told"
        with open(self._told, "wb") as told:
            self._monitor = subprocess.Popen(["stdbuf", "-oL", "pw-mon"], stdout=told, stdin=subprocess.DEVNULL)
        # It learns first what there is, then what comes.
        wait_until(lambda: self._told.stat().st_size > 0, self.folder, what="what PipeWire tells")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._monitor.terminate()
        self._monitor.wait()

    def count(self):
        told = re.split(r"^(added|changed|removed):$", self._told.read_text(errors="replace"), flags=re.MULTILINE)
        return sum(event == "added" and 'media.class = "Stream/Input/Video"' in what
                   for event, what in zip(told[1::2], told[2::2]))

    def wait_for(self, count):
        wait_until(lambda: self.count() >= count, self.folder, what=f"stream {count}")


@contextlib.contextmanager
def session_manager_stopped():
    """The session manager does nothing meanwhile and then catches up, as on a busy machine."""
    manager = int(os.environ["WIREPLUMBER_PID"])
    os.kill(manager, signal.SIGSTOP)
    try:
        yield
    finally:
        os.kill(manager, signal.SIGCONT)


class SilentRun(ToolTest):
    def assert_photo(self, tool):
        self.assertEqual(tool.wait(), 0, tool.log())
        return pixels.decode_png(self.assert_one_photo(tool))

    @in_desktop(f"{DESK},fault=busy:2000")
    def test_another_program_lets_go_of_the_camera(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},fault=told-busy:2000")
    def test_another_program_lets_go_of_the_camera_that_said_it_is_busy(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"name=desk,{MODES}+MJPG:640x480@30")
    def test_another_program_uses_the_camera_in_a_smaller_mode(self):
        """PipeWire lets several use a camera, in the mode of the first."""
        reader = [f"{os.environ['CAMERA_DESKTOP_PROGRAMS']}/frame_reader", "desk", "MJPG:320x240@30", "1000000"]
        with subprocess.Popen(reader, stdout=subprocess.DEVNULL) as other:
            self.addCleanup(other.kill)
            control("camera", "1", "wait-streaming")
            tool = Tool().start()
            picture = self.assert_photo(tool)
            self.assertIsNone(other.poll())
            other.terminate()
        self.assertIn("another program uses it, so its pictures are 320x240 instead of 640x480", tool.log())
        self.assertEqual((picture.width, picture.height), (320, 240))

    @in_desktop(f"name=desk,{MODES}+MJPG:640x480@30,fault=silent-from:640")
    def test_the_camera_is_silent_in_its_best_mode(self):
        picture = self.assert_photo(Tool().start())
        self.assertEqual((picture.width, picture.height), (320, 240))

    @in_desktop(f"{DESK},fault=suspend:10")
    def test_the_system_sleeps_for_a_moment(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},fault=stall-once:0")
    def test_the_camera_does_not_begin_at_its_first_start(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},fault=stall-once:1")
    def test_the_camera_stops_after_its_first_picture(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},fault=stall-once:20")
    def test_the_camera_stops_shortly_before_the_photo(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},device=usb-1,device-property=device.api=v4l2,node-delay=1500")
    def test_the_node_comes_long_after_its_device(self):
        self.assert_photo(Tool().start())

    @in_desktop(f"{DESK},exposure=1600")
    def test_the_exposure_settles_slowly(self):
        picture = self.assert_photo(Tool().start())
        self.assertGreater(picture.at(0.97, 0.5)[0], 200)

    @in_desktop(f"{DESK},fault=stall:5")
    def test_the_camera_changes_its_format(self):
        # Five pictures are too few for a photo, and all that the old format gives.
        tool = Tool().start()
        with CameraLine(1) as desk:
            desk.ask("wait-stalled")
            desk.ask("modes NV12:322x242@30")
            desk.ask("resume")
        picture = self.assert_photo(tool)
        self.assertEqual((picture.width, picture.height), (322, 242))

    @in_desktop(f"{RED},start-delay=60000", GREEN)
    def test_the_camera_goes_while_the_session_manager_is_held_up(self):
        with Streams() as streams, CameraLine(1) as red:
            tool = Tool(settings="[Defaults]\nShowPreview=false\nVideoSourceID=red\n")

            def unplug_and_see_the_end():
                red.ask("plug")
                opened = streams.count()
                tool.start()
                red.ask("wait-streaming")
                with session_manager_stopped():
                    red.ask("unplug")
                    wait_until(lambda: streams.count() >= opened + 2 or tool.has_failed(), streams.folder, tool.state,
                               what="the stream of the other camera")
                return tool.ends_by_itself()

            until_in_time(unplug_and_see_the_end, "the unplugging")
            self.assertEqual(tool.process.returncode, 0, tool.log())
        self.assertTrue(tool.photos(), tool.log())
        self.assertEqual({camera_of(pixels.decode_png(photo).at(0.3, 0.3)) for photo in tool.photos()}, {"green"})


class Preview:
    """What holds on every kind of display."""

    @staticmethod
    def wait_for_pictures():
        """Returns when the camera streams again. Its last picture stays on the screen for a moment when it goes; without a
        camera there is no button to press."""
        control("camera", "1", "wait-streaming")

    def assert_lives(self, tool, colour):
        """The preview shows that camera, and a photo of it can be taken."""
        self.wait_for_preview_colour(colour)
        self.windows.key("space")
        self.assertEqual(self.photo_colour(self.wait_for_photos(tool, 1)[0]), colour)

    @in_windowed_desktop(RED, GREEN)
    def test_the_camera_goes_while_the_session_manager_is_held_up(self):
        with Streams() as streams, CameraLine(1) as red:
            tool = self.open_preview()
            self.wait_for_preview_colour("red")
            with session_manager_stopped():
                red.ask("unplug")
                streams.wait_for(2)
            self.assert_lives(tool, "green")

    @in_windowed_desktop(RED)
    def test_the_camera_fails_and_is_plugged_again(self):
        tool = self.open_preview()
        self.wait_for_preview_colour("red")
        control("camera", "1", "error")
        control("camera", "1", "plug")
        self.wait_for_pictures()
        self.assert_lives(tool, "red")

    @in_windowed_desktop(RED)
    def test_the_system_sleeps_for_a_moment(self):
        tool = self.open_preview()
        self.wait_for_preview_colour("red")
        control("camera", "1", "suspend")
        self.wait_for_pictures()
        self.assert_lives(tool, "red")

    @in_windowed_desktop(RED)
    def test_the_camera_changes_its_format(self):
        tool = self.open_preview()
        self.wait_for_preview_colour("red")
        control("camera", "1", "modes", "YUY2:320x240@30")
        self.wait_for_pictures()
        self.assert_lives(tool, "red")
        picture = pixels.decode_png(tool.photos()[0])
        self.assertEqual((picture.width, picture.height), (320, 240))

    @in_windowed_desktop(f"{RED},fault=busy:2000")
    def test_another_program_lets_go_of_the_camera(self):
        self.assert_lives(self.open_preview(), "red")

    @in_windowed_desktop(f"{RED},fault=told-busy")
    def test_a_camera_that_another_program_has_says_so_until_it_lets_go(self):
        tool = self.open_preview()
        self.windows.find(IN_USE, PREVIEW)
        control("camera", "1", "busy", "off")
        self.assert_lives(tool, "red")
        self.assertNotIn(IN_USE, [each.name for each in self.windows.objects()])

    @in_windowed_desktop(RED)
    def test_the_daemon_restarts(self):
        tool = self.open_preview()
        self.wait_for_preview_colour("red")
        control("pipewire", "restart")
        self.wait_for_pictures()
        self.assert_lives(tool, "red")


class PreviewOnX11(Preview, WindowTest):
    pass


class PreviewOnWayland(Preview, WindowTest):
    display = "wayland"


if __name__ == "__main__":
    unittest.main()
