"""The program's windows as their user has them: what they show, and keys and clicks into them."""

import contextlib
import functools
import json
import os
import select
import subprocess
import time
from pathlib import Path

from tool import in_desktop, installation
from waiting import BOUND
from wayland_input import WaylandInput
from window_manager_requests import ask_to_close

APPLICATION = "com.verrano.quillo.CameraShot"
PREVIEW, PREFERENCES = "Camera Shot", "Preferences"
_READER = Path(__file__).with_name("accessible_windows.py")
_DISPLAYS = {"x11": ["--window-manager"], "wayland": ["--wayland"]}


def in_windowed_desktop(*cameras, options=()):
    """As in_desktop, with the display that the test's class names (`display`) and the installed services."""

    def decorate(method):
        @functools.wraps(method)
        def test(self):
            services = ["--service-dir", installation() / "share/dbus-1/services"]
            display = _DISPLAYS[getattr(self, "display", "x11")]
            return in_desktop(*cameras, options=[*display, "--accessibility", *services, *options])(method)(self)

        return test

    return decorate


class X11Screen:
    """Keys and clicks by the X server's test extension; looks at the screen."""

    @staticmethod
    def key(chord):
        subprocess.run(["xdotool", "key", chord], check=True)

    @staticmethod
    def press(key):
        """Until it is released, the X server repeats it."""
        subprocess.run(["xdotool", "keydown", key], check=True)

    @staticmethod
    def release(key):
        subprocess.run(["xdotool", "keyup", key], check=True)

    @staticmethod
    def click(x, y):
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=True)

    @staticmethod
    def type(text):
        subprocess.run(["xdotool", "type", text], check=True)

    def popup_frame(self):
        """Of the list that is open: its window has no title of its own."""
        return self.frame(APPLICATION)

    def frame(self, title):
        """x, y, width and height of the window on the screen."""
        told = subprocess.run(["xdotool", "getwindowgeometry", "--shell", self._window(title)], check=True,
                              capture_output=True, text=True).stdout
        values = dict(line.split("=") for line in told.split())
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    @staticmethod
    def title_with_keyboard():
        return subprocess.run(["xdotool", "getactivewindow", "getwindowname"], check=False, capture_output=True,
                              text=True).stdout.strip()

    def startup_identifier(self, title):
        """By which request of the desktop the window says that it was opened."""
        told = subprocess.run(["xprop", "-id", self._window(title), "_NET_STARTUP_ID"], check=True, capture_output=True,
                              text=True).stdout
        return told.split('"')[1] if '"' in told else None

    @staticmethod
    def open_other_program():
        """Another program's window with the keyboard; returns its process."""
        process = subprocess.Popen(["xev"], stdout=subprocess.DEVNULL)
        search = ["xdotool", "search", "--sync", "--onlyvisible", "--name", "^Event Tester$"]
        subprocess.run([*search, "windowactivate", "--sync"], check=True, timeout=BOUND)
        return process

    def minimize(self, title):
        """Returns what brings the window back."""
        window = self._window(title)
        subprocess.run(["xdotool", "windowminimize", "--sync", window], check=True)
        return lambda: subprocess.run(["xdotool", "windowactivate", "--sync", window], check=True)

    def close(self, title):
        """Has the window manager do it, as task lists have. Its key would not do: openbox does not listen to keys for a
        moment when a keyboard is used for the first time."""
        ask_to_close(int(self._window(title)))

    @staticmethod
    def _window(title):
        # With --sync it waits until there is one; a title is a pattern.
        found = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", f"^{title}$"], check=True,
                               capture_output=True, text=True, timeout=BOUND).stdout
        return found.split()[-1]

    @staticmethod
    def pixel(x, y):
        """Red, green and blue of a place on the screen."""
        done = subprocess.run(["import", "-silent", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "rgb:-"],
                              check=True, capture_output=True)
        return tuple(done.stdout[-3:])


