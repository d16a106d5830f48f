#!/usr/bin/python3
"""The program is asked to end, or its session ends around it, while a photo is on its way to the disk: a photo whose picture
the camera has sent is saved."""

import os
import signal
import subprocess
import unittest

from held_call import DECODING, SAVING, HeldCall
from session_bus import Client
from tool import HD, Tool, ToolTest, control, in_desktop
from window_case import WindowTest
from windows import APPLICATION, in_windowed_desktop

WIDE = "name=desk,title=Desk camera,modes=MJPG:1920x1080@30"  # larger than any preview of it


class PhotoOnItsWay(ToolTest):
    """Of a silent run."""

    def start_and_hold(self, held):
        tool = Tool(environment=held.environment).start()
        held.wait()
        return tool

    def assert_photo_at_the_end(self, tool):
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Start", "Quit"])
        self.assert_one_photo(tool)

    def check_asked_to_end(self, call, *signals):
        with HeldCall(call) as held:
            tool = self.start_and_hold(held)
            bus = Client()
            for number in signals:
                tool.process.send_signal(number)
                # Nothing is left to do but to wait for the photo.
                bus.wait_until_unowned(APPLICATION)
            held.release()
            self.assert_photo_at_the_end(tool)

    @in_desktop(HD)
    def test_asked_to_end_while_the_picture_is_decoded(self):
        self.check_asked_to_end(DECODING, signal.SIGTERM)

    @in_desktop(HD)
    def test_asked_to_end_while_the_file_is_written(self):
        self.check_asked_to_end(SAVING, signal.SIGTERM)

    @in_desktop(HD)
    def test_asked_again_and_otherwise_as_login_managers_do(self):
        self.check_asked_to_end(SAVING, signal.SIGTERM, signal.SIGHUP, signal.SIGTERM)

    def check_end_of_the_session(self, call):
        with HeldCall(call) as held:
            tool = self.start_and_hold(held)
            control("pipewire", "kill")
            os.kill(int(os.environ["DBUS_DAEMON_PID"]), signal.SIGKILL)
            tool.process.send_signal(signal.SIGTERM)
            tool.process.send_signal(signal.SIGHUP)
            tool.wait_for_event("Quit")
            held.release()
            self.assert_photo_at_the_end(tool)

    @in_desktop(HD)
    def test_the_session_ends_while_the_picture_is_decoded(self):
        self.check_end_of_the_session(DECODING)

    @in_desktop(HD)
    def test_the_session_ends_while_the_file_is_written(self):
        self.check_end_of_the_session(SAVING)


class Preview:
    """A shot from the window whose display goes."""

    def check_lost_display(self, call, *, end_the_rest=lambda: None):
        with HeldCall(call) as held:
            tool = self.open_preview(environment=held.environment)
            control("camera", "1", "wait-frames", "45")
            self.windows.key("space")
            held.wait()
            end_the_rest()
            self.end_display()
            tool.wait_for_event("Quit")
            held.release()
            self.assertEqual(tool.wait(), 1, tool.log())
            self.assertEqual(tool.names(), ["Launch", "Start", "Quit"])
            self.assertIn("display", tool.log())
            self.assert_one_photo(tool)

    @in_windowed_desktop(WIDE)
    def test_the_display_goes_while_the_picture_is_decoded(self):
        self.check_lost_display(DECODING)

    @in_windowed_desktop(WIDE)
    def test_the_display_goes_while_the_file_is_written(self):
        self.check_lost_display(SAVING)

    @in_windowed_desktop(WIDE)
    def test_bus_and_cameras_go_before_the_display(self):
        def end_the_rest():
            control("pipewire", "kill")
            os.kill(int(os.environ["DBUS_DAEMON_PID"]), signal.SIGKILL)

        self.check_lost_display(SAVING, end_the_rest=end_the_rest)

    @in_windowed_desktop(WIDE)
    def test_asked_to_end_before_the_display_goes(self):
        with HeldCall(SAVING) as held:
            tool = self.open_preview(environment=held.environment)
            control("camera", "1", "wait-frames", "45")
            self.windows.key("space")
            held.wait()
            tool.process.send_signal(signal.SIGTERM)
            tool.wait_for_event("Quit")
            self.end_display()
            held.release()
            tool.wait()
            self.assertEqual(tool.names(), ["Launch", "Start", "Quit"])
            self.assert_one_photo(tool)

    @in_windowed_desktop(WIDE)
    def test_without_a_shot_the_run_ends_at_once(self):
        tool = self.open_preview()
        self.end_display()
        self.assertEqual(tool.wait(), 1, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"], tool.log())
        self.assert_no_photo(tool)


class PreviewOnX11(Preview, WindowTest):
    display = "x11"

    @staticmethod
    def end_display():
        os.kill(int(os.environ["XVFB_PID"]), signal.SIGKILL)


class PreviewOnWayland(Preview, WindowTest):
    display = "wayland"

    @staticmethod
    def end_display():
        subprocess.run(["swaymsg", "exit"], check=False, capture_output=True)


if __name__ == "__main__":
    unittest.main()
