"""The private accessibility bus, on which programs tell what is in their windows."""

import os

from .bus import wait_for_bus_name
from .failures import ProgramMissing
from .processes import Child

_BUS_NAME = "org.a11y.Bus"

# Outside PATH, since only a session bus is meant to start it.
_LAUNCHER = "/usr/libexec/at-spi-bus-launcher"


def announce_accessibility(surroundings):
    """Tells programs to use the accessibility bus: also those which the session bus starts, so before that one."""
    surroundings.environment["GTK_A11Y"] = "atspi"


def start_accessibility(surroundings):
    """Starts the accessibility bus and waits until the session bus knows it."""
    name = os.path.basename(_LAUNCHER)
    if not os.path.exists(_LAUNCHER):
        raise ProgramMissing(name)
    launcher = Child(name, [_LAUNCHER, "--launch-immediately"], surroundings.environment, surroundings.log(name))
    wait_for_bus_name(_BUS_NAME, launcher, surroundings)
    return launcher
