#!/usr/bin/python3
"""What the notifications say, each in its situation, and which of them take each other's place."""

import os
import unittest
from pathlib import Path

from bubbles import SERVICES, Notifications, bubble_of
from scripted_services import ScriptedDaemon
from session_bus import Monitor, turn_until
from tool import HD, WITHOUT_OVERRIDE, Tool, ToolTest, control, in_desktop

TAKEN = "Camera shot taken.\nClick here to show it in the file manager."
UNABLE = "Unable to take camera shot."
NO_CAMERA = "Camera not found."
NOT_ALLOWED = "PipeWire’s socket, or the camera’s device (/dev/video*), is not open to you."
ERROR = "Error occured"
SPARE = "name=spare,modes=MJPG:320x240@30"
LATE = "name=late,modes=MJPG:640x480@30,start-delay=60000"


class Texts(ToolTest):
    def notification_of(self, tool):
        """What the service is asked to show in the end."""
        monitor = Monitor()
        _daemon = ScriptedDaemon()
        self.assertEqual(tool.run(), 0, tool.log())
        return Notifications(monitor).wait_for(1)[0]

    def failure_in_a_shot(self, tool, meanwhile=lambda: None):
        """What is shown when the camera of a shot is unplugged and there is another."""
        monitor = Monitor()
        _daemon = ScriptedDaemon()
        tool.start()
        tool.wait_for_event("Start")
        meanwhile()
        control("camera", "1", "unplug")
        shown = Notifications(monitor).wait_for(1)[0]
        self.assertEqual(tool.stop(), 0, tool.log())
        return shown

    def assert_nothing_to_click(self, notification):
        self.assertEqual(notification.labels, [])
        self.assertNotIn("image-data", notification.hints)

    @in_desktop(HD, options=(*SERVICES, "--locale", "de_DE.UTF-8"))
    def test_a_photo_in_german(self):
        shown = self.notification_of(Tool())
        self.assertEqual(shown.text, "Foto aufgenommen.\nKlicken Sie hier, um es in der Dateiverwaltung anzuzeigen.")
        self.assertEqual(shown.labels, ["Anzeigen", "Öffnen"])
        width, height, *_ = shown.hints["image-data"]  # the photo, small
        self.assertEqual((width, height), (182, 102))

    @in_desktop(options=SERVICES)
    def test_no_camera(self):
        shown = self.notification_of(Tool())
        self.assertEqual(shown.text, NO_CAMERA)
        self.assert_nothing_to_click(shown)

    @in_desktop(options=SERVICES)
    def test_a_camera_that_may_not_be_opened(self):
        Path(os.environ["CAMERA_SHOT_DEVICES"], "video0").touch(0)
        self.assertEqual(self.notification_of(Tool(command=WITHOUT_OVERRIDE)).text, NOT_ALLOWED)

    @in_desktop(LATE, SPARE, options=SERVICES)
    def test_a_shot_whose_camera_fails(self):
        shown = self.failure_in_a_shot(Tool(settings="[Defaults]\nShowPreview=false\nVideoSourceID=late\n"))
        self.assertEqual(shown.text, ERROR)
        self.assert_nothing_to_click(shown)

    @in_desktop(LATE, options=SERVICES)
    def test_a_shot_whose_camera_was_the_only_one(self):
        self.assertEqual(self.failure_in_a_shot(Tool()).text, NO_CAMERA)

    @in_desktop(LATE, SPARE, options=SERVICES)
    def test_a_shot_during_which_access_is_withdrawn(self):
        tool = Tool(settings="[Defaults]\nShowPreview=false\nVideoSourceID=late\n", command=WITHOUT_OVERRIDE)
        withdraw = Path(os.environ["XDG_RUNTIME_DIR"], "pipewire-0").chmod
        shown = self.failure_in_a_shot(tool, lambda: withdraw(0))
        self.assertEqual(shown.text, NOT_ALLOWED)
        self.assert_nothing_to_click(shown)

    @in_desktop(HD, options=SERVICES)
    def test_a_folder_that_has_vanished(self):
        shown = self.notification_of(Tool(photos=Path(os.environ["HOME"]) / "gone"))
        self.assertEqual(shown.text, UNABLE)
        self.assert_nothing_to_click(shown)


class Places(ToolTest):
    """One bubble for photos and one for failures, however many runs there are."""

    def check(self, daemon):
        notifications = Notifications(Monitor())
        bubble = bubble_of(daemon)
        tool = Tool()
        for number in (1, 2):
            self.assertEqual(tool.run(), 0, tool.log())
            notifications.wait_for(number)
        shown, = notifications.shown().values()
        self.assertEqual(shown.text, TAKEN)
        self.assertEqual(shown.labels, ["Show", "Open"])
        self.assertEqual(shown.lifetime, 0)  # waits for the user
        turn_until(lambda: bubble.number() == 1, what="one bubble", retry=True)

        control("camera", "1", "unplug")
        self.assertEqual(tool.run(), 0, tool.log())
        notifications.wait_for(3)
        self.assertEqual(sorted(each.text for each in notifications.shown().values()), [NO_CAMERA, TAKEN])
        turn_until(lambda: bubble.number() == (bubble.at_once or 2), what="both bubbles", retry=True)

    @in_desktop(HD, options=("--display", "--notifications", "dunst", *SERVICES))
    def test_on_dunst(self):
        self.check("dunst")

    @in_desktop(HD, options=("--display", "--notifications", "xfce4-notifyd", *SERVICES))
    def test_on_xfce4_notifyd(self):
        self.check("xfce4-notifyd")

    @in_desktop(HD, options=("--display", "--notifications", "notification-daemon", *SERVICES))
    def test_on_notification_daemon(self):
        self.check("notification-daemon")


if __name__ == "__main__":
    unittest.main()
