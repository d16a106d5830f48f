"""The private PipeWire daemon and its session manager."""

import os
import signal
import socket
import time

from .failures import DesktopError
from .processes import WAIT_SECONDS, Child

# What a camera and its user need, without the helpers that talk to the machine: real-time scheduling, portals.
_DAEMON = """\
context.properties = {
  core.daemon = true
  core.name = pipewire-0
  support.dbus = false
}
context.spa-libs = {
  support.* = support/libspa-support
  api.v4l2.* = v4l2/libspa-v4l2
}
context.modules = [
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-metadata }
  { name = libpipewire-module-spa-node-factory }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-client-device }
  { name = libpipewire-module-access }
  { name = libpipewire-module-adapter }
  { name = libpipewire-module-link-factory }
  { name = libpipewire-module-session-manager }
]
context.objects = [
  { factory = spa-node-factory
    args = {
      factory.name = support.node.driver
      node.name = Dummy-Driver
      node.group = pipewire.dummy
      priority.driver = 20000
    }
  }
]
"""

# The session manager keeps its own policy; only what looks for real hardware or seats is off.
_LUA_MAIN = """\
alsa_monitor.enabled = false
v4l2_monitor.enabled = {v4l2}
libcamera_monitor.enabled = false
default_access.properties["enable-flatpak-portal"] = false
"""
_LUA_BLUETOOTH = """\
bluez_monitor.enabled = false
if bluez_midi_monitor then bluez_midi_monitor.enabled = false end
"""
_PROFILE = """\
wireplumber.profiles = {{
  main = {{
    hardware.audio = disabled
    hardware.bluetooth = disabled
    hardware.video-capture = {video_capture}
    monitor.libcamera = disabled
    support.logind = disabled
    support.reserve-device = disabled
    support.portal-permissionstore = disabled
  }}
}}
"""

_POLL_SECONDS = 0.002


class PipeWire:
    """Starts, kills and restarts the daemon on its socket, its session manager following."""

    def __init__(self, surroundings, session_probe, kernel_cameras=False):
        self._surroundings = surroundings
        self._session_probe = session_probe
        self._configuration = surroundings.write(("config", "pipewire", "private-desktop.conf"), _DAEMON)
        # WirePlumber up to 0.4 reads the Lua files, from 0.5 on the other.
        wireplumber = ("config", "wireplumber")
        surroundings.write((*wireplumber, "main.lua.d", "51-no-hardware.lua"),
                           _LUA_MAIN.format(v4l2="true" if kernel_cameras else "false"))
        surroundings.write((*wireplumber, "bluetooth.lua.d", "51-no-hardware.lua"), _LUA_BLUETOOTH)
        surroundings.write((*wireplumber, "wireplumber.conf.d", "51-no-hardware.conf"),
                           _PROFILE.format(video_capture="required" if kernel_cameras else "disabled"))
        self.daemon = None
        self.session_manager = None

    def start(self):
        """Returns when a client that connects finds a daemon and a session manager at work."""
        if self.daemon is not None:
            raise DesktopError("PipeWire runs already")
        self.daemon = self._child("pipewire", "-c", self._configuration)
        self._wait_for_socket()
        self.session_manager = self._child("wireplumber")
        probe = self._child(self._session_probe, "session-manager")
        if not probe.wait(WAIT_SECONDS) or probe.status() != 0:
            raise self.session_manager.failure("the session manager is not ready")

    def kill(self):
        """Ends the daemon as a crash does; returns when the session manager has followed it."""
        self._end(signal.SIGKILL)

    def stop(self):
        """Ends the daemon in good order; returns when the session manager has followed it."""
        self._end(signal.SIGTERM)

    def _end(self, number):
        if self.daemon is None:
            raise DesktopError("PipeWire does not run")
        self.daemon.end(number)
        if not self.session_manager.wait(WAIT_SECONDS):
            self.session_manager.end()
        self.daemon = self.session_manager = None

    def tear_down(self):
        for child in (self.session_manager, self.daemon):
            if child is not None:
                child.end()
        self.daemon = self.session_manager = None

    def _child(self, program, *arguments):
        name = os.path.basename(program)
        return Child(name, [program, *arguments], self._surroundings.environment, self._surroundings.log(name))

    def _wait_for_socket(self):
        # The daemon reports nothing when its socket listens: asking until it answers is the only way to know.
        path = self._surroundings.path("run", "pipewire-0")
        deadline = time.monotonic() + WAIT_SECONDS
        while time.monotonic() < deadline:
            with socket.socket(socket.AF_UNIX) as client:
                try:
                    client.connect(path)
                    return
                except (FileNotFoundError, ConnectionRefusedError):
                    pass
            if self.daemon.status() is not None:
                break
            time.sleep(_POLL_SECONDS)
        raise self.daemon.failure("the PipeWire daemon does not answer")