class WaylandScreen:
    """Keys and clicks by a virtual keyboard and pointer of the compositor; looks at the screen."""

    _SIZE = (1280, 1024)

    def __init__(self):
        self._input = WaylandInput()

    def key(self, chord):
        self._input.key(chord)

    def press(self, key):
        self._input.press(key)

    def release(self, key):
        self._input.release(key)

    def click(self, x, y):
        self._input.click(x, y, *self._SIZE)

    def frame(self, title):
        """x, y, width and height of the window on the screen."""
        rectangle = next(node["rect"] for node in self._nodes() if node["name"] == title)
        return tuple(rectangle[name] for name in ("x", "y", "width", "height"))

    def title_with_keyboard(self):
        return next((node["name"] for node in self._nodes() if node["focused"]), None)

    @staticmethod
    def _nodes():
        told = subprocess.run(["swaymsg", "-t", "get_tree"], check=True, capture_output=True, text=True).stdout
        nodes = [json.loads(told)]
        for node in nodes:  # which grows meanwhile
            nodes += node["nodes"] + node["floating_nodes"]
        return nodes

    @staticmethod
    def pixel(x, y):
        """Red, green and blue of a place on the screen."""
        done = subprocess.run(["grim", "-t", "ppm", "-g", f"{x},{y} 1x1", "-"], check=True, capture_output=True)
        return tuple(done.stdout[-3:])


class Object:
    """One object of a window, as assistive technologies know it."""

    def __init__(self, told):
        self.window, self.name, self.role = told["window"], told["name"], told["role"]
        self.is_window = told["is_window"]
        self.description = told["description"]
        self.states = set(told["states"])
        self.x, self.y, self.width, self.height = told["extents"]

    def __repr__(self):
        return f"{self.role} {self.name!r} in {self.window!r} {sorted(self.states)}"


def listed(objects):
    """A line for each, for people to read."""
    return "\n".join(map(repr, objects))


def titles(objects):
    """The titles of the windows on the screen."""
    return {each.name for each in objects if each.is_window and "visible" in each.states}


class Windows:
    """All windows of the program."""

    def __init__(self):
        self.screen = WaylandScreen() if "WAYLAND_DISPLAY" in os.environ else X11Screen()
        self._reader = subprocess.Popen([_READER, APPLICATION], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def close(self):
        self._reader.stdin.close()
        self._reader.wait(BOUND)
        self._reader.stdout.close()

    def _ask(self, request):
        self._reader.stdin.write(request + "\n")
        self._reader.stdin.flush()
        # The reader itself waits for a program that is slow to answer.
        if not select.select([self._reader.stdout], [], [], 3 * BOUND)[0]:
            raise AssertionError("the accessibility bus does not answer")
        return json.loads(self._reader.stdout.readline())

    def objects(self):
        return [Object(told) for told in self._ask("look")]

    def wait_until(self, condition, what):
        """Returns the first true answer of `condition` about the objects; looks again whenever the program tells of a
        change, and ten times a second without: not every change is told."""
        deadline = time.monotonic() + BOUND
        while True:
            objects = self.objects()
            if answer := condition(objects):
                return answer
            if time.monotonic() > deadline:
                raise AssertionError(f"{what} did not come within {BOUND} s; there is:\n{listed(objects)}")
            self._ask("wait 0.1")

    def find(self, name, window):
        """The first object of that name in that window, once there is one."""

        def search(objects):
            return next((each for each in objects if (each.name, each.window) == (name, window)
                         and not each.is_window and window in titles(objects)), None)

        return self.wait_until(search, f"{name!r} in {window!r}")

    def wait_for_window(self, title):
        """Waits until the window is there and has the keyboard, so that keys reach it."""
        self.wait_until(lambda objects: title in titles(objects) and self.screen.title_with_keyboard() == title,
                        f"the window {title!r}")

    def wait_until_gone(self, title):
        self.wait_until(lambda objects: title not in titles(objects), f"the end of the window {title!r}")

    def titles(self):
        return titles(self.objects())

    def key(self, chord):
        self.screen.key(chord)

    @contextlib.contextmanager
    def held_key(self, key):
        """Within the block that key is down."""
        self.screen.press(key)
        try:
            yield
        finally:
            self.screen.release(key)

    def click(self, name, window):
        """Clicks in the middle of an object, or near it: GTK since 4.10 leaves the padding of the boxes around an object
        out of the place that it tells. That of a header bar, the widest, is less than half a button."""
        found = self.find(name, window)
        toplevel = next(each for each in self.objects() if each.is_window and each.name == window)
        x, y, width, height = self.screen.frame(window)
        # What the toolkit draws around a window, the same on each side, belongs to its frame on the screen. Of a border
        # GTK before 4.10 tells nothing: the window is what lies inside. Later the border belongs to the window, which
        # begins that much before its inside, at a negative place; and all places in it are told from there.
        inside_x = x + (width - toplevel.width) // 2 - toplevel.x
        inside_y = y + (height - toplevel.height) // 2 - toplevel.y
        self.screen.click(inside_x + found.x - toplevel.x + found.width // 2,
                          inside_y + found.y - toplevel.y + found.height // 2)
