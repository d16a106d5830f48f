#!/usr/bin/env python3
"""The suite's line to the tool on the bus: before the tool runs, while it runs and while it ends."""

import os
import signal
import sys
import unittest
from pathlib import Path

import dbus

from bubbles import APPLICATION, SERVICES, path_of, windows_named
from session_bus import Client, turn_until
from tool import HD, Tool, ToolTest, in_desktop, stalled_camera

FOLDER = Path(__file__).resolve().parent


def click_menu_icon(name=APPLICATION):
    Client().call(name, path_of(APPLICATION), "com.verrano.quillo.Tool1", "ClickMenuIcon")


def launches(tool):
    return [event["details"] for event in tool.events() if event["event"] == "Launch"]


class ClickMenuIcon(ToolTest):
    @in_desktop(HD, options=(*SERVICES, "--display"))
    def test_without_a_running_tool_it_shows_the_preview_where_that_is_set(self):
        tool = Tool(show_preview=True)
        click_menu_icon()
        turn_until(lambda: windows_named("^Camera Shot$"), what="the window", retry=True)
        self.assertEqual(tool.names(), ["Launch"])
        os.kill(Client().process_of(APPLICATION), signal.SIGTERM)
        Client().wait_until_unowned(APPLICATION)
        self.assertEqual(tool.photos(), [])

    @in_desktop(HD, options=SERVICES)
    def test_with_a_running_tool_it_takes_another_photo(self):
        with stalled_camera():
            tool = Tool().start()
            tool.wait_for_event("Start")
            click_menu_icon()
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names().count("Start"), 2)
        self.assertEqual(len(tool.photos()), 2)
        self.assertEqual(len(launches(tool)), 1)


class TheEnd(ToolTest):
    """A photo is to be shown by a file manager that takes its time: so long the tool waits before it is gone."""

    def leaving_tool(self):
        """A tool that has said "Quit" and waits, and its own name on the bus."""
        bus = Client()
        os.mkfifo(self.start_of_file_manager())
        bus.ask_bus("UpdateActivationEnvironment", "a{ss}",
                    {"FILE_MANAGER": f"{sys.executable} -B {FOLDER}/scripted_services.py {self.start_of_file_manager()} "
                                     f"{Path(os.environ['HOME']) / 'seen'}"})
        tool = Tool(show_preview=True).start()
        turn_until(lambda: windows_named("^Camera Shot$"), what="the window", retry=True)
        own_name = str(bus.ask_bus("GetNameOwner", "s", APPLICATION))
        bus.call(APPLICATION, path_of(APPLICATION), "org.freedesktop.Application", "ActivateAction", "sava{sv}",
                 ("show-photo", dbus.Array(["/photo.png"], signature="v"), dbus.Dictionary({}, signature="sv")))
        tool.process.send_signal(signal.SIGTERM)
        tool.wait_for_event("Quit")
        return tool, own_name

    @staticmethod
    def start_of_file_manager():
        return Path(os.environ["HOME"]) / "start"

    def start_file_manager(self):
        self.addCleanup(os.close, os.open(self.start_of_file_manager(), os.O_RDWR))

    @in_desktop(HD, options=(*SERVICES, "--display", "--service-dir", str(FOLDER / "services")))
    def test_takes_the_windows_away_at_once_and_refuses_what_comes_to_the_old_process(self):
        tool, own_name = self.leaving_tool()
        turn_until(lambda: not windows_named("^Camera Shot$"), what="the end of the window", retry=True)
        with self.assertRaises(dbus.DBusException):
            click_menu_icon(own_name)
        self.assertIsNone(tool.process.poll(), "it waits for the file manager still")
        self.start_file_manager()
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])

    @in_desktop(HD, options=(*SERVICES, "--display", "--service-dir", str(FOLDER / "services")))
    def test_leaves_a_click_on_the_menu_icon_to_the_next_process(self):
        tool, _ = self.leaving_tool()
        Client().wait_until_unowned(APPLICATION)  # until then, the click is the old process's, which refuses it
        click_menu_icon()
        turn_until(lambda: windows_named("^Camera Shot$"), what="the next process's window", retry=True)
        self.assertEqual(tool.names(), ["Launch", "Quit", "Launch"])
        os.kill(Client().process_of(APPLICATION), signal.SIGTERM)
        self.start_file_manager()
        self.assertEqual(tool.wait(), 0, tool.log())
        Client().wait_until_unowned(APPLICATION)


if __name__ == "__main__":
    unittest.main()
