#!/usr/bin/python3
"""The preview window: the live picture, shots, cameras that come and go, and the ways out."""

import os
import re
import subprocess
import unittest
from pathlib import Path

from scripted_services import PORTAL, SilentService
from tool import WITHOUT_OVERRIDE, Tool, control, let_pictures_pass, stalled_camera
from waiting import wait_until
from window_case import GREEN, RED, WindowTest, call_tool, wayland_activations
from windows import PREFERENCES, PREVIEW, in_windowed_desktop

DESK = "name=desk,title=Desk camera,modes=MJPG:1280x720@30"  # of the window's shape: no bars beside the picture
NO_CAMERA = "No camera found"
STARTING = "Starting the camera…"
NOT_ALLOWED = "The tool is not allowed to access the camera."


def is_red(pixel):
    return pixel[0] > 180 and max(pixel[1:]) < 80


def is_blue(pixel):
    return pixel[2] > 180 and max(pixel[:2]) < 80


class Preview:
    """What holds on every kind of display."""

    def wait_for_mirrored_picture(self):
        """The camera has red at its left edge and blue at its right one."""
        self.wait_for_pixel(0.95, 0.5, is_red)
        self.wait_for_pixel(0.05, 0.5, is_blue)

    def assert_may_shoot(self, may):
        self.windows.wait_until(
            lambda objects: [each for each in objects if each.name == "Take a photo"
                             and ("sensitive" in each.states) == may], f"the shoot button, enabled: {may}")

    @in_windowed_desktop(DESK)
    def test_a_click_space_and_return_each_take_a_photo(self):
        tool = self.open_preview()
        self.wait_for_mirrored_picture()
        presses = [lambda: self.windows.click("Take a photo", PREVIEW), lambda: self.windows.key("space"),
                   lambda: self.windows.key("Return")]
        for count, press in enumerate(presses, start=1):
            press()
            # The file is there before the tool knows it.
            tool.wait_for_names(["Launch", *count * ["Start", "Stop"]])
            self.wait_for_photos(tool, count)
        self.assertEqual(self.windows.titles(), {PREVIEW})

    @in_windowed_desktop(DESK)
    def test_a_held_key_takes_one_photo(self):
        tool = self.open_preview()
        self.wait_for_mirrored_picture()
        for count, key in enumerate(("space", "Return"), start=1):
            with self.windows.held_key(key):
                tool.wait_for_names(["Launch", *count * ["Start", "Stop"]])
                # Two seconds of pictures: keys begin to repeat themselves before one is over.
                let_pictures_pass(60)
        self.windows.key("ctrl+q")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Start", "Stop", "Quit"])
        self.assertEqual(len(tool.photos()), 2)

    @in_windowed_desktop("name=slow,title=Slow camera,modes=MJPG:640x480@30,start-delay=60000")
    def test_until_the_first_picture_comes_it_says_that_the_camera_starts(self):
        self.open_preview()
        self.windows.find(STARTING, PREVIEW)
        self.assertNotIn(NO_CAMERA, [each.name for each in self.windows.objects()])

    @in_windowed_desktop(DESK)
    def test_with_the_picture_there_is_no_word_of_starting(self):
        self.open_preview()
        self.wait_for_mirrored_picture()
        self.windows.wait_until(lambda objects: STARTING not in [each.name for each in objects], f"no {STARTING}")

    @in_windowed_desktop(DESK)
    def test_everything_has_a_name_for_screen_readers(self):
        self.open_preview()
        self.wait_for_mirrored_picture()
        self.assert_all_is_named(PREVIEW)

    @in_windowed_desktop()
    def test_the_warning_is_read_aloud_and_the_picture_that_it_covers_is_not(self):
        self.open_preview()
        warning = self.windows.wait_until(
            lambda objects: [each for each in objects if each.role in ("alert", "notification")], "the alert")
        self.assertEqual([each.name for each in warning], [NO_CAMERA])
        self.assertNotIn("Camera picture", [each.name for each in self.windows.objects()])
        control("add-camera", DESK)
        self.windows.find("Camera picture", PREVIEW)
        self.assertFalse([each for each in self.windows.objects() if each.role in ("alert", "notification")])

    @in_windowed_desktop(DESK)
    def test_a_portal_that_does_not_answer_holds_neither_the_window_nor_the_end(self):
        self.addCleanup(SilentService(PORTAL).close)
        tool = self.open_preview()
        self.wait_for_mirrored_picture()
        self.assertEqual(tool.stop(), 0, tool.log())

    @in_windowed_desktop(DESK)
    def test_the_keys_are_listed_on_request(self):
        self.open_preview()
        self.windows.key("ctrl+F1")
        self.windows.wait_until(lambda objects: "Take a photo" in [each.name for each in objects if each.window != PREVIEW],
                                "the list of keys")
        self.windows.find("Keyboard shortcuts", "Keyboard shortcuts")

    @in_windowed_desktop(DESK)
    def test_the_close_key_ends_the_tool(self):
        tool = self.open_preview()
        self.windows.key("ctrl+w")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])

    @in_windowed_desktop(DESK)
    def test_the_quit_key_ends_the_tool(self):
        tool = self.open_preview()
        self.windows.key("ctrl+q")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])

    @in_windowed_desktop(DESK)
    def test_a_shot_that_is_under_way_when_the_window_closes_is_saved(self):
        tool = self.open_preview()
        self.wait_for_mirrored_picture()
        with stalled_camera():
            control("camera", "1", "wait-stalled")
            self.windows.key("space")
            self.windows.key("ctrl+w")
            self.windows.wait_until_gone(PREVIEW)
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assert_one_photo(tool)
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Quit"])

    @in_windowed_desktop()
    def test_without_a_camera_the_panel_says_so_until_one_is_plugged(self):
        tool = self.open_preview()
        self.windows.find(NO_CAMERA, PREVIEW)
        self.assert_may_shoot(False)
        self.windows.key("space")
        control("add-camera", DESK)
        self.wait_for_mirrored_picture()
        self.assert_may_shoot(True)
        self.assertNotIn(NO_CAMERA, [each.name for each in self.windows.objects()])
        self.windows.key("space")
        self.wait_for_photos(tool, 1)
        tool.wait_for_names(["Launch", "Start", "Stop"])

    @in_windowed_desktop(RED, GREEN)
    def test_another_camera_takes_over_and_the_panel_comes_with_the_last_one_gone(self):
        tool = self.open_preview(settings="[Defaults]\nShowPreview=true\nVideoSourceID=green\n")
        self.wait_for_preview_colour("green")
        control("camera", "2", "unplug")
        self.wait_for_preview_colour("red")
        self.assert_may_shoot(True)
        control("camera", "1", "unplug")
        self.windows.find(NO_CAMERA, PREVIEW)
        self.assert_may_shoot(False)
        control("camera", "1", "plug")
        self.wait_for_preview_colour("red")
        control("camera", "2", "plug")
        self.wait_for_preview_colour("green")
        self.windows.key("space")
        self.assertEqual(self.photo_colour(self.wait_for_photos(tool, 1)[0]), "green")

    @in_windowed_desktop(DESK)
    def test_access_that_is_taken_away_and_given_back_while_the_window_is_open(self):
        # Permission to use cameras is permission to open PipeWire's socket.
        socket = Path(os.environ["XDG_RUNTIME_DIR"]) / "pipewire-0"
        self.open_preview(command=WITHOUT_OVERRIDE)
        self.wait_for_mirrored_picture()
        mode = socket.stat().st_mode
        socket.chmod(0)
        self.windows.find(NOT_ALLOWED, PREVIEW)
        self.windows.wait_until(lambda objects: any(each.name.startswith("PipeWire’s socket, or") for each in objects),
                                "what to do about it")
        self.assert_may_shoot(False)
        socket.chmod(mode)
        self.wait_for_mirrored_picture()
        self.assert_may_shoot(True)


