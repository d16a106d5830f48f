"""The private display: X, with a window manager when wanted, or Wayland."""

import os
import shlex
from pathlib import Path

from .processes import Child, ReadyPipe, start_reporting


def start_display(surroundings, screen):
    """Starts an X server without a screen on a free display number and sets DISPLAY; `screen`: WIDTHxHEIGHT."""
    server, number = start_reporting("Xvfb",
                                     ["Xvfb", "-displayfd", "{ready}", "-screen", "0", screen + "x24", "-nolisten",
                                      "tcp", "-noreset"],
                                     surroundings.environment, surroundings.log("Xvfb"),
                                     "the display does not answer")
    surroundings.environment["DISPLAY"] = ":" + number
    return server


def start_window_manager(surroundings):
    """Starts openbox on the X display and returns when it manages windows."""
    with ReadyPipe(surroundings, "openbox-ready") as ready:
        manager = Child("openbox", ["openbox", "--startup", f"sh -c 'echo ready >{ready.path}'"],
                        surroundings.environment, surroundings.log("openbox"))
        manager.read_line(ready.descriptor, "the window manager does not answer")
    return manager


_SWAY_CONFIGURATION = """\
xwayland disable
output * resolution 1280x1024
default_floating_border none
for_window [app_id=".*"] floating enable
exec echo "$WAYLAND_DISPLAY" "$SWAYSOCK" >{ready}
"""

# sway refuses to be root, which tests in containers are. It becomes another user then, who may still write in the
# desktop's folders; a namespace, in which it could keep its files, is not to be had in every container.
_NOT_AS_ROOT = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all,+dac_override",
                "--ambient-caps=+dac_override", "--pdeathsig=TERM") if os.geteuid() == 0 else ()


def start_wayland(surroundings):
    """Starts sway without a screen and without input devices; sets WAYLAND_DISPLAY, and SWAYSOCK for swaymsg."""
    private = {"WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
    with ReadyPipe(surroundings, "sway-ready") as ready:
        configuration = surroundings.write(("sway.conf",), _SWAY_CONFIGURATION.format(ready=shlex.quote(ready.path)))
        command = [*_NOT_AS_ROOT, "sway", "--config", configuration]
        compositor = Child("sway", command, surroundings.environment | private, surroundings.log("sway"))
        line = compositor.read_line(ready.descriptor, "the compositor does not answer")
    display, control = line.split(" ", 1)
    if _NOT_AS_ROOT:  # its sockets are open to a root that has given up its rights, too
        for socket in (Path(surroundings.environment["XDG_RUNTIME_DIR"]) / display, Path(control)):
            socket.chmod(0o777)
    surroundings.environment.update(WAYLAND_DISPLAY=display, SWAYSOCK=control, GDK_BACKEND="wayland")
    return compositor
