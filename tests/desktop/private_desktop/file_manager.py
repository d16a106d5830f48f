"""The private desktop's file manager."""

import os
import shutil

from .failures import ProgramMissing

# As the bus starts it: the command line of each.
_COMMANDS = {"thunar": ("Thunar", "--gapplication-service")}
MANAGERS = tuple(_COMMANDS)

_SERVICE = """\
[D-BUS Service]
Name=org.freedesktop.FileManager1
Exec={command}
"""


def offer_file_manager(manager, surroundings):
    """Returns a folder of services from which the bus starts the file manager when it is first asked for something,
    as desktops do. Its windows need the display."""
    program, *arguments = _COMMANDS[manager]
    found = shutil.which(program)
    if found is None:
        raise ProgramMissing(program)
    service = surroundings.write(("services", "org.freedesktop.FileManager1.service"),
                                 _SERVICE.format(command=" ".join([found, *arguments])))
    return os.path.dirname(service)
