#!/usr/bin/python3
"""Tells what the windows of one program show, as the program tells assistive technologies.

    accessible_windows.py APPLICATION-ID

A request is a line on standard input, its answer a line of JSON on standard output:
    look        all that the program's windows hold: a list of objects, parents before children
    wait N      answers once the program has told of a change after the last look, or after N seconds

A program of its own, for the interpreter of the system: that is the one which has the D-Bus library.
"""

import json
import sys

from gi.repository import Gio, GLib

ACCESSIBLE = "org.a11y.atspi.Accessible"
COMPONENT = "org.a11y.atspi.Component"
PROPERTIES = "org.freedesktop.DBus.Properties"
REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
COORDINATES_IN_WINDOW = 1  # ATSPI_COORD_TYPE_WINDOW
# Who is gone answers at once; a main loop that draws a window for the first time may be busy for seconds.
CALL_MILLISECONDS = 20_000

# Numbers of AtspiStateType, those that tests ask for.
STATES = {4: "checked", 12: "focused", 24: "sensitive", 30: "visible"}

CALLS = {
    "name": (PROPERTIES, "Get", GLib.Variant("(ss)", (ACCESSIBLE, "Name"))),
    "description": (PROPERTIES, "Get", GLib.Variant("(ss)", (ACCESSIBLE, "Description"))),
    "role": (ACCESSIBLE, "GetRoleName", None),
    "states": (ACCESSIBLE, "GetState", None),
    "extents": (COMPONENT, "GetExtents", GLib.Variant("(u)", (COORDINATES_IN_WINDOW,))),
    "children": (ACCESSIBLE, "GetChildren", None),
}


def connect():
    session = Gio.bus_get_sync(Gio.BusType.SESSION)
    address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                Gio.DBusCallFlags.NONE, CALL_MILLISECONDS, None).unpack()[0]
    return Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)


class Watcher:
    """Looks at one program's windows."""

    def __init__(self, application):
        self.application = application
        self.bus = connect()
        self.changed = False
        for interface in ("org.a11y.atspi.Event.Object", "org.a11y.atspi.Event.Window"):
            self.bus.signal_subscribe(None, interface, None, None, None, Gio.DBusSignalFlags.NONE, self.note)

    def note(self, *_):
        self.changed = True

    def ask(self, questions):
        """Asks all at once; a list of answers, None for those that failed: what is asked about may be gone."""
        answers = [None] * len(questions)
        left = len(questions)

        def answered(bus, result, index):
            nonlocal left
            left -= 1
            try:
                answers[index] = bus.call_finish(result).unpack()
            except GLib.Error:
                pass

        for index, ((owner, path), (interface, method, arguments)) in enumerate(questions):
            self.bus.call(owner, path, interface, method, arguments, None, Gio.DBusCallFlags.NO_AUTO_START,
                          CALL_MILLISECONDS, None, answered, index)
        while left:
            GLib.MainContext.default().iteration(True)
        return answers

    def windows(self):
        programs = self.ask([(REGISTRY, CALLS["children"])])[0]
        programs = [tuple(program) for program in programs[0]] if programs else []
        names = self.ask([(program, CALLS["name"]) for program in programs])
        ours = [program for program, name in zip(programs, names) if name and name[0] == self.application]
        found = self.ask([(program, CALLS["children"]) for program in ours])
        return [(tuple(window), None) for windows in found if windows for window in windows[0]]

    def look(self):
        self.changed = False
        objects = []
        level = self.windows()
        while level:
            answers = self.ask([(reference, call) for reference, _ in level for call in CALLS.values()])
            deeper = []
            for place, (reference, window) in enumerate(level):
                told = dict(zip(CALLS, answers[place * len(CALLS):(place + 1) * len(CALLS)]))
                if told["states"] is None or told["name"] is None:
                    continue
                is_window = window is None
                window = told["name"][0] if is_window else window
                objects.append(self.describe(told, window) | {"is_window": is_window})
                deeper += [(tuple(child), window) for child in (told["children"] or [[]])[0]]
            level = deeper
        return objects

    @staticmethod
    def describe(told, window):
        low, high = told["states"][0]
        bits = low | high << 32
        return {
            "window": window,
            "name": told["name"][0],
            "description": (told["description"] or [""])[0],
            "role": (told["role"] or [""])[0],
            "states": [name for number, name in STATES.items() if bits >> number & 1],
            "extents": (told["extents"] or [[0, 0, 0, 0]])[0],
        }

    def wait(self, seconds):
        over = False

        def end():
            nonlocal over
            over = True
            return GLib.SOURCE_REMOVE

        source = GLib.timeout_add(int(1000 * seconds), end)
        while not over and not self.changed:
            GLib.MainContext.default().iteration(True)
        if not over:
            GLib.source_remove(source)
        return self.changed


def main():
    watcher = Watcher(sys.argv[1])
    for line in sys.stdin:
        verb, _, argument = line.strip().partition(" ")
        print(json.dumps(watcher.wait(float(argument)) if verb == "wait" else watcher.look()), flush=True)


main()
