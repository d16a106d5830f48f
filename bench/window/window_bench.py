#!/usr/bin/python3
"""Measures how long the windows let people wait, on a Wayland display of their own without a graphics processor.

    window_bench.py [--build DIR] [--prefix DIR] [--count N]

A window is there when the compositor reports it, a picture when the screen shows it; the screen is looked at again and
again, and each look takes the milliseconds that are named last. Needs an otherwise quiet machine.
"""

import argparse
import json
import os
import socket
import statistics
import struct
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests/end_to_end"), str(ROOT / "tests/desktop")]
sys.dont_write_bytecode = True

CAMERA = "name=desk,title=Desk camera,modes=MJPG:1280x720@30"
BOUND = 20  # seconds for anything that is waited for


class Opened:
    """The compositor's reports of windows that come to the front (sway-ipc(7))."""

    _SUBSCRIBE = 2

    def __init__(self):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(BOUND)
        self._socket.connect(os.environ["SWAYSOCK"])
        payload = b'["window"]'
        self._socket.sendall(b"i3-ipc" + struct.pack("=II", len(payload), self._SUBSCRIBE) + payload)
        self._read()

    def _read(self):
        length, _ = struct.unpack("=II", self._exactly(14)[6:])
        return json.loads(self._exactly(length))

    def _exactly(self, count):
        data = b""
        while len(data) < count:
            data += self._socket.recv(count - len(data))
        return data

    def wait(self, title):
        """The moment at which the window of that title was there."""
        while True:
            report = self._read()
            # The report that it is new comes without its title; that it has the keyboard, right after that.
            if report["change"] == "focus" and report["container"]["name"] == title:
                return time.monotonic()

    def close(self):
        self._socket.close()


def until(condition):
    """The moment at which the condition came true."""
    end = time.monotonic() + BOUND
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError("what is measured does not happen")
    return time.monotonic()


class Measurements:
    """In milliseconds, all inside of a desktop."""

    def __init__(self):
        from private_desktop.requests import ask
        from window_case import WITH_PREFERENCES
        from windows import PREFERENCES, PREVIEW, Windows
        import tool

        self.ask = lambda request: ask(os.environ["CAMERA_1_CONTROL"], request)
        self.with_preferences, self.tool = WITH_PREFERENCES, tool
        self.preview, self.preferences = PREVIEW, PREFERENCES
        self.windows, self.opened = Windows(), Opened()
        self.times = {}

    def note(self, what, begin, end):
        self.times.setdefault(what, []).append(1000 * (end - begin))

    def live(self):
        """Whether the red block of the camera's picture is seen, mirrored to the right edge."""
        red, green, blue = self.windows.screen.pixel(self.red_x, self.red_y)
        return red > 180 and max(green, blue) < 80

    def preferences_cold(self):
        tool = self.tool.Tool(command=self.with_preferences)
        begin = time.monotonic()
        tool.start()
        self.note("preferences, from the start of the program", begin, self.opened.wait(self.preferences))
        self.windows.wait_for_window(self.preferences)
        self.windows.key("Escape")
        tool.wait()

    def preview_run(self):
        tool = self.tool.Tool(show_preview=True)
        begin = time.monotonic()
        tool.start()
        there = self.opened.wait(self.preview)
        self.note("preview, from the start of the program", begin, there)
        left, top, width, height = self.windows.screen.frame(self.preview)
        self.red_x, self.red_y = int(left + 0.95 * width), int(top + 0.5 * height)
        self.ask("wait-frames 1")
        self.note("live picture, from the camera's first frame", time.monotonic(), until(self.live))
        self.plugs()
        self.windows.wait_for_window(self.preview)
        begin = time.monotonic()
        self.windows.key("ctrl+comma")
        self.note("preferences, from the key in the preview", begin, self.opened.wait(self.preferences))
        self.windows.wait_for_window(self.preferences)
        self.windows.key("Escape")
        self.windows.wait_until_gone(self.preferences)
        begin = time.monotonic()
        self.windows.key("ctrl+comma")
        self.note("preferences, asked for again", begin, self.opened.wait(self.preferences))
        self.popup()
        self.windows.key("ctrl+q")
        tool.wait()

    def plugs(self):
        begin = time.monotonic()
        self.ask("unplug")
        self.note("panel, from the unplug", begin, until(lambda: not self.live()))
        begin = time.monotonic()
        self.ask("plug")
        self.note("live picture, from the plug", begin, until(self.live))

    def popup(self):
        """The row's picture changes with the popup's title."""
        row = self.windows.find("Camera", self.preferences)
        left, top, _, _ = self.windows.screen.frame(self.preferences)
        place = f"{left + row.x},{top + row.y} {row.width}x{row.height}"

        def picture():
            return subprocess.run(["grim", "-t", "ppm", "-g", place, "-"], check=True, capture_output=True).stdout

        for request in ("unplug", "plug"):
            before = picture()
            while before != (before := picture()):  # until no animation is under way any more
                pass
            begin = time.monotonic()
            self.ask(request)
            self.note(f"popup, from the {request}", begin, until(lambda known=before: picture() != known))

    def look(self):
        begin = time.monotonic()
        self.windows.screen.pixel(1, 1)
        self.note("of that, a look at the screen", begin, time.monotonic())


def measure(count):
    measurements = Measurements()
    for _ in range(count):
        measurements.preferences_cold()
        measurements.preview_run()
        measurements.look()
    measurements.opened.close()
    measurements.windows.close()
    print(json.dumps(measurements.times))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=ROOT / "build/release", help="the build tree (build/release)")
    parser.add_argument("--prefix", type=Path, default=ROOT / "build/stage", help="the installation (build/stage)")
    parser.add_argument("--count", type=int, default=10, help="runs (10)")
    parser.add_argument("--measure", type=int, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.measure:
        measure(options.measure)
        return
    os.environ["CAMERA_SHOT_PREFIX"] = str(options.prefix)
    desktop = [ROOT / "tests/desktop/run", "--wayland", "--accessibility", "--programs", options.build / "tests/desktop",
               "--camera", CAMERA]
    done = subprocess.run([*desktop, "--", sys.executable, __file__, "--measure", str(options.count)],
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, check=True)
    print(f"{'milliseconds':48} {'median':>8} {'most':>8}   of {options.count}")
    for what, times in json.loads(done.stdout.splitlines()[-1]).items():
        print(f"{what:48} {statistics.median(times):8.0f} {max(times):8.0f}")


if __name__ == "__main__":
    main()
