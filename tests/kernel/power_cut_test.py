#!/usr/bin/python3
"""Power cuts: a machine is killed around the moment at which it announces a photo. What was announced is there, and whole.

    power_cut_test.py [--file-system ext4|btrfs|vfat] [--cuts N] [--seed N]

What the guest's kernel has written to its disk stays, and its page cache is lost, as in a power cut; a disk's own cache is
not played. Each run begins with a control that announces a photo without having it written through: it must lose it, or
the test could not fail. Another boot of the machine then mounts the disk and reads what is there.
"""

import argparse
import json
import os
import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "desktop")]

from guest import kernel  # noqa: E402 (the path comes first)
from guest.command_line import environment, programs_folder  # noqa: E402
from guest.machine import Machine  # noqa: E402

SCENE = HERE / "scenes/power_cut_scene.py"
DISK_BYTES = 160 << 20  # btrfs wants 109 MiB at least
MAKE = {"ext4": ("mke2fs", "-q", "-F", "-t", "ext4"), "btrfs": ("mkfs.btrfs", "-q"), "vfat": ("mkfs.vfat",)}
BOUND = 600  # seconds that a boot and a run may take on a busy machine
AFTER_START = 1.5  # seconds: about what a shot takes in the emulator
AFTER_STOP = 0.3


class Cut:
    """One machine, its disk and its end."""

    def __init__(self, folder, file_system, photographer):
        self._folder = folder
        self._file_system = file_system
        self._photographer = photographer
        self._disk = folder / "disk"
        with open(self._disk, "wb") as disk:
            disk.truncate(DISK_BYTES)
        # The programs that make file systems are where ordinary users do not look.
        environment = os.environ | {"PATH": os.environ.get("PATH", "") + ":/usr/sbin:/sbin"}
        subprocess.run([*MAKE[file_system], self._disk], check=True, stdout=subprocess.DEVNULL, env=environment)

    def _boot(self, name, *arguments):
        share = self._folder / name
        share.mkdir()
        programs = programs_folder()
        machine = Machine(kernel.prepare(programs / "machine"), programs / "guest_init", share)
        variables = {name: os.environ[name] for name in ("CAMERA_SHOT_PREFIX",)}
        command = ["/usr/bin/python3", "-B", str(SCENE), *arguments, self._file_system, str(share)]
        machine.start(command, environment(variables), "/", self._disk)
        return machine, share

    def run(self, after):
        """Takes photos until the power is cut, within moments after that event; answers how many were announced by then."""
        machine, share = self._boot("running", self._photographer)
        events = share / "state/quillo/usage-events.jsonl"
        _wait_for(after, events)
        # A cut at any moment is what is wanted here, so this is no wait for something to happen.
        time.sleep(random.uniform(0, AFTER_START if after == "Start" else AFTER_STOP))
        machine.kill()
        return _names(events).count("Stop")

    def read(self):
        """Answers how many photos are there and whole, and the names of those that are not whole."""
        machine, share = self._boot("reading", "read")
        if machine.wait(BOUND) != 0:
            raise AssertionError((share / "stderr").read_text(encoding="utf-8"))
        photos = sorted((share / "found").glob("[!.]*.png"))
        damaged = [photo.name for photo in photos
                   if subprocess.run(["pngcheck", "-q", photo], stdout=subprocess.DEVNULL, check=False).returncode != 0]
        return len(photos) - len(damaged), damaged


def _names(events):
    if not events.exists():
        return []
    lines = events.read_text(encoding="utf-8").splitlines()
    return [json.loads(line).get("event") for line in lines if line.endswith("}")]


def _wait_for(name, events):
    """Waits for the event. The file is on a 9p share, whose changes nobody tells: it is asked often."""
    deadline = time.monotonic() + BOUND
    while name not in _names(events):
        if time.monotonic() > deadline:
            raise AssertionError(f"no {name} within {BOUND} s")
        time.sleep(0.005)


def cut(file_system, photographer, after):
    """Cuts the power once, soon after that event; answers the photos announced, those there and whole, and the damaged ones."""
    with tempfile.TemporaryDirectory(prefix="camera-kernel-") as folder:
        one = Cut(Path(folder), file_system, photographer)
        announced = one.run(after)
        whole, damaged = one.read()
        print(f"{file_system}, {photographer}, cut after {after}: announced {announced}, whole {whole}, damaged {len(damaged)}", flush=True)
        return announced, whole, damaged


def main():
    """Returns the exit status."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--file-system", choices=MAKE, default="ext4")
    parser.add_argument("--cuts", type=int, default=2)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32))
    options = parser.parse_args()
    random.seed(options.seed)
    print(f"seed {options.seed}")
    announced, whole, damaged = cut(options.file_system, "control", "Stop")
    if announced == 0 or (whole >= announced and not damaged):
        print("The control lost nothing: these cuts prove nothing.")
        return 1
    # Every fourth before the announcement, the others just after it, where a promise has been given.
    outcomes = [cut(options.file_system, "tool", "Start" if number % 4 == 1 else "Stop") for number in range(options.cuts)]
    lost = [outcome for outcome in outcomes if outcome[1] < outcome[0] or outcome[2]]
    print(f"{len(outcomes)} cuts, {sum(outcome[0] for outcome in outcomes)} photos announced, lost or damaged in {len(lost)}")
    return 1 if lost else 0


if __name__ == "__main__":
    sys.exit(main())
