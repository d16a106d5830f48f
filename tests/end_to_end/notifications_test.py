#!/usr/bin/python3
"""From the photo to the bubble on the screen, and from a click there to the file manager and the image program."""

import time
import unittest

from bubbles import APPLICATION, SERVICES, Notifications, bubble_of, mouse, path_of, windows_named
from file_manager import FileManager, Viewer
from session_bus import Client, Monitor, turn_until
from tool import HD, Tool, ToolTest, in_desktop

KEY_PATIENCE = 3  # seconds: whoever has not taken a key by then will not
CLICKED = {"ClickOnNotification": True}


def desktop_with(daemon):
    return ("--display", "--notifications", daemon, "--file-manager", "thunar", *SERVICES)


class Screen:
    """The user's eyes and hands."""

    def __init__(self, daemon):
        self.bubble = bubble_of(daemon)
        self.monitor = Monitor()
        self.notifications = Notifications(self.monitor)
        self.viewer = Viewer()
        self.files = FileManager(self.viewer)
        self.bus = Client()


def launches(tool):
    return [event["details"] for event in tool.events() if event["event"] == "Launch"]


def newest(tool):
    return max(tool.photos(), key=lambda photo: photo.stat().st_mtime_ns)


class ClickAfterTheRun(ToolTest):
    def check_clicks_after_the_run(self, daemon):
        screen = Screen(daemon)
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        first = self.assert_one_photo(tool)
        screen.notifications.wait_for(1)
        screen.bubble.click_open()
        self.assertEqual(screen.viewer.wait_for_file(), [str(first)])
        screen.bus.wait_until_unowned(APPLICATION)

        self.assertEqual(tool.run(), 0, tool.log())
        screen.notifications.wait_for(2)
        screen.bubble.click()
        self.assertEqual(screen.files.selected_in(tool.photo_folder), [str(newest(tool))])
        self.assertNotEqual(newest(tool), first)
        screen.bus.wait_until_unowned(APPLICATION)
        self.assertEqual(launches(tool), [{"Silent": True}, CLICKED, {"Silent": True}, CLICKED])
        self.assertEqual(len(tool.photos()), 2)
        turn_until(lambda: screen.bubble.number() == 0, what="the end of the bubble", retry=True)

    @in_desktop(HD, options=desktop_with("dunst"))
    def test_on_dunst(self):
        self.check_clicks_after_the_run("dunst")

    @in_desktop(HD, options=desktop_with("xfce4-notifyd"))
    def test_on_xfce4_notifyd(self):
        self.check_clicks_after_the_run("xfce4-notifyd")

    @in_desktop(HD, options=desktop_with("notification-daemon"))
    def test_on_notification_daemon(self):
        self.check_clicks_after_the_run("notification-daemon")


class ClickOnADeletedPhoto(ToolTest):
    @in_desktop(HD, options=desktop_with("dunst"))
    def test_shows_nothing_and_says_nothing(self):
        screen = Screen("dunst")
        tool = Tool()
        for number, click in enumerate((screen.bubble.click, screen.bubble.click_open), start=1):
            self.assertEqual(tool.run(), 0, tool.log())
            screen.notifications.wait_for(number)
            newest(tool).unlink()
            click()
            turn_until(lambda number=number: launches(tool).count(CLICKED) == number and tool.names()[-1] == "Quit",
                       tool.state, what="the end of the program that was started by the click")
            screen.bus.wait_until_unowned(APPLICATION)
        self.assertEqual(screen.files.windows(), {})
        self.assertEqual(screen.viewer.opened(), [])
        self.assertEqual(len(screen.notifications.all()), 2)  # those of the photos


class ClickWhileItRuns(ToolTest):
    def check_clicks_while_it_runs(self, daemon):
        screen = Screen(daemon)
        tool = Tool(show_preview=True).start()
        self.take_photo(screen, tool, 1)
        screen.bubble.click_open()
        self.assertEqual(screen.viewer.wait_for_file(), [str(newest(tool))])

        self.take_photo(screen, tool, 2)
        screen.bubble.click()
        self.assertEqual(screen.files.selected_in(tool.photo_folder), [str(newest(tool))])
        self.assertEqual(tool.stop(), 0, tool.log())
        self.assertEqual(launches(tool), [None])  # no click launched it
        self.assertEqual(tool.names().count("Stop"), 2)

    def take_photo(self, screen, tool, number):
        """Presses the key for the shoot button, again where the window did not take it."""
        window, = turn_until(lambda: windows_named("^Camera Shot$"), what="the window", retry=True)
        pressed = 0.0

        def shot():
            nonlocal pressed
            if tool.names().count("Start") < number and time.monotonic() > pressed + KEY_PATIENCE:
                mouse("windowfocus", window, "key", "space")
                # Once it answers, a main loop that was busy looks at its keys, too.
                screen.bus.call(APPLICATION, path_of(APPLICATION), "org.freedesktop.DBus.Properties", "Get", "ss",
                                ("com.verrano.quillo.Tool1", "Status"))
                pressed = time.monotonic()
            return tool.names().count("Stop") == number

        turn_until(shot, tool.state, what="the photo", retry=True)
        self.assertEqual(len(tool.photos()), number)
        self.assertEqual(len(screen.notifications.wait_for(number)), number)

    @in_desktop(HD, options=desktop_with("dunst"))
    def test_on_dunst(self):
        self.check_clicks_while_it_runs("dunst")

    @in_desktop(HD, options=desktop_with("xfce4-notifyd"))
    def test_on_xfce4_notifyd(self):
        self.check_clicks_while_it_runs("xfce4-notifyd")

    @in_desktop(HD, options=desktop_with("notification-daemon"))
    def test_on_notification_daemon(self):
        self.check_clicks_while_it_runs("notification-daemon")


if __name__ == "__main__":
    unittest.main()
