#!/usr/bin/python3
"""The program and its helper on the bus: many starts, calls of the desktop, and what is missing, silent or killed."""

import os
import signal
import sys
import unittest
from pathlib import Path

import dbus

from bubbles import APPLICATION, NOTIFICATIONS, NOTIFIER, SERVICES, Notifications, path_of, post_photo, windows_named
from scripted_services import ScriptedDaemon, ScriptedFileManager, ScriptedShell, ScriptedUserManager
from session_bus import Client, Monitor, turn_until, turn_until_exit
from tool import HD, TOOL_IDENTIFIER, Tool, ToolTest, in_desktop, let_pictures_pass, stalled_camera
from waiting import until_in_time, wait_for_exit

FOLDER = Path(__file__).resolve().parent
SLOW_START = 4  # seconds, of a file manager that has to be read from a cold disk
WHOLE_RUN = ["Launch", "Start", "Stop", "Quit"]


def launches(tool):
    return [event["details"] for event in tool.events() if event["event"] == "Launch"]


class Starts(ToolTest):
    @in_desktop(HD, options=SERVICES)
    def test_of_twelve_at_once_one_takes_the_photo_and_eleven_leave(self):
        tool = Tool()
        with stalled_camera():
            starts = [tool.start().process for _ in range(12)]
            tool.wait_for_count("Quit", 11)
        for process in starts:
            self.assertEqual(wait_for_exit(process), 0, tool.log())
        self.assert_one_photo(tool)
        self.assertCountEqual(launches(tool), [{"Silent": True}] + 11 * [{"AnotherInstanceRunning": True}])
        self.assertCountEqual(tool.names(), ["Start", "Stop"] + 12 * ["Launch", "Quit"])


class CallingTest(ToolTest):
    """Tests that call the program over org.freedesktop.Application."""

    def call(self, method, signature, *arguments):
        return Client().call(APPLICATION, path_of(APPLICATION), "org.freedesktop.Application", method,
                             signature + "a{sv}", (*arguments, dbus.Dictionary({}, signature="sv")))

    def action(self, name, *parameters):
        self.call("ActivateAction", "sav", name, dbus.Array(parameters, signature="v"))

    def start_by_the_bus(self):
        """The program as the bus starts it, before anybody has told it anything."""
        Client().ask_bus("StartServiceByName", "su", APPLICATION, 0)

    def wait_until_gone(self, tool):
        turn_until(lambda: "Quit" in tool.names(), tool.state, what="the end")
        Client().wait_until_unowned(APPLICATION)


