"""What can go wrong, and the exit status that tells it (the numbers are those of sysexits.h)."""

EX_UNAVAILABLE = 69
EX_SOFTWARE = 70
COMMAND_NOT_FOUND = 127  # as shells have it

# The Debian package that brings each program, for the message to whoever lacks it.
PACKAGES = {
    "Xvfb": "xvfb",
    "at-spi-bus-launcher": "at-spi2-core",
    "dbus-daemon": "dbus-daemon",
    "dunst": "dunst",
    "gdbus": "libglib2.0-bin",
    "notification-daemon": "notification-daemon",
    "openbox": "openbox",
    "Thunar": "thunar",
    "pipewire": "pipewire",
    "sway": "sway",
    "wireplumber": "wireplumber",
    "xfce4-notifyd": "xfce4-notifyd",
}


class DesktopError(Exception):
    """The desktop cannot do what was asked; the text says why, for people."""

    status = EX_SOFTWARE


class ProgramMissing(DesktopError):
    """A program that the desktop is made of is not installed."""

    status = EX_UNAVAILABLE

    def __init__(self, program):
        package = PACKAGES.get(program)
        hint = f"install the Debian package {package}" if package else "build the project first"
        super().__init__(f"{program} is missing: {hint}")


class CommandMissing(DesktopError):
    """There is no such command to run in the desktop."""

    status = COMMAND_NOT_FOUND


class Stopped(BaseException):
    """A signal asks the runner to end. Not an Exception, so that no handler of errors takes it for one."""

    def __init__(self, number):
        super().__init__(number)
        self.number = number
