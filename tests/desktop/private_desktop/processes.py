"""Child processes that cannot outlive the desktop."""

import ctypes
import os
import select
import signal
import subprocess
import time

from .failures import DesktopError, ProgramMissing

# The longest that any part of the desktop may take to become ready; emulated machines set another.
WAIT_SECONDS = int(os.environ.get("CAMERA_DESKTOP_WAIT_SECONDS", "10"))
END_SECONDS = 3  # the longest that a process may take to leave after SIGTERM

# What reading of a process says that has ended, or, where /proc hides them (hidepid), is another user's.
_NOT_OURS = (FileNotFoundError, ProcessLookupError, PermissionError)

# Numbers from linux/prctl.h.
PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36

_libc = ctypes.CDLL(None, use_errno=True)


def adopt_orphans():
    """Makes this process the parent of every descendant whose own parent ends, so that none gets away."""
    if _libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise DesktopError("the kernel refuses PR_SET_CHILD_SUBREAPER")


def end_with(parent, number):
    """Has the kernel send this process signal `number` when `parent`, its parent, ends."""
    _libc.prctl(PR_SET_PDEATHSIG, number, 0, 0, 0)
    if os.getppid() != parent:
        os.kill(os.getpid(), number)


class Reaper:
    """Collects the exit status of every child, also of adopted ones, so that none stays as a zombie."""

    def __init__(self):
        self._statuses = {}

    def status(self, pid):
        """The status as subprocess gives it (a negative number is a signal), or None while the child lives."""
        self._collect()
        return self._statuses.get(pid)

    def _collect(self):
        while True:
            try:
                pid, status = os.waitpid(-1, os.WNOHANG)
            except ChildProcessError:
                return
            if pid == 0:
                return
            self._statuses[pid] = os.waitstatus_to_exitcode(status)


REAPER = Reaper()


class Child:
    """One process of the desktop."""

    def __init__(self, name, arguments, environment, log=None, pass_fds=(), death_signal=signal.SIGTERM):
        self.name = name
        self.log = log
        parent = os.getpid()
        streams = {}
        if log is not None:
            # A session of its own keeps the terminal's Ctrl-C from the services: they end in order.
            output = open(log, "ab")
            streams = {"stdin": subprocess.DEVNULL, "stdout": output, "stderr": output, "start_new_session": True}
        try:
            # Kept although only its pid is used: Popen takes the status of a child that nobody refers to.
            self._popen = subprocess.Popen(arguments, env=environment, pass_fds=pass_fds,
                                           preexec_fn=lambda: end_with(parent, death_signal), **streams)
        except FileNotFoundError as error:
            raise ProgramMissing(os.path.basename(arguments[0])) from error
        except OSError as error:
            raise DesktopError(f"{arguments[0]}: {error.strerror}") from error
        finally:
            if log is not None:
                output.close()
        self.pid = self._popen.pid

    def status(self):
        return REAPER.status(self.pid)

    def wait(self, seconds):
        """Waits for the end of the process; False when it still lives."""
        return wait_for_end({self.pid}, seconds)

    def end(self, number=signal.SIGTERM):
        end_processes({self.pid}, number)

    def failure(self, what):
        """An error that shows what the process last said."""
        text = f"{self.name}: {what}"
        status = self.status()
        if status is not None:
            text += f" (it ended with status {status})"
        if self.log is not None and os.path.exists(self.log):
            with open(self.log, errors="replace") as log:
                text += "".join(f"\n  {line.rstrip()}" for line in log.readlines()[-20:])
        return DesktopError(text)

    def read_line(self, descriptor, what):
        """Reads the line by which the process reports on `descriptor` that it is ready."""
        line = b""
        deadline = time.monotonic() + WAIT_SECONDS
        while not line.endswith(b"\n"):
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([descriptor], [], [], left)[0]:
                raise self.failure(f"{what} within {WAIT_SECONDS} s")
            part = os.read(descriptor, 4096)
            if not part:
                self.wait(END_SECONDS)  # so that the error tells its status
                raise self.failure(what)
            line += part
        return line.decode().strip()


