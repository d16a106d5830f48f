#!/usr/bin/python3
"""The preferences window: what people change there, how they get there and how they leave."""

import os
import signal
import unittest
from pathlib import Path

from tool import TOOL_IDENTIFIER, Tool, control
from waiting import wait_for_exit, wait_until
from window_case import BLUE, GREEN, RED, WindowTest, call_tool, wayland_activations
from windows import PREFERENCES, PREVIEW, in_windowed_desktop

CHOOSER = "Choose a Folder for Photos"


class CameraChoice(WindowTest):
    def leave_silently(self, tool):
        self.windows.click("Done", PREFERENCES)
        self.assertEqual(tool.wait(), 0, tool.log())

    def next_photo(self, tool):
        """The camera of the photo that a silent run takes."""
        before = set(tool.photos())
        self.assertEqual(tool.run(), 0, tool.log())
        photo, = set(tool.photos()) - before
        return self.photo_colour(photo)

    @in_windowed_desktop(RED, GREEN)
    def test_the_next_photo_comes_from_the_chosen_camera(self):
        tool = self.open_preferences()
        self.assertEqual(self.chosen_camera(), "Red camera")
        self.choose_camera("Green camera", 1)
        self.wait_for_setting(tool, "VideoSourceID=green")
        self.leave_silently(tool)
        self.assertEqual(self.next_photo(Tool(settings=self.settings(tool))), "green")

    @in_windowed_desktop(RED, GREEN, BLUE)
    def test_the_mouse_chooses_a_camera(self):
        tool = self.open_preferences()
        self.open_camera_list()
        self.click_in_camera_list("Blue camera")
        self.wait_for_setting(tool, "VideoSourceID=blue")
        self.wait_for_shown_camera("Blue camera")

    @in_windowed_desktop(RED, GREEN, BLUE)
    def test_while_the_chosen_camera_is_away_the_first_one_shoots(self):
        tool = self.open_preferences()
        self.choose_camera("Blue camera", 2)
        self.wait_for_setting(tool, "VideoSourceID=blue")
        stored = self.settings(tool)
        control("camera", "3", "unplug")
        self.wait_for_shown_camera("Red camera")
        self.leave_silently(tool)
        silent = Tool(settings=stored)
        self.assertEqual(self.next_photo(silent), "red")
        self.assertEqual(self.settings(tool), stored)
        control("camera", "3", "plug")
        self.assertEqual(self.next_photo(silent), "blue")

    @in_windowed_desktop(RED, GREEN)
    def test_the_popup_follows_cameras_that_come_and_go(self):
        tool = self.open_preferences(settings="[Defaults]\nShowPreview=false\nVideoSourceID=green\n")
        self.assertEqual(self.chosen_camera(), "Green camera")
        control("camera", "2", "unplug")
        self.wait_for_shown_camera("Red camera")
        control("camera", "1", "unplug")
        self.windows.find("No camera", PREFERENCES)
        combo = self.windows.find("Camera", PREFERENCES)
        self.assertNotIn("sensitive", combo.states)
        control("camera", "2", "plug")
        self.wait_for_shown_camera("Green camera")
        control("add-camera", BLUE)
        control("camera", "1", "plug")
        self.windows.click("Camera", PREFERENCES)
        self.windows.wait_until(
            lambda objects: {"Red camera", "Green camera", "Blue camera"} <= {each.name for each in objects},
            "all cameras in the popup")
        self.assertEqual(self.settings(tool), "[Defaults]\nShowPreview=false\nVideoSourceID=green\n")

    @in_windowed_desktop("name=one,title=Twin camera,modes=MJPG:640x480@30",
                         "name=two,title=Twin camera,modes=MJPG:640x480@30")
    def test_cameras_of_the_same_title_are_told_apart(self):
        tool = self.open_preferences()
        self.choose_camera("Twin camera (2)", 1)
        self.wait_for_setting(tool, "VideoSourceID=two")

    @in_windowed_desktop(RED, GREEN)
    def test_the_preview_takes_over_the_choice_when_the_preferences_close(self):
        tool = self.open_preview()
        self.wait_for_preview_colour("red")
        self.windows.key("ctrl+comma")
        self.windows.wait_for_window(PREFERENCES)
        self.choose_camera("Green camera", 1)
        self.windows.click("Done", PREFERENCES)
        self.windows.wait_until_gone(PREFERENCES)
        self.wait_for_preview_colour("green")
        self.windows.wait_for_window(PREVIEW)
        self.windows.key("space")
        self.assertEqual(self.photo_colour(self.wait_for_photos(tool, 1)[0]), "green")
        control("camera", "2", "unplug")
        self.wait_for_preview_colour("red")
        control("camera", "2", "plug")
        self.wait_for_preview_colour("green")

    @in_windowed_desktop(RED, GREEN)
    def test_the_camera_that_the_popup_shows_can_be_chosen(self):
        tool = self.open_preferences(settings="[Defaults]\nShowPreview=false\nVideoSourceID=away\n")
        self.choose_camera("Red camera", 0)
        self.wait_for_setting(tool, "VideoSourceID=red")

    @in_windowed_desktop(RED)
    def test_the_only_camera_can_be_chosen(self):
        tool = self.open_preferences(settings="[Defaults]\nShowPreview=false\nVideoSourceID=away\n")
        self.choose_camera("Red camera", 0)
        self.wait_for_setting(tool, "VideoSourceID=red")

    @in_windowed_desktop(RED, GREEN)
    def test_everything_has_a_name_for_screen_readers(self):
        self.open_preferences()
        self.assert_all_is_named(PREFERENCES)
        self.open_camera_list()
        self.assert_all_is_named(PREFERENCES)


