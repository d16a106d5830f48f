"""The private desktop's notification service."""

import glob
import os
import shutil

from .bus import wait_for_bus_name
from .failures import ProgramMissing
from .processes import Child

SERVICES = ("dunst", "xfce4-notifyd", "notification-daemon")
_BUS_NAME = "org.freedesktop.Notifications"

# Two of the services live outside PATH, since only a bus is meant to start them.
_PRIVATE_PLACES = ("/usr/lib/*/xfce4/notifyd", "/usr/lib/notification-daemon", "/usr/libexec")


def _find(service):
    found = shutil.which(service)
    for place in _PRIVATE_PLACES:
        for path in glob.glob(os.path.join(place, service)):
            found = found or path
    if found is None:
        raise ProgramMissing(service)
    return found


def start_notifications(service, surroundings):
    """Starts a notification service and waits until it has its name on the bus. Needs the display."""
    child = Child(service, [_find(service)], surroundings.environment, surroundings.log(service))
    wait_for_bus_name(_BUS_NAME, child, surroundings)
    return child
