"""What scenes in the emulated machine share: its devices, and a session without anybody who serves cameras."""

import atexit
import os
import subprocess
import sys
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[3]
sys.path[:0] = [str(SOURCE / "tests" / "end_to_end")]
sys.dont_write_bytecode = True

SIZE = (320, 180)  # the smallest that vivid has
# The picture stands still: no text of the time in it.
_NO_TEXT = "osd_text_mode=2"


def run(*command, check=True, **options):
    """Runs a program; answers its result."""
    return subprocess.run([str(word) for word in command], check=check, capture_output=True, text=True, **options)


def start_udev():
    """Rules run from now on, as on any machine."""
    os.makedirs("/run/udev", exist_ok=True)
    # WirePlumber 0.4 leaves where logind's folders are missing.
    for name in ("seats", "sessions", "users", "machines"):
        os.makedirs(f"/run/systemd/{name}", exist_ok=True)
    run("/usr/lib/systemd/systemd-udevd", "--daemon", "--children-max=2")


def settle():
    """Returns when udev's rules have run for all devices that have come."""
    run("udevadm", "settle", "--timeout=30")


WEBCAM, HDMI = 0, 3  # kinds of input


def plug_vivid(count=1, planes=1, kind=WEBCAM, can_fail=False):
    """Cameras of the kernel's test driver, with still pictures; `planes` is 2 for those with V4L2's multi-planar interface.
    With `can_fail` they have controls that let them fail."""
    each = lambda value: ",".join([str(value)] * count)
    run("modprobe", "vivid", f"n_devs={count}", f"node_types={each('0x1')}", f"num_inputs={each(1)}",
        f"input_types={each(kind)}", f"multiplanar={each(planes)}", f"no_error_inj={int(not can_fail)}")
    settle()
    for number in vivid_numbers():
        run("v4l2-ctl", "-d", number, "-c", _NO_TEXT)


def vivid_numbers():
    """The numbers of the test driver's devices; whoever has an unplugged camera open keeps its number taken."""
    names = Path("/sys/class/video4linux").glob("video*/name")
    return sorted(int(name.parent.name.removeprefix("video")) for name in names if name.read_text().startswith("vivid"))


def unplug_vivid():
    run("modprobe", "-r", "vivid")
    settle()


def reference_picture():
    """The RGB picture of the test driver's first device, read by a program that is not ours; answers its file."""
    path = "/run/reference.rgb"
    run("v4l2-ctl", "-d", vivid_numbers()[0], f"--set-fmt-video=width={SIZE[0]},height={SIZE[1]},pixelformat=RGB3", "--stream-mmap",
        "--stream-count=1", f"--stream-to={path}")
    return path


def camera_frames(*arguments):
    """The lines that our measuring program writes."""
    program = Path(os.environ["CAMERA_SHOT_KERNEL_PROGRAMS"]) / "camera_frames"
    return run(program, *arguments).stdout.splitlines()


def load_usb():
    """From now on webcams can be plugged in."""
    run("modprobe", "-a", "vhci_hcd", "uvcvideo")


def usb_camera_command(*pictures):
    """Of a program that plays a webcam at the machine's USB as long as it runs."""
    return [sys.executable, "-B", Path(__file__).parent / "usb_camera.py", *pictures]


class UsbCamera:
    """A webcam at the machine's USB, until it is unplugged."""

    def __init__(self, *pictures):
        load_usb()
        self._process = subprocess.Popen(usb_camera_command(*pictures), stdout=subprocess.PIPE, text=True)
        self.wait_for("plugged")
        while not any(Path("/sys/class/video4linux").glob("video*")):
            run("udevadm", "wait", "--timeout=30", "/dev/video0")
        settle()

    def wait_for(self, word):
        for line in self._process.stdout:
            if line.strip() == word:
                return
        raise AssertionError(f"the USB camera ended before it was {word}")

    def unplug(self):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()
        run("udevadm", "wait", "--timeout=30", "--removed", "/dev/video0")
        settle()


def enter_session():
    """Folders and a session bus for programs to find, but no PipeWire."""
    home = Path("/run/session")
    for variable, name in (("HOME", "home"), ("XDG_RUNTIME_DIR", "run"), ("XDG_CONFIG_HOME", "config"),
                           ("XDG_STATE_HOME", "state")):
        os.environ[variable] = str(home / name)
        (home / name).mkdir(parents=True, mode=0o700)
    address = f"unix:path={home}/run/bus"
    bus = subprocess.Popen(["dbus-daemon", "--session", f"--address={address}", "--nopidfile", "--nofork", "--print-address"],
                           stdout=subprocess.PIPE)
    bus.stdout.readline()  # it listens
    atexit.register(bus.kill)
    os.environ["DBUS_SESSION_BUS_ADDRESS"] = address
