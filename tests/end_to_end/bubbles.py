"""The notifications on the screen of a private desktop, and the mouse on them."""

import os
import signal
import subprocess
from pathlib import Path

import dbus

from session_bus import Client, turn_until
from tool import installation

NOTIFICATIONS = "org.freedesktop.Notifications"
APPLICATION = "com.verrano.quillo.CameraShot"
NOTIFIER = APPLICATION + ".Notifier"
# What lets the bus of a private desktop start the installed program and its helper.
SERVICES = ("--service-dir", f"{installation()}/share/dbus-1/services")

# Picks the entry whose text has this word from what dunst offers for a notification.
_PICK = '#!/bin/sh\nexec grep -m 1 "$(cat "${0%/*}/wanted")"\n'


def path_of(name):
    return "/" + name.replace(".", "/")


def post_photo(client, identifier, photo):
    """Posts as the program does when it has taken a photo, whose path is the title here."""
    notification = dbus.Dictionary({"title": photo, "default-action": "app.show-photo", "default-action-target": photo,
                                    "default-action-label": "Show"}, signature="sv")
    client.call(NOTIFIER, path_of(NOTIFIER), NOTIFIER, "Post", "ssa{sv}", (APPLICATION, identifier, notification))


def mouse(*commands):
    return subprocess.run(["xdotool", *map(str, commands)], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          check=False, timeout=20).stdout


def windows_named(pattern):
    """The visible windows whose title matches, which may be none."""
    return mouse("search", "--onlyvisible", "--name", pattern).split()


def geometry(window):
    lines = mouse("getwindowgeometry", "--shell", window).splitlines()
    values = dict(line.split("=", 1) for line in lines)
    return {name: int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")}


class Notification:
    """What a program asked the notification service to show."""

    def __init__(self, call):
        (self.application, self.replaces, self.icon, self.title, self.body, self.actions, self.hints,
         self.lifetime) = call.arguments
        self.when = call.when
        self.identifier = None  # the service's answer

    @property
    def text(self):
        return f"{self.title}\n{self.body}" if self.body else str(self.title)

    @property
    def labels(self):
        return [str(label) for label in self.actions[1::2]]


class Notifications:
    """What the notification service has been asked for, as a monitor of the bus sees it."""

    def __init__(self, monitor):
        self._monitor = monitor

    def all(self):
        notifications = []
        for call in self._monitor.calls("Notify"):
            notification = Notification(call)
            if answer := self._monitor.answer_to(call):
                notification.identifier = int(answer[0])
                notifications.append(notification)
        return notifications

    def shown(self):
        """Those that nothing has replaced or closed, by the service's identifier."""
        shown = {notification.identifier: notification for notification in self.all()}
        for closed in self._monitor.signals("NotificationClosed"):
            shown.pop(int(closed.arguments[0]), None)
        return shown

    def wait_for(self, number):
        """All of them, once there have been that many and the service has answered."""
        return turn_until(lambda: len(self.all()) >= number and self.all(), what=f"notification {number}")


class Bubble:
    """The one notification on the screen of a service, and where it has what can be clicked.

    Points are in pixels from the bubble's left and top; negative ones from its right and bottom.
    """

    def __init__(self, window_name, body, button, at_once=None):
        self.at_once = at_once  # how many the service shows, keeping others back until the user is done with those
        self._window_name = window_name
        self._body = body
        self._button = button

    def number(self):
        return len(windows_named(f"^{self._window_name}$"))

    def click(self):
        self._click_at(self._body)

    def click_open(self):
        self._click_at(self._button)

    def _click_at(self, point, button=1):
        window, = turn_until(lambda: windows_named(f"^{self._window_name}$"), what="a bubble", retry=True)
        place = geometry(window)
        across = place["X"] + point[0] + (place["WIDTH"] if point[0] < 0 else 0)
        down = place["Y"] + point[1] + (place["HEIGHT"] if point[1] < 0 else 0)
        # By way of another point inside, so that the bubble sees the pointer arrive.
        mouse("mousemove", place["X"] + 5, place["Y"] + 5, "mousemove", across, down, "click", button)


class DunstBubble(Bubble):
    """dunst has no buttons: the middle mouse button is its click, and its other actions are in a menu, which a program
    of the user's choice shows. Here that program picks what the test wants."""

    def __init__(self):
        super().__init__("Dunst", (40, 10), None)
        self._menu = Path(os.environ["XDG_CONFIG_HOME"]) / "dunst" / "pick"
        self._restart_with_menu()

    def _restart_with_menu(self):
        self._menu.parent.mkdir()
        self._menu.write_text(_PICK, encoding="utf-8")
        self._menu.chmod(0o700)
        (self._menu.parent / "wanted").write_text("Open", encoding="utf-8")
        configuration = self._menu.parent / "dunstrc"
        configuration.write_text(f"[global]\ndmenu = {self._menu}\n", encoding="utf-8")
        restart("dunst", "-conf", configuration)

    def number(self):
        displayed = subprocess.run(["dunstctl", "count", "displayed"], capture_output=True, text=True, check=True)
        return int(displayed.stdout)

    def click(self):
        self._click_at(self._body, button=2)

    def click_open(self):
        subprocess.run(["dunstctl", "context"], check=True)


def restart(*command):
    """Ends the notification service and starts this one in its place."""
    client = Client()
    os.kill(client.process_of(NOTIFICATIONS), signal.SIGTERM)
    client.wait_until_unowned(NOTIFICATIONS)
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    client.wait_for_owner(NOTIFICATIONS)
    return process


def bubble_of(daemon):
    if daemon == "dunst":
        return DunstBubble()
    if daemon == "xfce4-notifyd":
        # It passes a click on the body over and shows the default action as a button, left of the other.
        return Bubble("xfce4-notifyd", (-150, -30), (-57, -30))
    return Bubble("Notification", (100, 55), (-80, -37), at_once=1)
