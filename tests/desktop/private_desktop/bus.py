"""The private session bus."""

import os
from xml.sax.saxutils import escape

from .processes import WAIT_SECONDS, Child, start_reporting

_CONFIGURATION = """\
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>{address}</listen>
  <auth>EXTERNAL</auth>
{services}\
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


def start_bus(surroundings, service_folders):
    """Starts a bus that activates the services of `service_folders` and no others."""
    services = "".join(f"  <servicedir>{escape(os.path.abspath(folder))}</servicedir>\n" for folder in service_folders)
    address = surroundings.environment["DBUS_SESSION_BUS_ADDRESS"]
    configuration = surroundings.write(("bus.conf",),
                                       _CONFIGURATION.format(address=escape(address), services=services))
    bus, _ = start_reporting("dbus-daemon",
                             ["dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                              f"--config-file={configuration}", "--print-address={ready}"],
                             surroundings.environment, surroundings.log("dbus-daemon"),
                             "the session bus does not answer")
    return bus


def wait_for_bus_name(name, owner, surroundings):
    """Returns when the process `owner` has `name` on the session bus."""
    waiter = Child("gdbus", ["gdbus", "wait", "--session", "--timeout", str(WAIT_SECONDS), name],
                   surroundings.environment, surroundings.log("gdbus"))
    if not waiter.wait(WAIT_SECONDS + 1) or waiter.status() != 0:
        raise owner.failure(f"{name} does not appear on the bus")