class DesktopCalls(CallingTest):
    """What menus, file managers and shells ask of the program."""

    @in_desktop(HD, options=SERVICES)
    def test_activation_of_a_silent_run_takes_another_photo(self):
        with stalled_camera():
            tool = Tool().start()
            tool.wait_for_event("Start")
            self.call("Activate", "")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names().count("Start"), 2)
        self.assertEqual(len(tool.photos()), 2)
        self.assertEqual(launches(tool), [{"Silent": True}])

    @in_desktop(HD, options=SERVICES)
    def test_activation_while_a_silent_run_says_goodbye_takes_another_photo_at_once(self):
        tool = Tool()

        def activate():
            earlier = len(tool.events())
            tool.start()
            tool.wait_for_count("Stop", tool.names().count("Stop") + 1)
            self.call("Activate", "")
            self.assertEqual(tool.wait(), 0, tool.log())
            Client().wait_until_unowned(APPLICATION)  # where the call came too late and has started another run
            return tool.names()[earlier:] == ["Launch", "Start", "Stop", "Start", "Stop", "Quit"]

        until_in_time(activate, "the activation")
        self.assertEqual(len(tool.photos()), tool.names().count("Stop"))
        self.assertEqual(tool.log(), "")

    @in_desktop(HD, options=(*SERVICES, "--display"))
    def test_neither_activation_nor_an_unknown_action_changes_a_preview(self):
        tool = Tool(show_preview=True).start()
        turn_until(lambda: windows_named("^Camera Shot$"), what="the window", retry=True)
        self.call("Activate", "")
        with self.assertRaises(dbus.DBusException):
            self.action("self-destruct")
        self.assertEqual(len(windows_named("^Camera Shot$")), 1)
        self.assertEqual(tool.stop(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])

    @in_desktop(HD, options=(*SERVICES, "--display"))
    def test_a_file_with_the_tools_identifier_opens_the_preferences_and_no_other(self):
        tool = Tool(show_preview=True).start()
        turn_until(lambda: windows_named("^Camera Shot$"), what="the window", retry=True)
        self.call("Open", "as", [f"file:///{TOOL_IDENTIFIER}.txt", "file:///photo.png"])
        let_pictures_pass(60)  # two seconds, in which a window would come
        self.assertEqual(windows_named("Preferences$"), [])
        self.call("Open", "as", [f"file:///folder/{TOOL_IDENTIFIER}"])
        turn_until(lambda: windows_named("Preferences$"), what="the preferences", retry=True)
        self.assertEqual(tool.stop(), 0, tool.log())

    @in_desktop(HD, options=(*SERVICES, "--display"))
    def test_the_action_of_the_menu_entry_launches_with_the_preferences(self):
        tool = Tool()
        self.action("preferences")
        turn_until(lambda: windows_named("Preferences$"), what="the preferences", retry=True)
        self.assertEqual(launches(tool), [{"Preferences": True}])
        os.kill(Client().process_of(APPLICATION), signal.SIGTERM)
        self.wait_until_gone(tool)
        self.assertEqual(tool.photos(), [])

    @in_desktop(options=(*SERVICES, "--display"))
    def test_started_by_a_bus_without_a_display_it_asks_the_session_for_one(self):
        tool = Tool()
        _manager = ScriptedUserManager(["LANG=C.UTF-8", f"DISPLAY={os.environ['DISPLAY']}"])
        Client().ask_bus("UpdateActivationEnvironment", "a{ss}", {"DISPLAY": ""})
        self.action("preferences")
        turn_until(lambda: windows_named("Preferences$"), what="the preferences", retry=True)
        os.kill(Client().process_of(APPLICATION), signal.SIGTERM)
        self.wait_until_gone(tool)

    @in_desktop(options=(*SERVICES, "--display"))
    def test_started_by_hand_without_a_display_it_opens_no_window_on_the_sessions(self):
        _manager = ScriptedUserManager([f"DISPLAY={os.environ['DISPLAY']}"])
        tool = Tool(show_preview=True, environment={"DISPLAY": None}).start()
        self.addCleanup(tool.end)
        self.assertEqual(turn_until_exit(tool.process), 1, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])

    @in_desktop(HD, options=SERVICES)
    def test_started_by_the_bus_the_first_call_decides_activation(self):
        tool = Tool()
        self.start_by_the_bus()
        self.assertEqual(tool.names(), [])
        self.call("Activate", "")
        self.wait_until_gone(tool)
        self.assertEqual(launches(tool), [{"Silent": True}])
        self.assertEqual(len(tool.photos()), 1)

    @in_desktop(HD, options=SERVICES)
    def test_a_click_on_the_suites_menu_icon_starts_a_tool_that_does_not_run(self):
        tool = Tool()
        Client().call(APPLICATION, path_of(APPLICATION), "com.verrano.quillo.Tool1", "ClickMenuIcon")
        self.wait_until_gone(tool)
        self.assertEqual(launches(tool), [{"Silent": True}])
        self.assertEqual(len(tool.photos()), 1)

    @in_desktop(options=SERVICES)
    def test_a_click_finds_a_photo_whose_path_is_no_text(self):
        tool, files = Tool(), ScriptedFileManager()
        self.action("show-photo", "file:///photos/%FF.png")
        self.wait_until_gone(tool)
        turn_until(lambda: files.shown, what="the file manager")
        self.assertEqual(files.shown, ["file:///photos/%FF.png"])

    @in_desktop(HD, options=SERVICES)
    def test_started_by_the_bus_the_first_call_decides_click(self):
        tool = Tool()
        files = ScriptedFileManager()
        self.start_by_the_bus()
        self.action("show-photo", "/a photo.png")
        self.wait_until_gone(tool)
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assertEqual(launches(tool), [{"ClickOnNotification": True}])
        turn_until(lambda: files.shown, what="the file manager")
        self.assertEqual(files.shown, ["file:///a%20photo.png"])


class Helper(ToolTest):
    @in_desktop(options=SERVICES)
    def test_killed_it_starts_anew_for_the_next_photo_and_then_replaces_again(self):
        bus, daemon = Client(), ScriptedDaemon()
        post_photo(bus, "Photo", "/1.png")
        turn_until(lambda: daemon.order == [1], what="the first bubble")
        os.kill(bus.process_of(NOTIFIER), signal.SIGKILL)
        bus.wait_until_unowned(NOTIFIER)
        post_photo(bus, "Photo", "/2.png")
        post_photo(bus, "Photo", "/3.png")
        turn_until(lambda: daemon.order == [1, 2, 2], what="the bubbles of the next photos")

        daemon.close(1)
        daemon.close(2)
        bus.wait_until_unowned(NOTIFIER)


