#!/usr/bin/python3
"""The icon in a real tray, that of the Xfce panel, and the mouse on it. Runs in a private desktop with a display.

    tests/desktop/run --display --service-dir DIR -- tests/tray/real_tray.py TRAY_PROBE
"""

import os
import select
import subprocess
import sys
import time
from pathlib import Path

BOUND = 20.0  # seconds; only a fault takes as long
RETRY = 0.5  # seconds until a click is made again: the panel tells nobody when it has drawn what it was told of

PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="48"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
"""
ICON = ("11", "11")  # the middle of the first icon of the tray, at the panel's upper left


class Probe:
    """The program with the icon."""

    def __init__(self, program):
        self._process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self._text = b""

    def said(self, seconds):
        """The next line that it says, or None after that time."""
        deadline = time.monotonic() + seconds
        while b"\n" not in self._text:
            if not select.select([self._process.stdout], [], [], max(0.0, deadline - time.monotonic()))[0]:
                return None
            piece = os.read(self._process.stdout.fileno(), 4096)
            if not piece:
                return None
            self._text += piece
        line, self._text = self._text.split(b"\n", 1)
        return line.decode()

    def status(self):
        return self._process.wait(BOUND)


def mouse_and_keys(*commands):
    subprocess.run(["xdotool", *commands], stdin=subprocess.DEVNULL, check=True, timeout=BOUND)


def expect(answer, probe, *commands):
    """Uses the mouse and the keys on the icon until the probe says so.

    A click that comes before the panel has drawn its icon, or a key before it has opened its menu, is lost: then the
    probe says nothing, or what the entry above means, and everything is tried again.
    """
    deadline = time.monotonic() + BOUND
    heard = []
    while time.monotonic() < deadline:
        mouse_and_keys("key", "Escape", "mousemove", *ICON, *commands)
        heard.append(probe.said(RETRY))
        if heard[-1] == answer:
            return
    raise AssertionError(f"{heard} instead of {answer}")


def start_panel():
    settings = Path(os.environ["XDG_CONFIG_HOME"]) / "xfce4/xfconf/xfce-perchannel-xml"
    settings.mkdir(parents=True)
    (settings / "xfce4-panel.xml").write_text(PANEL, encoding="utf-8")
    log = open(Path(os.environ["CAMERA_DESKTOP_LOGS"]) / "xfce4-panel.log", "wb")
    subprocess.Popen(["xfce4-panel", "--disable-wm-check"], stdin=subprocess.DEVNULL, stdout=log, stderr=log)


def wait_for_tray():
    subprocess.run(["gdbus", "wait", "--session", "--timeout", str(int(BOUND)), "org.kde.StatusNotifierWatcher"],
                   stdin=subprocess.DEVNULL, check=True)


def choose(entry):
    """Opens the menu and chooses its entry, counted from 1."""
    return ["click", "3", *["key", "Down"] * entry, "key", "Return"]


def main():
    probe = Probe(sys.argv[1])  # before there is a tray
    start_panel()
    wait_for_tray()
    expect("click", probe, "click", "1")
    expect("take a photo", probe, *choose(1))
    expect("preferences", probe, *choose(2))
    expect("quit", probe, *choose(3))
    assert probe.status() == 0
    print("clicked in the tray of the Xfce panel: icon, take a photo, preferences, quit")


if __name__ == "__main__":
    main()
