"""The private desktop as a whole."""

import os
import selectors
import signal

from .accessibility import announce_accessibility, start_accessibility
from .bus import start_bus
from .cameras import Camera
from .control_server import ControlServer
from .display import start_display, start_wayland, start_window_manager
from .failures import CommandMissing, DesktopError, ProgramMissing
from .file_manager import offer_file_manager
from .notifications import start_notifications
from .pipewire import PipeWire
from .processes import Child, ChildWatch, end_descendants
from .surroundings import Surroundings


class Desktop:
    """Brings its parts up in order and down in reverse. `options` are those of the command line."""

    def __init__(self, folder, options):
        self._options = options
        self._camera_program = self._program("virtual_camera")
        session_probe = self._program("session_probe")
        self._surroundings = Surroundings(folder, options.locale, "/dev" if options.kernel_cameras else None)
        self._surroundings.environment.update(options.env)
        self._pipewire = PipeWire(self._surroundings, session_probe, options.kernel_cameras)
        self._cameras = []
        self._display = None
        self._bus = None
        self._notifications = None
        self._command = None

    def _program(self, name):
        path = os.path.join(self._options.programs or "", name)
        if not os.access(path, os.X_OK):
            raise ProgramMissing(name)
        return os.path.abspath(path)

    def start(self):
        """Returns when everything answers."""
        if self._options.display:
            self._display = start_display(self._surroundings, self._options.screen)
        if self._options.window_manager:
            start_window_manager(self._surroundings)
        if self._options.wayland:
            start_wayland(self._surroundings)
        if self._options.accessibility:
            announce_accessibility(self._surroundings)
        service_folders = list(self._options.service_dir)
        if self._options.file_manager != "none":
            service_folders.append(offer_file_manager(self._options.file_manager, self._surroundings))
        self._bus = start_bus(self._surroundings, service_folders)
        if self._options.accessibility:
            start_accessibility(self._surroundings)
        self._pipewire.start()
        for description in self._options.camera:
            self._add_camera(description)
        if self._options.notifications != "none":
            self._notifications = start_notifications(self._options.notifications, self._surroundings)

    def run(self, command):
        """Runs `command` to its end, serving requests meanwhile; its exit status as a shell gives it."""
        with ControlServer(self._surroundings.path("run", "control"), self._answer) as server, \
                ChildWatch() as watch, selectors.DefaultSelector() as selector:
            server.register(selector)
            selector.register(watch.descriptor, selectors.EVENT_READ, watch.clear)
            self._command = self._start_command(command)
            while (status := self._command.status()) is None:
                for key, _ in selector.select():
                    key.data()
        return status if status >= 0 else 128 - status

    def tear_down(self):
        """Ends what was started, the last first, and whatever that has started."""
        if self._command is not None:
            self._command.end()
        services = [camera.child for camera in self._cameras]
        services += [self._pipewire.daemon, self._pipewire.session_manager, self._bus, self._display]
        end_descendants(spared={child.pid for child in services if child is not None})
        for camera in reversed(self._cameras):
            camera.child.end()
        self._pipewire.tear_down()
        for service in (self._bus, self._display):
            if service is not None:
                service.end()

    def _start_command(self, command):
        try:
            return Child("command", command, self._command_environment(), death_signal=signal.SIGKILL)
        except ProgramMissing as error:
            raise CommandMissing(f"{command[0]}: no such command") from error

    def _command_environment(self):
        variables = {
            "CAMERA_DESKTOP_CONTROL": self._surroundings.path("run", "control"),
            "CAMERA_DESKTOP_LOGS": self._surroundings.logs,
            "CAMERA_DESKTOP_PROGRAMS": os.path.dirname(self._camera_program),
            "DBUS_DAEMON_PID": str(self._bus.pid),
            "PIPEWIRE_PID": str(self._pipewire.daemon.pid),
            "WIREPLUMBER_PID": str(self._pipewire.session_manager.pid),
        }
        if self._display is not None:
            variables["XVFB_PID"] = str(self._display.pid)
        if self._notifications is not None:
            variables["NOTIFICATIONS_PID"] = str(self._notifications.pid)
        for camera in self._cameras:
            variables |= camera.variables()
        return self._surroundings.environment | variables

    def _add_camera(self, description):
        camera = Camera(len(self._cameras) + 1, description, self._camera_program, self._surroundings)
        self._cameras.append(camera)
        return " ".join(f"{name}={value}" for name, value in camera.variables().items())

    def _answer(self, request):
        verb, _, rest = request.partition(" ")
        if verb == "add-camera":
            return self._add_camera(rest)
        if verb == "pipewire" and rest in ("kill", "stop", "start", "restart"):
            return self._control_pipewire(rest)
        raise DesktopError(f"no such request: {request}")

    def _control_pipewire(self, action):
        if action == "kill":
            self._pipewire.kill()
        if action in ("stop", "restart"):
            self._pipewire.stop()
        if action in ("kill", "stop"):
            return ""
        self._pipewire.start()
        for camera in self._cameras:
            camera.replug_if_lost()
        return f"PIPEWIRE_PID={self._pipewire.daemon.pid} WIREPLUMBER_PID={self._pipewire.session_manager.pid}"