class OnX11(Preview, WindowTest):
    @in_windowed_desktop(DESK)
    def test_a_minimised_window_lets_the_camera_rest(self):
        self.open_preview()
        self.wait_for_mirrored_picture()
        restore = self.windows.screen.minimize(PREVIEW)
        control("camera", "1", "wait-idle")
        restore()
        control("camera", "1", "wait-streaming")
        self.wait_for_mirrored_picture()

    @in_windowed_desktop(DESK)
    def test_starting_the_tool_again_brings_its_window_before_another_programs(self):
        tool = self.open_preview()
        # With the first photo the start is over, which asks its window to the front by itself.
        self.windows.key("space")
        tool.wait_for_names(["Launch", "Start", "Stop"])
        other = self.windows.screen.open_other_program()
        self.addCleanup(other.wait)
        self.addCleanup(other.terminate)
        call_tool("Activate", "{}")
        self.windows.wait_for_window(PREVIEW)

    @in_windowed_desktop(DESK)
    def test_the_close_button_ends_the_tool(self):
        tool = self.open_preview()
        self.windows.click("Close", PREVIEW)
        self.assertEqual(tool.wait(), 0, tool.log())

    @in_windowed_desktop(DESK, options=["--notifications", "dunst"])
    def test_quick_shots_give_a_file_each_and_one_notification_which_the_next_shot_replaces(self):
        bus = Path(os.environ["CAMERA_DESKTOP_DIR"]) / "bus"
        bus.mkdir()
        with open(bus / "notify", "wb") as calls:
            listening = subprocess.Popen(
                ["stdbuf", "-oL", "dbus-monitor", "--session", "interface='org.freedesktop.Notifications',member='Notify'"],
                stdout=calls)
        self.addCleanup(listening.wait)
        self.addCleanup(listening.terminate)

        def replaced():
            """Which notification each one replaces, by the service's number; 0 for none."""
            return re.findall(r'member=Notify\n   string "Camera Shot"\n   uint32 (\d+)\n', (bus / "notify").read_text())

        tool = self.open_preview()
        self.wait_for_mirrored_picture()
        with stalled_camera():
            control("camera", "1", "wait-stalled")
            self.windows.key("space")
            self.windows.key("space")
            tool.wait_for_count("Start", 2)
        self.wait_for_photos(tool, 2)
        tool.wait_for_names(["Launch", "Start", "Start", "Stop", "Stop"])
        # One request that waits makes room for the next; so it may have been one notification or two.
        first = wait_until(replaced, bus, what="the notification")
        self.assertEqual(first[0], "0")
        self.windows.key("space")
        self.wait_for_photos(tool, 3)
        wait_until(lambda: len(replaced()) > len(first), bus, what="the next notification")
        self.assertNotIn("0", replaced()[1:])


class OnWayland(Preview, WindowTest):
    display = "wayland"

    @in_windowed_desktop(DESK)
    def test_starting_the_tool_again_uses_the_right_to_come_to_the_front_that_the_desktop_gives(self):
        tool = self.open_preview(environment={"WAYLAND_DEBUG": "client"})
        # With the first photo the start is over, which asks its window to the front by itself.
        self.windows.key("space")
        tool.wait_for_names(["Launch", "Start", "Stop"])
        call_tool("Activate", "{'activation-token': <'token-of-the-desktop'>}")
        wait_until(lambda: "token-of-the-desktop" in dict(wayland_activations(tool.log())), tool.state,
                   what="the request with the desktop's token")

    @in_windowed_desktop(DESK)
    def test_the_preferences_key_opens_the_preferences(self):
        self.open_preview()
        self.windows.key("ctrl+comma")
        self.windows.wait_for_window(PREFERENCES)


if __name__ == "__main__":
    unittest.main()
