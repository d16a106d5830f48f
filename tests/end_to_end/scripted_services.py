"""A notification service and a file manager that do as the test says, without a display.

    scripted_services.py START FILE

The file manager as a program that takes so many seconds to start, or until somebody opens the named pipe to write; it writes
what it is asked to show to the file.
"""

import sys
import time

import dbus
import dbus.lowlevel
import dbus.service

from bubbles import NOTIFICATIONS
from session_bus import connect, turn_until

FILE_MANAGER = "org.freedesktop.FileManager1"
SHELL = "org.gtk.Notifications"
PORTAL = "org.freedesktop.portal.Desktop"
USER_MANAGER = "org.freedesktop.systemd1"


class ScriptedDaemon(dbus.service.Object):
    """A notification service. Its bubbles are only a list; it works while the main loop turns."""

    def __init__(self):
        self._bus_connection = connect()
        self._owned_name = dbus.service.BusName(NOTIFICATIONS, self._bus_connection, do_not_queue=True)
        super().__init__(self._bus_connection, "/org/freedesktop/Notifications")
        self.shown = {}  # texts by identifier
        self.order = []  # identifiers in the order of the calls
        self.texts = []  # likewise
        self.asked = 0  # how many notifications it has been asked for, whatever became of them
        self.silent = False  # calls get no answer
        self.dies_of_the_next = False  # is gone from the bus instead of answering

    # The names are the interface's. pylint: disable=invalid-name
    @dbus.service.method(NOTIFICATIONS, in_signature="", out_signature="as")
    def GetCapabilities(self):
        return ["body", "actions"]

    @dbus.service.method(NOTIFICATIONS, in_signature="susssasa{sv}i", out_signature="u",
                         async_callbacks=("answer", "_refuse"))
    def Notify(self, _application, replaces, _icon, title, body, _actions, _hints, _lifetime, answer, _refuse):
        self.asked += 1
        if self.dies_of_the_next:
            self.leave()
            return
        if self.silent:
            return
        identifier = int(replaces) or len(self.order) + 1
        self.order.append(identifier)
        self.texts.append(f"{title}\n{body}")
        self.shown[identifier] = self.texts[-1]
        answer(identifier)

    @dbus.service.method(NOTIFICATIONS, in_signature="u", out_signature="")
    def CloseNotification(self, identifier):
        if self.shown.pop(int(identifier), None):
            self.NotificationClosed(identifier, 3)

    @dbus.service.signal(NOTIFICATIONS, signature="us")
    def ActionInvoked(self, identifier, key):
        pass

    @dbus.service.signal(NOTIFICATIONS, signature="uu")
    def NotificationClosed(self, identifier, reason):
        pass

    def click(self, identifier, key="default"):
        self.ActionInvoked(identifier, key)

    def leave(self):
        """Its process ends, and with it all of its bubbles."""
        self._bus_connection.close()

    def close(self, identifier):
        """The user puts the bubble away."""
        del self.shown[identifier]
        self.NotificationClosed(identifier, 2)


class SilentService:
    """Has a name on the bus and never answers, as a service whose helper hangs."""

    def __init__(self, name):
        self._connection = connect()
        # Handled: the library would answer calls that it knows nothing of.
        self._connection.add_message_filter(lambda *_: dbus.lowlevel.HANDLER_RESULT_HANDLED)
        self._owned_name = dbus.service.BusName(name, self._connection, do_not_queue=True)

    def close(self):
        self._connection.close()


class ScriptedShell(dbus.service.Object):
    """A desktop's shell that keeps notifications of programs that may have gone."""

    def __init__(self):
        connection = connect()
        self._owned_name = dbus.service.BusName(SHELL, connection, do_not_queue=True)
        super().__init__(connection, "/org/gtk/Notifications")
        self.kept = {}  # dictionaries by the program's identifier and the notification's

    @dbus.service.method(SHELL, in_signature="ssa{sv}", out_signature="")
    def AddNotification(self, application, identifier, notification):  # pylint: disable=invalid-name
        self.kept[(str(application), str(identifier))] = notification


class ScriptedUserManager(dbus.service.Object):
    """systemd's manager of the session, as far as its environment goes."""

    def __init__(self, environment):
        connection = connect()
        self._owned_name = dbus.service.BusName(USER_MANAGER, connection, do_not_queue=True)
        super().__init__(connection, "/org/freedesktop/systemd1")
        self._environment = environment  # texts such as "DISPLAY=:0"

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss", out_signature="v")
    def Get(self, _interface, name):  # pylint: disable=invalid-name
        return dbus.Array(self._environment if name == "Environment" else [], signature="s")


class ScriptedFileManager(dbus.service.Object):
    """Notes what it is asked to show."""

    def __init__(self):
        connection = connect()
        self._owned_name = dbus.service.BusName(FILE_MANAGER, connection, do_not_queue=True)
        super().__init__(connection, "/org/freedesktop/FileManager1")
        self.shown = []  # addresses of files

    @dbus.service.method(FILE_MANAGER, in_signature="ass", out_signature="")
    def ShowItems(self, files, _token):  # pylint: disable=invalid-name
        self.shown += map(str, files)


def run_file_manager(start, path):
    if start.isdigit():
        time.sleep(int(start))  # as a program from a cold disk does
    else:
        with open(start, "rb"):
            pass
    file_manager = ScriptedFileManager()
    turn_until(lambda: file_manager.shown, what="a file to show")
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(file_manager.shown))


if __name__ == "__main__":
    run_file_manager(*sys.argv[1:])