class PreviewSwitch(WindowTest):
    @in_windowed_desktop(RED)
    def test_off_ends_the_tool_and_the_next_run_is_silent(self):
        tool = self.open_preferences(show_preview=True)
        self.windows.click("Show a Preview First", PREFERENCES)
        self.wait_for_setting(tool, "ShowPreview=false")
        self.windows.click("Done", PREFERENCES)
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assert_no_photo(tool)
        silent = Tool(settings=self.settings(tool))
        self.assertEqual(silent.run(), 0, silent.log())
        self.assert_one_photo(silent)
        self.assertEqual(silent.events()[-1]["prefs"], {"ShowPreview": False})

    @in_windowed_desktop(RED)
    def test_on_shows_the_preview(self):
        tool = self.open_preferences()
        self.windows.click("Show a Preview First", PREFERENCES)
        self.wait_for_setting(tool, "ShowPreview=true")
        self.windows.click("Done", PREFERENCES)
        self.windows.wait_for_window(PREVIEW)
        self.windows.wait_until_gone(PREFERENCES)
        self.wait_for_preview_colour("red")

    @in_windowed_desktop(RED)
    def test_a_change_is_kept_when_the_tool_is_killed_right_after_it(self):
        tool = self.open_preferences()
        self.windows.click("Show a Preview First", PREFERENCES)
        self.windows.wait_until(
            lambda objects: any("checked" in each.states for each in objects), "the switch being on")
        tool.process.kill()
        wait_for_exit(tool.process)
        self.assertIn("ShowPreview=true", self.settings(tool).splitlines())

    @in_windowed_desktop(RED)
    def test_what_else_is_in_the_file_stays_there(self):
        by_hand = "# my own remark\n[Defaults]\nShowPreview=false\n# about this one\nColour=plum\n\n[Other]\nkey=value\n"
        tool = self.open_preferences(settings=by_hand)
        self.windows.click("Show a Preview First", PREFERENCES)
        self.wait_for_setting(tool, "ShowPreview=true")
        changed = by_hand.replace("ShowPreview=false", "ShowPreview=true")
        kept = [line for line in self.settings(tool).splitlines() if line]
        self.assertEqual(kept, [line for line in changed.splitlines() if line])

    @in_windowed_desktop(RED, GREEN)
    def test_a_file_changed_by_hand_counts_from_the_next_run(self):
        tool = self.open_preferences()
        (tool.config / "camera-shot.ini").write_text("[Defaults]\nShowPreview=true\nVideoSourceID=green\n")
        # Each look turns the program's main loop, which would hear of the file.
        for _ in range(20):
            self.assertEqual(self.chosen_camera(), "Red camera")
        self.windows.key("Escape")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.open_preferences(settings=self.settings(tool))
        self.assertEqual(self.chosen_camera(), "Green camera")


