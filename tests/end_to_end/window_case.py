"""What the tests of the windows have in common."""

import os
import re
import subprocess
import time

import pixels
from tool import TOOL_IDENTIFIER, WITHOUT_OVERRIDE, Tool, ToolTest
from waiting import BOUND, wait_until
from windows import APPLICATION, PREFERENCES, PREVIEW, Windows, listed

# Cameras that their photos tell apart, in the order in which the tool lists them.
RED = "name=red,title=Red camera,modes=MJPG:640x480@30,tint=d05050"
GREEN = "name=green,title=Green camera,modes=MJPG:640x480@30,tint=50d050"
BLUE = "name=blue,title=Blue camera,modes=MJPG:640x480@30,tint=5050d0"

# Starts the program with an argument, which opens the preferences.
WITH_PREFERENCES = ["sh", "-c", f'exec "$@" {TOOL_IDENTIFIER}', "sh"]


def camera_of(pixel):
    """Which of the cameras has such a background: "red", "green" or "blue"; None for no camera of these."""
    strongest = max(range(3), key=lambda channel: pixel[channel])
    rest = max(value for channel, value in enumerate(pixel) if channel != strongest)
    return ("red", "green", "blue")[strongest] if pixel[strongest] > rest + 40 else None


def call_tool(method, *arguments):
    """Calls the program as desktops do; the bus starts it when it does not run. Returns when it has answered."""
    path = "/" + APPLICATION.replace(".", "/")
    subprocess.run(["gdbus", "call", "--session", "--dest", APPLICATION, "--object-path", path, "--method",
                    f"org.freedesktop.Application.{method}", *arguments], check=True, stdout=subprocess.DEVNULL)


def wayland_activations(log):
    """The requests to come to the front, as (token, surface), that a log of the Wayland protocol tells of."""
    # libwayland 1.21 writes its objects with "@", 1.23 with "#".
    return re.findall(r'xdg_activation_v1[@#]\d+\.activate\("([^"]*)", wl_surface[@#](\d+)\)', log)


class WindowTest(ToolTest):
    """`display` names the kind of display; `windows` are the program's."""

    display = "x11"

    def setUp(self):
        if "CAMERA_DESKTOP_DIR" in os.environ:
            self.windows = Windows()
            self.addCleanup(self.windows.close)

    def open_preferences(self, **options):
        """A run that only shows the preferences; a folder's mode holds for it even if it is root's."""
        tool = Tool(command=[*WITHOUT_OVERRIDE, *WITH_PREFERENCES], **options).start()
        self.windows.wait_for_window(PREFERENCES)
        return tool

    def open_preview(self, **options):
        tool = Tool(show_preview=True, **options).start()
        self.windows.wait_for_window(PREVIEW)
        return tool

    def assert_all_is_named(self, window):
        """Whatever people work with has a name to be read aloud, and nothing is called by its class."""
        worked_with = {"alert", "button", "combo box", "image", "label", "list", "list item", "push button", "status",
                       "switch", "toggle button"}
        of_the_toolkit = {"widget", "scroll bar"}  # boxes around what people see
        objects = [each for each in self.windows.objects() if each.window == window and each.role not in of_the_toolkit]
        unnamed = [each for each in objects if not each.name and each.role in worked_with - {"label", "status"}]
        by_class = [each for each in objects if re.match(r"(Gtk|Adw|LayerView|BackgroundView|PopUpRow)", each.name)]
        self.assertEqual(unnamed + by_class, [])
        self.assertTrue(worked_with & {each.role for each in objects})

    def choose_camera(self, title, steps):
        """Chooses the camera that many items below the one that is chosen (above: negative) from the popup."""
        self.open_camera_list()
        for _ in range(abs(steps)):
            self.windows.key("Down" if steps > 0 else "Up")
        self.windows.key("Return")
        self.windows.wait_until(lambda objects: not any(map(self._is_open_list, objects)), "the end of the popup's list")
        self.assertEqual(self.chosen_camera(), title)

    def open_camera_list(self):
        self.windows.click("Camera", PREFERENCES)
        self.windows.wait_until(lambda objects: any(map(self._is_open_list, objects)), "the popup's list")

    def click_in_camera_list(self, title):
        """Clicks on a camera of the open list, on X11."""
        # The first is the closed popup's own.
        _, *items = [each for each in self.windows.objects() if each.role == "list item" and " camera" in each.name]
        middle = sum(each.y for each in items) / len(items)
        item = next(each for each in items if each.name == title)
        # What is around the items is nearly the same above and below them, whatever the toolkit tells of it.
        x, y, width, height = self.windows.screen.popup_frame()
        self.windows.screen.click(x + width // 2, y + height // 2 + round(item.y - middle))

    def chosen_camera(self):
        """The title that the closed popup shows."""
        return next(each.name for each in self.windows.objects() if self._is_camera_title(each))

    def wait_for_shown_camera(self, title):
        self.windows.wait_until(lambda objects: title in [each.name for each in objects if self._is_camera_title(each)],
                                f"{title} in the popup")

    @staticmethod
    def _is_open_list(each):
        # GTK 4.8 names the window around the list; later ones tell that one of its items, a camera, has the keyboard.
        return "GtkPopover" in each.name or (
            each.role == "list item" and "focused" in each.states and (not each.name or " camera" in each.name))

    @staticmethod
    def _is_camera_title(each):
        return each.role == "label" and each.window == PREFERENCES and " camera" in each.name

    def wait_for_pixel(self, x, y, expected):
        """Looks at a place of the preview, given in parts of its width and height, until its colour is as expected:
        pictures tell nobody of their change. Returns the condition's answer."""
        deadline = time.monotonic() + BOUND
        while True:
            left, top, width, height = self.windows.screen.frame(PREVIEW)
            pixel = self.windows.screen.pixel(int(left + x * width), int(top + y * height))
            if answer := expected(pixel):
                return answer
            if time.monotonic() > deadline:
                self.fail(f"the pixel at {x}, {y} of the preview stays {pixel}")

    def wait_for_preview_colour(self, colour):
        """Waits until the preview shows that camera's picture."""
        self.wait_for_pixel(0.3, 0.3, lambda pixel: camera_of(pixel) == colour)

    def photo_colour(self, path):
        return camera_of(pixels.decode_png(path).at(0.3, 0.3))

    def wait_for_photos(self, tool, count):
        """All the photos, once there are that many and each is whole."""
        try:
            wait_until(lambda: len(tool.photos()) >= count, tool.photo_folder, what=f"photo {count}")
        except AssertionError as late:
            raise AssertionError(f"{late}; the program said:\n{tool.log()}\nthere is:\n"
                                 f"{listed(self.windows.objects())}") from None
        self.assertEqual(len(tool.photos()), count)
        for photo in tool.photos():
            self.assert_whole_png(photo)
        return sorted(tool.photos(), key=lambda photo: photo.stat().st_mtime_ns)

    @staticmethod
    def settings(tool):
        return (tool.config / "camera-shot.ini").read_text(encoding="utf-8")

    def wait_for_setting(self, tool, line):
        wait_until(lambda: line in self.settings(tool).splitlines(), tool.config, what=f"{line} in the settings")