def start_reporting(name, arguments, environment, log, what):
    """Starts a process that writes a line when it is ready, to the descriptor that stands for {ready} in
    `arguments`. Returns the process and its line; `what` is the complaint when no line comes."""
    reader, writer = os.pipe()
    try:
        child = Child(name, [argument.replace("{ready}", str(writer)) for argument in arguments], environment, log,
                      (writer,))
    except BaseException:
        os.close(reader)
        raise
    finally:
        os.close(writer)
    try:
        return child, child.read_line(reader, what)
    finally:
        os.close(reader)


class ReadyPipe:
    """A named pipe for programs that tell of their readiness by running a command of ours."""

    def __init__(self, surroundings, name):
        self.path = surroundings.path("run", name)

    def __enter__(self):
        os.mkfifo(self.path, 0o600)
        # Also for writing: so it is open before anybody writes, and never at its end.
        self.descriptor = os.open(self.path, os.O_RDWR | os.O_NONBLOCK | os.O_CLOEXEC)
        return self

    def __exit__(self, *_):
        os.close(self.descriptor)
        os.unlink(self.path)


class ChildWatch:
    """`descriptor` is readable after the end of any child, also of an adopted one."""

    def __enter__(self):
        self.descriptor, self._writer = os.pipe2(os.O_NONBLOCK | os.O_CLOEXEC)
        signal.signal(signal.SIGCHLD, lambda *_: None)  # without a handler nothing is written
        signal.set_wakeup_fd(self._writer, warn_on_full_buffer=False)
        return self

    def clear(self):
        os.read(self.descriptor, 4096)

    def __exit__(self, *_):
        signal.set_wakeup_fd(-1)
        os.close(self._writer)
        os.close(self.descriptor)


def alive(pid):
    """Whether the process exists and is not a zombie."""
    try:
        with open(f"/proc/{pid}/stat", "rb") as stat:
            return stat.read().rpartition(b")")[2].split()[0] not in (b"Z", b"X")
    except _NOT_OURS:
        return False


def descendants():
    """The living processes below this one, nearest first."""
    children = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", "rb") as stat:
                state, parent = stat.read().rpartition(b")")[2].split()[:2]
        except _NOT_OURS:
            continue
        if state not in (b"Z", b"X"):
            children.setdefault(int(parent), []).append(int(entry))
    found = list(children.get(os.getpid(), []))
    for pid in found:
        found.extend(children.get(pid, []))
    return found


def wait_for_end(pids, seconds):
    """Waits until all of the processes have ended; False when the time is over before."""
    deadline = time.monotonic() + seconds
    poll = select.poll()
    waiting = {}
    for pid in pids:
        try:
            descriptor = os.pidfd_open(pid)
        except ProcessLookupError:
            continue
        waiting[descriptor] = pid
        poll.register(descriptor, select.POLLIN)
    try:
        while waiting:
            left = deadline - time.monotonic()
            ended = poll.poll(left * 1000) if left > 0 else []
            if not ended:
                return False
            for descriptor, _ in ended:
                poll.unregister(descriptor)
                del waiting[descriptor]
                os.close(descriptor)
        return True
    finally:
        for descriptor in waiting:
            os.close(descriptor)
        REAPER.status(0)


def end_processes(pids, number=signal.SIGTERM):
    """Ends processes that this one started or adopted, by force after END_SECONDS."""
    for attempt in (number, signal.SIGKILL):
        left = {pid for pid in pids if alive(pid)}
        for pid in left:
            try:
                os.kill(pid, attempt)
            except ProcessLookupError:
                pass
        if wait_for_end(left, END_SECONDS):
            return


def end_descendants(spared=()):
    """Ends everything below this process but `spared`, also what starts while this goes on."""
    number = signal.SIGTERM
    for _ in range(10):
        strays = set(descendants()) - set(spared)
        if not strays:
            return
        end_processes(strays, number)
        number = signal.SIGKILL