class Shell(CallingTest):
    """A shell that starts programs for clicks by itself gets the notification, not the helper."""

    @in_desktop(HD, options=SERVICES)
    def test_its_clicks_show_the_photo(self):
        shell, daemon, files, tool = ScriptedShell(), ScriptedDaemon(), ScriptedFileManager(), Tool()
        tool.start()
        turn_until(lambda: shell.kept, what="the notification")
        self.assertEqual(tool.wait(), 0, tool.log())
        (key, notification), = shell.kept.items()
        self.assertEqual(key, (APPLICATION, "Photo_Taken_Notification"))
        self.assertEqual(daemon.order, [])
        self.assertFalse(Client().has_owner(NOTIFIER))

        self.assertEqual(notification["default-action"], "app.show-photo")
        self.action("show-photo", notification["default-action-target"])
        self.wait_until_gone(tool)
        self.assertEqual(launches(tool), [{"Silent": True}, {"ClickOnNotification": True}])
        turn_until(lambda: files.shown, what="the file manager")
        self.assertEqual(files.shown, [self.assert_one_photo(tool).as_uri()])


class Missing(ToolTest):
    """Whatever becomes of the notification, the run ends as any other."""

    def assert_whole_run(self, tool):
        self.assertEqual(turn_until_exit(tool.start().process), 0, tool.log())
        self.assertEqual(tool.names(), WHOLE_RUN)
        self.assert_one_photo(tool)

    @in_desktop(HD, options=SERVICES)
    def test_no_notification_service(self):
        self.assert_whole_run(Tool())
        Client().wait_until_unowned(NOTIFIER)

    @in_desktop(HD)
    def test_no_helper(self):
        self.assert_whole_run(Tool())

    @in_desktop(HD, options=SERVICES)
    def test_a_service_that_never_answers(self):
        daemon = ScriptedDaemon()
        daemon.silent = True
        self.assert_whole_run(Tool())
        turn_until(lambda: daemon.asked, what="the notification")  # by the helper, for which the program does not wait
        self.assertEqual(daemon.asked, 1)
        self.assertEqual(daemon.shown, {})

    @in_desktop(HD, options=SERVICES)
    def test_a_service_that_dies_of_the_notification(self):
        dying = ScriptedDaemon()
        dying.dies_of_the_next = True
        tool = Tool()
        self.assert_whole_run(tool)
        turn_until(lambda: dying.asked, what="the notification")
        self.assertEqual(dying.asked, 1)
        self.assertFalse(Client().has_owner(NOTIFICATIONS))
        daemon = ScriptedDaemon()
        self.assertEqual(turn_until_exit(tool.start().process), 0, tool.log())
        turn_until(lambda: daemon.shown, what="the notification on the next service")

    @in_desktop(HD, options=SERVICES)
    def test_a_helper_that_hangs(self):
        bus = Client()
        bus.ask_bus("StartServiceByName", "su", NOTIFIER, 0)
        helper = bus.process_of(NOTIFIER)
        os.kill(helper, signal.SIGSTOP)
        try:
            self.assert_whole_run(Tool())
        finally:
            os.kill(helper, signal.SIGKILL)


class Sound(ToolTest):
    """With a sound library that only notes what it is asked for; its theme has but the second of the events."""

    def setUp(self):
        recording = Path(os.environ["CAMERA_DESKTOP_PROGRAMS"]).parent / "notifications/recording"
        self.assertTrue((recording / "libcanberra.so.0").exists(), "the build has no recording sound library")
        self.library = str(recording)

    @in_desktop(HD, options=SERVICES)
    def test_is_the_helpers_and_nobody_elses(self):
        journal = Path(os.environ["HOME"]) / "sounds"
        bus, monitor, _daemon, tool = Client(), Monitor(), ScriptedDaemon(), Tool()
        bus.ask_bus("UpdateActivationEnvironment", "a{ss}",
                    {"LD_LIBRARY_PATH": self.library, "SOUND_JOURNAL": str(journal)})
        self.assertEqual(tool.run(), 0, tool.log())
        turn_until(lambda: journal.exists() and journal.read_text(encoding="utf-8").count("\n") == 2, journal.parent)
        self.assertEqual(journal.read_text(encoding="utf-8"), "message-new-instant\ndialog-information\n")
        shown, = Notifications(monitor).wait_for(1)
        self.assertTrue(shown.hints["suppress-sound"])


class SlowFileManager(ToolTest):
    @in_desktop(options=(*SERVICES, "--service-dir", str(FOLDER / "services")))
    def test_that_takes_seconds_to_start_shows_the_photo_all_the_same(self):
        seen = Path(os.environ["HOME"]) / "seen"
        bus, daemon, tool = Client(), ScriptedDaemon(), Tool()
        bus.ask_bus("UpdateActivationEnvironment", "a{ss}",
                    {"FILE_MANAGER": f"{sys.executable} -B {FOLDER}/scripted_services.py {SLOW_START} {seen}"})
        post_photo(bus, "Photo", "/photo.png")
        turn_until(lambda: daemon.shown, what="the bubble")
        daemon.click(1)
        turn_until(lambda: seen.exists() and seen.read_text(encoding="utf-8"), seen.parent, what="the file manager")
        self.assertEqual(seen.read_text(encoding="utf-8"), "file:///photo.png")
        self.assertEqual(tool.names(), ["Launch", "Quit"])


if __name__ == "__main__":
    unittest.main()
