"""The installed program in a private desktop, and what it leaves behind."""

import contextlib
import functools
import json
import os
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

from waiting import BOUND, wait_for_exit, wait_until

ROOT = Path(__file__).resolve().parents[2]
TOOL_IDENTIFIER = "a5f597ea-d3f3-4347-bbe6-344e240acc7e"
HD = "name=desk,title=Desk camera,modes=MJPG:1280x720@30"
# Root may open and write everything; without these rights even root is refused what a file's mode refuses.
WITHOUT_OVERRIDE = ("setpriv", "--inh-caps=-all", "--bounding-set=-dac_override,-dac_read_search") \
    if os.geteuid() == 0 else ()


def installation():
    """The prefix of the installation under test."""
    return Path(os.environ["CAMERA_SHOT_PREFIX"])


def in_desktop(*cameras, options=()):
    """Runs a test method in a private desktop of its own with these cameras; fails with all that was said there."""

    def decorate(method):
        @functools.wraps(method)
        def test(self):
            if "CAMERA_DESKTOP_DIR" in os.environ:
                return method(self)
            plugged = [part for camera in cameras for part in ("--camera", camera)]
            done = subprocess.run(
                [ROOT / "tests/desktop/run", *plugged, *options, "--", sys.executable, sys.argv[0],
                 f"{type(self).__name__}.{method.__name__}"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
            )
            if done.returncode != 0:
                self.fail(done.stdout)
            print(done.stdout, end="")
            return None

        return test

    return decorate


def control(*words):
    """Asks the private desktop for something; returns its answer once it has taken effect."""
    return subprocess.run([ROOT / "tests/desktop/control", *words], check=True, capture_output=True, text=True).stdout


def let_pictures_pass(count):
    """Returns when the first camera, which somebody uses, has sent so many more."""
    sent = int(dict(word.split("=") for word in control("camera", "1", "state").split())["run-frames"])
    control("camera", "1", "wait-frames", str(sent + count))


@contextlib.contextmanager
def stalled_camera(number=1):
    """Within the block that camera sends no picture, so that what is done there comes before a shot's picture: five seconds
    long, then the shot fails."""
    control("camera", str(number), "stall")
    yield
    control("camera", str(number), "resume")


class CameraLine:
    """A camera's control socket: asked without the delay of a new process, and without the session manager's help."""

    def __init__(self, number):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(BOUND)
        self._socket.connect(os.environ[f"CAMERA_{number}_CONTROL"])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()

    def ask(self, request):
        """The answer, once the request has taken effect."""
        self._socket.sendall(request.encode() + b"\n")
        answer = b""
        while not answer.endswith(b"\n"):
            part = self._socket.recv(4096)
            if not part:
                raise AssertionError(f"no answer to {request}")
            answer += part
        return answer.decode()


def apart(folder):
    """Surroundings below a new folder in which a run is alone with the session's cameras, so that no other run is taken for
    an earlier start of the tool."""
    for part in ("config", "state", "run", "home"):
        (folder / part).mkdir(parents=True)
    return {"HOME": str(folder / "home"), "XDG_CONFIG_HOME": str(folder / "config"), "XDG_STATE_HOME": str(folder / "state"),
            "XDG_RUNTIME_DIR": str(folder / "run"), "PIPEWIRE_RUNTIME_DIR": os.environ["XDG_RUNTIME_DIR"],
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={folder}/no-bus"}


class Tool:
    """One start of the program, with a folder for its photos."""

    def __init__(self, *, show_preview=False, photos=None, settings=None, environment=None, command=()):
        self.environment = {**os.environ, **(environment or {})}
        self.config = Path(self.environment["XDG_CONFIG_HOME"]) / "quillo"
        self.state = Path(self.environment["XDG_STATE_HOME"]) / "quillo"
        self.config.mkdir(parents=True, exist_ok=True)
        self.state.mkdir(parents=True, exist_ok=True)
        self.photo_folder = Path(photos) if photos else Path(self.environment["HOME"]) / "shots"
        if not photos:
            self.photo_folder.mkdir(exist_ok=True)
        if settings is None:
            settings = f"[Defaults]\nShowPreview={str(show_preview).lower()}\n"
        (self.config / "camera-shot.ini").write_text(settings, encoding="utf-8")
        self.write_location(self.photo_folder)
        self.log_path = self.state / "log.txt"
        self.command = list(command)
        self.process = None
        self._earlier_failures = 0
        self._earlier_ends = 0

    def write_location(self, folder):
        # As key files want it: a backslash stands for itself when doubled.
        escaped = os.fspath(folder).replace("\\", "\\\\")
        (self.config / "locations.ini").write_text(f"[Locations]\n{TOOL_IDENTIFIER}={escaped}\n", encoding="utf-8")

    def start(self):
        environment = {name: value for name, value in self.environment.items() if value is not None}
        with open(self.log_path, "ab") as log:
            self._earlier_failures = self._failures()
            self._earlier_ends = self._ends()
            self.process = subprocess.Popen(
                [*self.command, installation() / "bin/quillo-camera-shot"], env=environment, stdin=subprocess.DEVNULL,
                stdout=log, stderr=log, start_new_session=True,
            )
        return self

    def run(self):
        """A whole run; returns the exit status."""
        self.start()
        return self.wait()

    def wait(self):
        return wait_for_exit(self.process)

    def stop(self):
        """Asks the program to end, as a session does; returns the exit status."""
        self.process.send_signal(signal.SIGTERM)
        return self.wait()

    def ends_by_itself(self):
        """Whether the run that was started last, and has launched, ends when its shot is over; one whose shot has failed stays
        up, and is asked to end."""
        wait_until(lambda: self.names()[-1] == "Quit" or self.has_failed(), self.state, what="the end of the shot")
        has_ended = self.names()[-1] == "Quit"
        if not has_ended:
            self.process.terminate()
        self.wait()
        return has_ended

    def wait_for_failure(self):
        """Returns when a shot of the run that was started last has failed."""
        wait_until(lambda: self.has_failed() or self._ends() > self._earlier_ends, self.state,
                   what="the failed shot's line in the log")
        if not self.has_failed():
            raise AssertionError(f"the run has ended without a failed shot: {self.names()}\n{self.log()}")

    def has_failed(self):
        """Whether a shot of the run that was started last has."""
        return self._failures() > self._earlier_failures

    def _failures(self):
        return self.log().count("Error while capture")

    def _ends(self):
        return self.names().count("Quit")

    def end(self):
        """Ends a run that hangs; nothing when it is over."""
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def events(self):
        with contextlib.suppress(FileNotFoundError, IsADirectoryError):
            lines = (self.state / "usage-events.jsonl").read_text(encoding="utf-8").splitlines()
            return [json.loads(line) for line in lines]
        return []

    def names(self):
        return [event["event"] for event in self.events()]

    def wait_for_event(self, name):
        self.wait_for_count(name, 1)

    def wait_for_count(self, name, count):
        """Returns when there are so many events of that name."""
        wait_until(lambda: self.names().count(name) >= count, self.state, what=f'{count} times the event "{name}"')

    def wait_for_names(self, names):
        """The events are told after the photo is there."""
        wait_until(lambda: self.names() == names, self.state, what=f"the events {names}")

    def photos(self):
        return sorted(self.photo_folder.glob("*.png"))

    def leftovers(self):
        """Whatever in the photo folder is no finished photo."""
        return sorted(path for path in self.photo_folder.iterdir() if path.suffix != ".png" or path.name.startswith("."))

    def log(self):
        return self.log_path.read_text(encoding="utf-8", errors="replace")


class ToolTest(unittest.TestCase):
    """What the tests of whole runs have in common."""

    def assert_whole_png(self, path):
        checked = subprocess.run(["pngcheck", "-v", path], capture_output=True, text=True, check=False)
        self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)
        return checked.stdout

    def assert_one_photo(self, tool):
        photos = tool.photos()
        self.assertEqual(len(photos), 1, f"{photos}\n{tool.log()}")
        self.assert_whole_png(photos[0])
        self.assertEqual(tool.leftovers(), [])
        return photos[0]

    def assert_no_photo(self, tool):
        self.assertEqual(tool.photos(), [], tool.log())
        self.assertEqual(tool.leftovers(), [])

