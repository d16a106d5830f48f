"""What the tests of the private desktop share."""

import os
import select
import subprocess
import sys
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
RUN = os.path.join(FOLDER, "run")
CONTROL = os.path.join(FOLDER, "control")
# The longest that a test waits for any one event; more where the parts of a desktop are given more than ten to start.
SECONDS = 3 * int(os.environ.get("CAMERA_DESKTOP_WAIT_SECONDS", "10"))
NO_MEMORY = 5  # frame_reader's exit status

# The session's variables go to a file, then the session stays until its standard input ends.
_STAY = 'env -0 >"$CAMERA_DESKTOP_DIR/environment"; echo "$CAMERA_DESKTOP_DIR"; exec cat'


def programs():
    """The folder of the helper programs, which the build tells."""
    return os.environ["CAMERA_DESKTOP_PROGRAMS"]


def run(*arguments, **keywords):
    """Runs the runner to its end."""
    return subprocess.run([sys.executable, RUN, *arguments], capture_output=True, text=True, timeout=SECONDS,
                          check=False, **keywords)


def read_line(process):
    """One line of the process's standard output, within SECONDS; empty at its end. It takes no more than the line: what Python
    reads ahead, select no longer tells of."""
    line = b""
    deadline = time.monotonic() + SECONDS
    while not line.endswith(b"\n"):
        if not select.select([process.stdout], [], [], max(0, deadline - time.monotonic()))[0]:
            raise TimeoutError(f"no line came within {SECONDS} s, only {line}")
        if not (byte := os.read(process.stdout.fileno(), 1)):
            break
        line += byte
    return line.decode().rstrip("\n")


def processes_of(folder, least=0):
    """Descriptors of all processes that have the session's folder in their environment or command line, as soon as there are
    that many: of one that is just becoming another program neither can be read."""
    deadline = time.monotonic() + SECONDS
    while len(found := _processes_now(os.fsencode(folder))) < least:
        for descriptor in found.values():
            os.close(descriptor)
        if time.monotonic() > deadline:
            raise TimeoutError(f"there are {len(found)} processes, not {least}")
    return found


def _processes_now(needle):
    found = {}
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{entry}/environ", "rb") as environment, open(f"/proc/{entry}/cmdline", "rb") as words:
                if needle in environment.read() or needle in words.read():
                    found[int(entry)] = os.pidfd_open(int(entry))
        except (FileNotFoundError, ProcessLookupError, PermissionError):
            continue
    return found


def all_ended(descriptors):
    """Waits until all of the processes have ended; closes the descriptors."""
    deadline = time.monotonic() + SECONDS
    try:
        return all(select.select([descriptor], [], [], max(0, deadline - time.monotonic()))[0]
                   for descriptor in descriptors)
    finally:
        for descriptor in descriptors:
            os.close(descriptor)


class Session:
    """A private desktop that stays while a test works in it."""

    def __init__(self, *options):
        self.process = subprocess.Popen([sys.executable, RUN, *options, "--", "sh", "-c", _STAY],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        text=True)
        self.folder = read_line(self.process)
        if not self.folder:
            raise RuntimeError(self.process.communicate()[1])
        with open(os.path.join(self.folder, "environment")) as file:
            self.environment = dict(line.split("=", 1) for line in file.read().split("\0") if line)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.communicate(timeout=SECONDS)

    def command(self, *words, **keywords):
        """Runs a command in the session to its end."""
        return subprocess.run(words, env=self.environment, capture_output=True, text=True, timeout=SECONDS,
                              check=False, **keywords)

    def control(self, *words):
        """A request that must succeed; returns its answer."""
        result = self.command(CONTROL, *words)
        if result.returncode != 0:
            raise AssertionError(f"control {' '.join(words)}: {result.stderr}")
        return result.stdout.rstrip("\n")

    def state(self, camera=1):
        """The camera's state as a dictionary."""
        return dict(word.split("=", 1) for word in self.control("camera", str(camera), "state").split())

    def cameras(self):
        """The cameras that PipeWire shows: name → serial, in the registry's order."""
        lines = [line.split("\t") for line in self.control("cameras").splitlines()]
        return {name: int(serial) for serial, name, _ in lines}

    def start_reader(self, *words):
        """Starts frame_reader with `words`."""
        return subprocess.Popen([os.path.join(programs(), "frame_reader"), *words], env=self.environment,
                                stdout=subprocess.PIPE, text=True)

    def read_frames(self, *words):
        """Runs frame_reader to its end: exit status and the lines of its frames, split."""
        result = self.command(os.path.join(programs(), "frame_reader"), *words)
        if result.returncode == NO_MEMORY:
            # PipeWire 0.3 now and then hands a camera's buffers on before they have memory. A new link gets it.
            result = self.command(os.path.join(programs(), "frame_reader"), *words)
        lines = [line.split() for line in result.stdout.splitlines()]
        return result.returncode, [words[1:] for words in lines if words[0] == "frame"]
