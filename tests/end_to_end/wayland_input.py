"""A keyboard and a pointer for a Wayland compositor, by the protocols that virtual ones have there.

Speaks the wire format itself (https://wayland.freedesktop.org/docs/html/ch04.html): a few requests are all it takes.
"""

import os
import socket
import struct
import tempfile
import time

# Linux input event codes (linux/input-event-codes.h) of the keys that tests press.
_KEYS = {"Escape": 1, "q": 16, "w": 17, "Return": 28, "ctrl": 29, "comma": 51, "space": 57, "F1": 59, "Up": 103, "Down": 108}
_LEFT_BUTTON = 0x110
_CONTROL_MODIFIER = 4  # its bit in the "evdev" keymap

_KEYMAP = b"""xkb_keymap {
  xkb_keycodes { include "evdev+aliases(qwerty)" };
  xkb_types { include "complete" };
  xkb_compat { include "complete" };
  xkb_symbols { include "pc+us+inet(evdev)" };
};\0"""
_XKB_V1 = 1  # wl_keyboard.keymap_format

_DISPLAY, _REGISTRY = 1, 2  # the registry is the first object that is made


def _text(value):
    data = value.encode() + b"\0"
    return struct.pack("=I", len(data)) + data + b"\0" * (-len(data) % 4)


class WaylandInput:
    """Devices that stay plugged as long as this object lives."""

    def __init__(self):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(10)
        self._socket.connect(os.path.join(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"]))
        self._last = _DISPLAY
        self._received = b""
        self._globals = {}
        self._request(_DISPLAY, 1, struct.pack("=I", self._new()))  # wl_display.get_registry
        self._round_trip()
        seat = self._bind("wl_seat", 1)
        pointers = self._bind("zwlr_virtual_pointer_manager_v1", 1)
        keyboards = self._bind("zwp_virtual_keyboard_manager_v1", 1)
        self._pointer, self._keyboard = self._new(), self._new()
        self._request(pointers, 0, struct.pack("=II", seat, self._pointer))  # create_virtual_pointer
        self._request(keyboards, 0, struct.pack("=II", seat, self._keyboard))  # create_virtual_keyboard
        self._send_keymap()
        self._round_trip()

    def key(self, chord):
        """As in "ctrl+w"."""
        *held, last = chord.split("+")
        self._modifiers(_CONTROL_MODIFIER if held else 0)
        for name in (*held, last):
            self.press(name)
        for name in (last, *held):
            self.release(name)
        self._modifiers(0)
        self._round_trip()

    def press(self, name):
        """Until it is released, the program that has the keyboard repeats it."""
        self._key(name, 1)

    def release(self, name):
        self._key(name, 0)

    def _key(self, name, pressed):
        self._request(self._keyboard, 1, struct.pack("=III", self._now(), _KEYS[name], pressed))  # key
        self._round_trip()

    def click(self, x, y, width, height):
        """Presses and releases the left button at a place of an output of that size."""
        place = struct.pack("=IIIII", self._now(), x, y, width, height)
        self._request(self._pointer, 1, place)  # motion_absolute
        self._request(self._pointer, 4, b"")  # frame
        for pressed in (1, 0):
            self._request(self._pointer, 2, struct.pack("=III", self._now(), _LEFT_BUTTON, pressed))  # button
            self._request(self._pointer, 4, b"")
        self._round_trip()

    def _modifiers(self, depressed):
        self._request(self._keyboard, 2, struct.pack("=IIII", depressed, 0, 0, 0))

    def _send_keymap(self):
        with tempfile.TemporaryFile() as file:
            file.write(_KEYMAP)
            file.flush()
            arguments = struct.pack("=II", _XKB_V1, len(_KEYMAP))
            self._request(self._keyboard, 0, arguments, [file.fileno()])

    @staticmethod
    def _now():
        return int(1000 * time.monotonic()) & 0xFFFFFFFF

    def _new(self):
        self._last += 1
        return self._last

    def _bind(self, interface, version):
        name = self._globals[interface]
        made = self._new()
        self._request(_REGISTRY, 0, struct.pack("=I", name) + _text(interface) + struct.pack("=II", version, made))
        return made

    def _request(self, target, opcode, arguments, descriptors=()):
        message = struct.pack("=II", target, (8 + len(arguments)) << 16 | opcode) + arguments
        socket.send_fds(self._socket, [message], descriptors)

    def _round_trip(self):
        """Returns when the compositor has done all that it was asked for."""
        callback = self._new()
        self._request(_DISPLAY, 0, struct.pack("=I", callback))  # wl_display.sync
        while True:
            target, opcode, arguments = self._read_event()
            if target == _DISPLAY and opcode == 0:
                raise RuntimeError(f"the compositor refuses: {arguments[12:]!r}")
            if target == _REGISTRY and opcode == 0:
                name, length = struct.unpack_from("=II", arguments)
                self._globals[arguments[8:7 + length].decode()] = name
            if target == callback:
                return

    def _read_event(self):
        while True:
            if len(self._received) >= 8:
                target, word = struct.unpack_from("=II", self._received)
                size = word >> 16
                if len(self._received) >= size:
                    event, self._received = self._received[:size], self._received[size:]
                    return target, word & 0xFFFF, event[8:]
            part = self._socket.recv(65536)
            if not part:
                raise RuntimeError("the compositor has closed the connection")
            self._received += part
