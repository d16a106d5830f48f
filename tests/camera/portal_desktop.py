"""The desktop's real portal frontend on the private desktop's bus, with a backend of the tests' own behind it."""

import os
import subprocess
from pathlib import Path

import dbus
import dbus.service

from session_bus import connect, turn_until
from tool import control

_ACCESS = "org.freedesktop.impl.portal.Access"
_REQUEST = "org.freedesktop.impl.portal.Request"
_BACKEND = "org.freedesktop.impl.portal.desktop.tests"
_FRONTEND = "org.freedesktop.portal.Desktop"
_STORE = "org.freedesktop.impl.portal.PermissionStore"

# The private desktop's PipeWire knows no portals. With these it marks the portal's connections, and its session manager
# opens cameras to them by the portal's store. WirePlumber up to 0.4 reads the Lua file, from 0.5 on the other.
_MODULE_BEFORE = "{ name = libpipewire-module-access }"
_PORTAL_MODULE = "{ name = libpipewire-module-portal }"
_LUA = 'default_access.properties["enable-flatpak-portal"] = true\n'
_PROFILE = """\
wireplumber.profiles = {
  main = { support.portal-permissionstore = required, script.client.access-portal = required }
}
"""

# Debian's place, and that of systems without a libexec folder.
_PROGRAM_FOLDERS = ("/usr/libexec", "/usr/lib")


def _program(name):
    for folder in _PROGRAM_FOLDERS:
        if os.access(f"{folder}/{name}", os.X_OK):
            return f"{folder}/{name}"
    raise FileNotFoundError(f"{name}: the package xdg-desktop-portal is missing")


class AccessDialogs(dbus.service.Object):
    """Plays the dialogs in which a desktop asks its user. They stay open until the test answers."""

    def __init__(self):
        connection = connect()
        connection.request_name(_BACKEND)
        super().__init__(connection, "/org/freedesktop/portal/desktop")
        self.shown = []  # the titles of all dialogs
        self._open = []

    @dbus.service.method(_ACCESS, in_signature="osssssa{sv}", out_signature="ua{sv}",
                         async_callbacks=("reply", "fail"))
    def AccessDialog(self, handle, app_id, parent, title, subtitle, body, options, reply, fail):
        self.shown.append(str(title))
        self._open.append(reply)

    def wait_for_dialog(self):
        turn_until(lambda: self._open, what="the question to the user")

    def answer(self, yes):
        """The user's answer to the one dialog that is open."""
        self.wait_for_dialog()
        reply = self._open.pop()
        assert not self._open, "more than one dialog is open"
        reply(dbus.UInt32(0 if yes else 1), dbus.Dictionary({}, signature="sv"))


class PortalDesktop:
    """Starts the portal with what it needs. The services end with the private desktop."""

    def __init__(self, client):
        self._client = client
        self.dialogs = AccessDialogs()
        self.frontend = None
        folder = Path(os.environ["CAMERA_DESKTOP_DIR"]) / "portals"
        folder.mkdir()
        (folder / "tests.portal").write_text(
            f"[portal]\nDBusName={_BACKEND}\nInterfaces={_ACCESS}\nUseIn=tests\n", encoding="utf-8")
        self._environment = {**os.environ, "XDG_DESKTOP_PORTAL_DIR": os.fspath(folder), "XDG_CURRENT_DESKTOP": "tests"}
        # The portal's backends are called by their name, and it remembers answers in its store.
        self._start("xdg-permission-store", _STORE)

        self._let_pipewire_know_portals()

    def start(self):
        self.frontend = self._start("xdg-desktop-portal", _FRONTEND)

    def kill(self):
        """As a crash does."""
        self.frontend.kill()
        self.frontend.wait()

    def _let_pipewire_know_portals(self):
        folder = Path(os.environ["XDG_CONFIG_HOME"])
        daemon = folder / "pipewire/private-desktop.conf"
        text = daemon.read_text(encoding="utf-8")
        assert _MODULE_BEFORE in text and "support.dbus = false" in text, text
        text = text.replace(_MODULE_BEFORE, f"{_PORTAL_MODULE}\n  {_MODULE_BEFORE}")
        daemon.write_text(text.replace("support.dbus = false", "support.dbus = true"), encoding="utf-8")
        (folder / "wireplumber/main.lua.d/52-portal.lua").write_text(_LUA, encoding="utf-8")
        (folder / "wireplumber/wireplumber.conf.d/52-portal.conf").write_text(_PROFILE, encoding="utf-8")
        control("pipewire", "restart")

    def _start(self, program, name):
        with open(Path(os.environ["CAMERA_DESKTOP_LOGS"]) / f"{program}.log", "ab") as log:
            process = subprocess.Popen([_program(program)], env=self._environment, stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=log)
        self._client.wait_for_owner(name)
        return process