class Folder(WindowTest):
    def choose_folder(self, folder):
        self.windows.click("Save Photos In", PREFERENCES)
        self.windows.wait_for_window(CHOOSER)
        self.windows.screen.type(str(folder))
        # The entry proposes how the path goes on, also while one is still typing.
        self.windows.key("shift+End")
        self.windows.key("Delete")
        self.windows.key("Return")
        self.windows.wait_until_gone(CHOOSER)

    @staticmethod
    def location(tool):
        return (tool.config / "locations.ini").read_text(encoding="utf-8")

    def folder_events(self, tool):
        return [event["details"] for event in tool.events() if event["event"] == "OutputLocation"]

    @in_windowed_desktop(RED)
    def test_the_next_photo_lands_in_the_chosen_folder(self):
        tool = self.open_preferences()
        chosen = Path(os.environ["HOME"]) / "album"
        chosen.mkdir()
        self.choose_folder(chosen)
        self.windows.find("~/album", PREFERENCES)
        self.assertIn(f"{TOOL_IDENTIFIER}={chosen}\n", self.location(tool))
        self.assertEqual(self.folder_events(tool), [{"Changed": True, "Folder": "~/album"}])
        self.windows.click("Done", PREFERENCES)
        self.assertEqual(tool.wait(), 0, tool.log())
        silent = Tool(photos=chosen)
        self.assertEqual(silent.run(), 0, silent.log())
        self.assert_one_photo(silent)

    @in_windowed_desktop(RED)
    def test_a_read_only_folder_is_refused_and_the_old_one_stays(self):
        album = Path(os.environ["HOME"]) / "album"
        album.mkdir(mode=0o555)
        tool = self.open_preferences()
        before = self.location(tool)
        self.choose_folder(album)
        self.windows.wait_until(
            lambda objects: any("cannot be saved in this folder" in each.name and "~/album" in each.name
                                for each in objects), "the message")
        self.assertEqual(self.location(tool), before)
        self.assertEqual(self.folder_events(tool), [{"Changed": False, "Folder": "~/album"}])
        self.windows.key("Escape")
        self.windows.wait_for_window(PREFERENCES)
        self.windows.find("~/shots", PREFERENCES)

    @in_windowed_desktop(RED)
    def test_cancelling_changes_nothing_and_is_no_failure(self):
        tool = self.open_preferences()
        before = self.location(tool)
        self.windows.click("Save Photos In", PREFERENCES)
        self.windows.wait_for_window(CHOOSER)
        self.windows.key("Escape")
        self.windows.wait_until_gone(CHOOSER)
        self.windows.wait_for_window(PREFERENCES)
        wait_until(lambda: self.folder_events(tool), tool.state, what="the event")
        self.assertEqual(self.folder_events(tool), [{"Changed": False}])
        self.assertEqual(self.location(tool), before)
        self.assertEqual(tool.log(), "")


class WaysIn(WindowTest):
    @in_windowed_desktop(RED)
    def test_the_previews_button(self):
        self.open_preview()
        self.windows.click("Preferences", PREVIEW)
        self.windows.wait_for_window(PREFERENCES)

    @in_windowed_desktop(RED)
    def test_the_desktops_action_starts_the_tool(self):
        tool = Tool()
        call_tool("ActivateAction", "preferences", "[]", "{}")
        self.windows.wait_for_window(PREFERENCES)
        self.assertEqual(tool.events()[0]["details"], {"Preferences": True})

    @in_windowed_desktop(RED)
    def test_the_desktops_action_reaches_the_running_tool(self):
        tool = self.open_preview()
        call_tool("ActivateAction", "preferences", "[]", "{}")
        self.windows.wait_for_window(PREFERENCES)
        self.assertEqual(tool.names(), ["Launch"])

    @in_windowed_desktop("name=red,modes=MJPG:640x480@30,start-delay=60000")
    def test_the_desktops_action_reaches_a_silent_run_with_a_shot_under_way(self):
        tool = Tool().start()
        tool.wait_for_event("Start")
        call_tool("ActivateAction", "preferences", "[]", "{}")
        self.windows.wait_for_window(PREFERENCES)
        self.windows.key("Escape")
        self.assertEqual(tool.wait(), 0, tool.log())

    @in_windowed_desktop(RED)
    def test_a_request_to_open_the_tools_identifier(self):
        tool = Tool()
        call_tool("Open", f"['file:///tmp/{TOOL_IDENTIFIER}']", "{}")
        self.windows.wait_for_window(PREFERENCES)
        self.assertEqual(tool.events()[0]["details"], {"Preferences": True})

    @in_windowed_desktop(RED)
    def test_a_request_to_open_any_other_file_shows_no_preferences(self):
        tool = Tool(show_preview=True)
        call_tool("Open", "['file:///tmp/other']", "{}")
        self.windows.wait_for_window(PREVIEW)
        self.assertIsNone(tool.events()[0]["details"])
        self.assertEqual(self.windows.titles(), {PREVIEW})

    # In a run whose start is over: for a while that asks the windows to the front again, without an activation token.
    @in_windowed_desktop("name=red,modes=MJPG:640x480@30,start-delay=60000")
    def test_the_window_uses_the_right_to_come_to_the_front_that_the_desktop_gives(self):
        tool = Tool().start()
        tool.wait_for_event("Start")
        call_tool("ActivateAction", "preferences", "[]", "{'desktop-startup-id': <'desktop-7_TIME0'>}")
        self.windows.wait_for_window(PREFERENCES)
        self.assertEqual(self.windows.screen.startup_identifier(PREFERENCES), "desktop-7_TIME0")


