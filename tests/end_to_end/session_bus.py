"""The session bus of a private desktop as a test sees it: who is there, what is said, and waiting for it."""

import os
import time

import dbus
import dbus.bus
import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

from waiting import BOUND, FolderWatch

BUS = "org.freedesktop.DBus"
_BUS_PATH = "/org/freedesktop/DBus"
_RETRY_MILLISECONDS = 100

DBusGMainLoop(set_as_default=True)


def turn_until(condition, *folders, what="the awaited event", bound=BOUND, retry=False):
    """Turns the main loop, on which all connections live, until the condition is true; returns its answer.

    It is asked again whenever something happens on a connection or in one of the folders; with `retry` also from time
    to time, for what tells nobody.
    """
    deadline = time.monotonic() + bound
    with FolderWatch(*folders) as watch:
        sources = [GLib.unix_fd_add_full(GLib.PRIORITY_DEFAULT, watch.fileno(), GLib.IOCondition.IN, _clear, watch),
                   GLib.timeout_add(_RETRY_MILLISECONDS if retry else round(1000 * bound), lambda: True)]
        try:
            while not (answer := condition()):
                if time.monotonic() > deadline:
                    raise AssertionError(f"{what} did not come within {bound} s")
                GLib.MainContext.default().iteration(True)
            return answer
        finally:
            for source in sources:
                GLib.source_remove(source)


def turn_until_exit(process):
    """Turns the main loop until a subprocess ends, so that services on it answer meanwhile; returns its exit status."""
    if process.poll() is not None:
        return process.returncode
    descriptor = os.pidfd_open(process.pid)
    source = GLib.unix_fd_add_full(GLib.PRIORITY_DEFAULT, descriptor, GLib.IOCondition.IN, lambda *_: True)
    try:
        turn_until(lambda: process.poll() is not None, what="the end of the process")
    finally:
        GLib.source_remove(source)
        os.close(descriptor)
    return process.returncode


def _clear(_descriptor, _condition, watch):
    watch.wait(0)
    return True


def connect():
    """A connection of its own."""
    return dbus.bus.BusConnection(os.environ["DBUS_SESSION_BUS_ADDRESS"])


class Client:
    """Calls others on the bus."""

    def __init__(self):
        self.connection = connect()

    def call(self, name, path, interface, method, signature="", arguments=(), seconds=BOUND):
        """The answer, waiting for it while the main loop turns; raises what the other side answers instead."""
        outcome = []
        self.connection.call_async(name, path, interface, method, signature, arguments,
                                   lambda *values: outcome.append(values), outcome.append, timeout=seconds)
        answer = turn_until(lambda: outcome, what=f"the answer to {method}", bound=seconds + 1)[0]
        if isinstance(answer, dbus.DBusException):
            raise answer
        return answer[0] if len(answer) == 1 else answer

    def ask_bus(self, method, signature="", *arguments):
        return self.connection.call_blocking(BUS, _BUS_PATH, BUS, method, signature, arguments)

    def has_owner(self, name):
        return bool(self.ask_bus("NameHasOwner", "s", name))

    def process_of(self, name):
        return int(self.ask_bus("GetConnectionUnixProcessID", "s", name))

    def wait_for_owner(self, name):
        turn_until(lambda: self.has_owner(name), what=f"{name} on the bus", retry=True)

    def wait_until_unowned(self, name):
        turn_until(lambda: not self.has_owner(name), what=f"the end of {name}", retry=True)


class Message:
    """One message that went over the bus."""

    def __init__(self, message):
        self.when = time.time()
        self.type = message.get_type()
        self.sender = message.get_sender()
        self.destination = message.get_destination()
        self.interface = message.get_interface()
        self.member = message.get_member()
        self.serial = message.get_serial()
        self.replies_to = message.get_reply_serial()
        self.arguments = message.get_args_list()

    def __repr__(self):
        return f"{self.sender} -> {self.destination}: {self.interface}.{self.member}{tuple(self.arguments)}"


class Monitor:
    """Everything that is said on the bus from now on, in order."""

    def __init__(self):
        self.messages = []
        self._connection = connect()
        self._connection.add_message_filter(self._note)
        self._connection.call_blocking(BUS, _BUS_PATH, BUS + ".Monitoring", "BecomeMonitor", "asu", ([], 0))

    def _note(self, _connection, message):
        self.messages.append(Message(message))
        # Handled: the library would answer calls that it knows nothing of, and a monitor must say nothing.
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def _said(self):
        """All messages up to now."""
        while GLib.MainContext.default().pending():
            GLib.MainContext.default().iteration(False)
        return self.messages

    def calls(self, member):
        return [message for message in self._said()
                if message.type == dbus.lowlevel.MESSAGE_TYPE_METHOD_CALL and message.member == member]

    def signals(self, member):
        return [message for message in self._said()
                if message.type == dbus.lowlevel.MESSAGE_TYPE_SIGNAL and message.member == member]

    def answer_to(self, call):
        """The answer's arguments, or None while there is none."""
        for message in self._said():
            if (message.type == dbus.lowlevel.MESSAGE_TYPE_METHOD_RETURN and message.destination == call.sender
                    and message.replies_to == call.serial):
                return message.arguments
        return None

    def wait_for_calls(self, member, number):
        """That many calls, once they have been made."""
        return turn_until(lambda: len(self.calls(member)) >= number and self.calls(member),
                          what=f"call {number} of {member}")
