"""The private folder and the environment variables that keep a session to itself."""

import os
import re
import tempfile

# Nothing of these leaks in from the session in which the runner is started.
_FOREIGN = ("ADW_", "ALSA_", "AT_SPI_", "CAMERA_DESKTOP_", "DBUS_", "DESKTOP_", "GDK_", "GIO_", "GNOME_", "GSETTINGS_", "GSK_",
            "GTK", "G_", "ICEAUTHORITY", "KDE_", "LANGUAGE", "LC_", "NO_AT_BRIDGE", "NOTIFY_SOCKET", "PIPEWIRE_", "PULSE_",
            "QT_", "SESSION_MANAGER", "SPA_", "SWAYSOCK", "WAYLAND_", "WIREPLUMBER_", "WLR_", "XAUTHORITY", "XCURSOR_", "XDG_",
            "XKB_")
_FOREIGN_EXACTLY = ("DISPLAY", "LANG", "PYTHONHOME", "PYTHONPATH", "PYTHONWARNINGS")
_FOREIGN_CAMERA = re.compile(r"CAMERA_\d+_")

_USER_FOLDERS = {"DESKTOP": "Desktop", "DOCUMENTS": "Documents", "DOWNLOAD": "Downloads", "MUSIC": "Music",
                 "PICTURES": "Pictures", "PUBLICSHARE": "Public", "TEMPLATES": "Templates", "VIDEOS": "Videos"}

_PREFIX = "camera-desktop-"
_PLAIN = re.compile(r"[\w./-]+", re.ASCII)
_LONGEST_SOCKET_PATH = 107  # sun_path of sockaddr_un, without its final zero
_LONGEST_SOCKET = "sway-ipc.65534.4194304.sock"  # with a user's number and the largest of a process


def _suits(parent):
    """Whether the paths of sockets below it are short enough, and have nothing that means something in addresses, commands and
    lists of libraries."""
    longest = os.path.join(parent, f"{_PREFIX}XXXXXXXX", "run", _LONGEST_SOCKET)
    return len(longest) <= _LONGEST_SOCKET_PATH and _PLAIN.fullmatch(parent)


def make_folder():
    """A folder for a desktop: where temporary files belong, if that suits."""
    parent = tempfile.gettempdir()
    return tempfile.mkdtemp(prefix=_PREFIX, dir=parent if _suits(parent) else "/tmp")


class Surroundings:
    """Folders below `folder`, and `environment` for everything that runs in the desktop. The kernel's cameras are looked
    for in the folder `devices`; by default in one where there are none."""

    def __init__(self, folder, locale, devices=None):
        self.folder = folder
        self.home = self._make("home")
        self.config = self._make("config")
        self.logs = self._make("log")
        self.runtime = self._make("run")
        self._devices = devices or self._make("devices")
        self._make_user_folders()
        self.environment = self._private_environment(locale)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def log(self, name):
        return os.path.join(self.logs, name + ".log")

    def write(self, parts, text):
        path = self.path(*parts)
        os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
        with open(path, "w") as file:
            file.write(text)
        return path

    def _make(self, name):
        path = self.path(name)
        os.mkdir(path, 0o700)
        return path

    def _make_user_folders(self):
        lines = []
        for key, name in _USER_FOLDERS.items():
            os.mkdir(os.path.join(self.home, name))
            lines.append(f'XDG_{key}_DIR="$HOME/{name}"\n')
        self.write(("config", "user-dirs.dirs"), "".join(lines))

    def _private_environment(self, locale):
        given = os.environ.get("XDG_DATA_DIRS", "")
        data = [directory for directory in given.split(":") if directory]
        if "/usr/share" not in data:
            data.append("/usr/share")
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(_FOREIGN) and name not in _FOREIGN_EXACTLY
                and not _FOREIGN_CAMERA.match(name)}
        return kept | {
            "CAMERA_DESKTOP_DIR": self.folder,
            "CAMERA_SHOT_DEVICES": self._devices,
            # A path at which nothing listens: the machine's own bus is none of the session's business.
            "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=" + self.path("run", "no-system-bus"),
            "DBUS_SESSION_BUS_ADDRESS": "unix:path=" + self.path("run", "bus"),
            "GIO_USE_VFS": "local",
            "GSETTINGS_BACKEND": "memory",
            "GTK_A11Y": "none",
            "HOME": self.home,
            "LANG": locale,
            "LC_ALL": locale,
            "NO_AT_BRIDGE": "1",
            "XDG_CACHE_HOME": self._make("cache"),
            "XDG_CONFIG_HOME": self.config,
            "XDG_DATA_DIRS": ":".join(data),
            "XDG_DATA_HOME": self._make("data"),
            "XDG_RUNTIME_DIR": self.runtime,
            "XDG_STATE_HOME": self._make("state"),
        }
