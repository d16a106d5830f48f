"""What task lists and pagers ask of an X window manager, by the messages of the Extended Window Manager Hints."""

import ctypes

_X = ctypes.CDLL("libX11.so.6")
_X.XOpenDisplay.restype = ctypes.c_void_p
_X.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
_X.XDefaultRootWindow.restype = ctypes.c_ulong
_X.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
_X.XInternAtom.restype = ctypes.c_ulong
_X.XSendEvent.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_long, ctypes.c_void_p]
_X.XCloseDisplay.argtypes = [ctypes.c_void_p]

_CLIENT_MESSAGE = 33
_SUBSTRUCTURE_MASKS = 1 << 19 | 1 << 20  # whom such messages are for
_ON_BEHALF_OF_THE_USER = 2


class _ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int), ("display", ctypes.c_void_p),
                ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5), ("rest_of_the_union", ctypes.c_long * 12)]


def ask_to_close(window):
    """`window` is an X window's number."""
    display = _X.XOpenDisplay(None)
    message = _ClientMessage(type=_CLIENT_MESSAGE, window=window, format=32,
                             message_type=_X.XInternAtom(display, b"_NET_CLOSE_WINDOW", False))
    message.data[1] = _ON_BEHALF_OF_THE_USER
    _X.XSendEvent(display, _X.XDefaultRootWindow(display), False, _SUBSTRUCTURE_MASKS, ctypes.byref(message))
    _X.XCloseDisplay(display)  # which sends what is waiting