class WaysOut(WindowTest):
    @in_windowed_desktop(RED)
    def test_escape_ends_a_run_that_shows_nothing_else(self):
        tool = self.open_preferences()
        self.windows.key("Escape")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assert_no_photo(tool)

    @in_windowed_desktop(RED)
    def test_the_window_managers_close_ends_a_run_that_shows_nothing_else(self):
        tool = self.open_preferences()
        self.windows.screen.close(PREFERENCES)
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assert_no_photo(tool)

    @in_windowed_desktop(RED)
    def test_the_header_has_no_button_to_leave_without_done(self):
        self.open_preferences()
        buttons = [each.name for each in self.windows.objects() if each.role in ("button", "push button")]
        self.assertEqual(sorted(buttons), ["Done", "Save Photos In"])

    @in_windowed_desktop(RED)
    def test_escape_goes_back_to_the_preview_that_was_there(self):
        self.open_preview()
        self.windows.key("ctrl+comma")
        self.windows.wait_for_window(PREFERENCES)
        self.windows.key("Escape")
        self.windows.wait_until_gone(PREFERENCES)
        self.windows.wait_for_window(PREVIEW)
        self.wait_for_preview_colour("red")

    @in_windowed_desktop(RED)
    def test_with_the_preview_switched_off_every_way_out_is_dones_and_takes_no_photo(self):
        for key in ("Escape", "ctrl+w", "alt+F4"):
            with self.subTest(key):
                tool = self.open_preview()
                self.windows.key("ctrl+comma")
                self.windows.wait_for_window(PREFERENCES)
                self.windows.click("Show a Preview First", PREFERENCES)
                self.wait_for_setting(tool, "ShowPreview=false")
                self.windows.key(key)
                self.assertEqual(tool.wait(), 0, tool.log())
                self.assertEqual(tool.names()[-2:], ["Launch", "Quit"])
                self.assert_no_photo(tool)

    @in_windowed_desktop(RED)
    def test_minimised_they_come_back_when_the_tool_is_started_again(self):
        tool = self.open_preferences()
        self.windows.screen.minimize(PREFERENCES)
        call_tool("Activate", "{}")
        self.windows.wait_for_window(PREFERENCES)
        self.assertEqual(tool.names(), ["Launch"])
        self.assertEqual(tool.stop(), 0, tool.log())
        self.assert_no_photo(tool)

    @in_windowed_desktop(RED)
    def test_the_quit_key_ends_the_tool_from_the_preferences(self):
        tool = self.open_preview()
        self.windows.key("ctrl+comma")
        self.windows.wait_for_window(PREFERENCES)
        self.windows.key("ctrl+q")
        self.assertEqual(tool.wait(), 0, tool.log())

    @in_windowed_desktop(RED)
    def test_a_session_that_ends_ends_the_tool(self):
        tool = self.open_preferences()
        tool.process.send_signal(signal.SIGTERM)
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])


class OnWayland(WindowTest):
    """The heart of it, on the other kind of display."""

    display = "wayland"

    @in_windowed_desktop(RED, GREEN)
    def test_a_camera_is_chosen_and_the_preview_switched_on(self):
        tool = self.open_preferences()
        self.choose_camera("Green camera", 1)
        self.wait_for_setting(tool, "VideoSourceID=green")
        self.windows.click("Show a Preview First", PREFERENCES)
        self.wait_for_setting(tool, "ShowPreview=true")
        self.windows.click("Done", PREFERENCES)
        self.windows.wait_for_window(PREVIEW)
        self.wait_for_preview_colour("green")

    @in_windowed_desktop(RED, GREEN)
    def test_the_camera_that_the_popup_shows_can_be_chosen(self):
        tool = self.open_preferences(settings="[Defaults]\nShowPreview=false\nVideoSourceID=away\n")
        self.choose_camera("Red camera", 0)
        self.wait_for_setting(tool, "VideoSourceID=red")

    @in_windowed_desktop(RED)
    def test_escape_ends_a_run_that_shows_nothing_else(self):
        tool = self.open_preferences()
        self.windows.key("Escape")
        self.assertEqual(tool.wait(), 0, tool.log())

    # As above, the start is over with the first photo.
    @in_windowed_desktop(RED)
    def test_the_window_uses_the_right_to_come_to_the_front_that_the_desktop_gives(self):
        tool = self.open_preview(environment={"WAYLAND_DEBUG": "client"})
        self.windows.key("space")
        tool.wait_for_names(["Launch", "Start", "Stop"])
        call_tool("ActivateAction", "preferences", "[]", "{'activation-token': <'token-of-the-desktop'>}")
        self.windows.wait_for_window(PREFERENCES)
        asked = wayland_activations(tool.log())
        asked = asked[[token for token, _ in asked].index("token-of-the-desktop"):]
        # One without a token would be taken for a call for attention, or take the place of the one with it.
        self.assertEqual(set(asked), {("token-of-the-desktop", asked[0][1])})


if __name__ == "__main__":
    unittest.main()
