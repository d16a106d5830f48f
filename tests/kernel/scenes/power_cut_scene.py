#!/usr/bin/python3
"""In the machine whose power is cut: a disk at /dev/vda, and somebody who takes photos on it.

    power_cut_scene.py tool|control|read FILE-SYSTEM SHARE

tool: the program takes one photo after the other; its events are on the share, where they outlive the machine.
control: announces a photo that it has not written through. read: copies what is on the disk to SHARE/found.
"""

import json
import os
import shutil
import signal
import struct
import sys
import zlib
from pathlib import Path

import guest
from guest import run
from tool import Tool
from waiting import wait_until

FAILURE = "Error while capture"
BOUND = 300  # seconds that a run may take on a busy machine


def mount(file_system):
    """Answers the folder of the disk."""
    run("modprobe", "-a", "virtio_blk", file_system)
    folder = Path("/run/disk")
    folder.mkdir()
    run("mount", "-t", file_system, "/dev/vda", folder)
    return folder


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def picture():
    """A small whole PNG."""
    rows = zlib.compress((b"\0" + os.urandom(3 * 64)) * 64, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 64, 64, 8, 2, 0, 0, 0)) + chunk(b"IDAT", rows)
            + chunk(b"IEND", b""))


def announce(state, *names):
    events = state / "quillo/usage-events.jsonl"
    events.parent.mkdir(parents=True, exist_ok=True)
    with open(events, "a", encoding="utf-8") as file:
        for name in names:
            file.write(json.dumps({"event": name}) + "\n")


def take_photo(tool):
    """A run to its end, or to the failure of its shot, which leaves it up: on a busy machine a camera may be too slow."""
    quits, failures = tool.names().count("Quit"), tool.log().count(FAILURE)
    tool.start()
    wait_until(lambda: tool.names().count("Quit") > quits or tool.log().count(FAILURE) > failures, tool.state,
               what="the end of the shot", bound=BOUND)
    tool.stop()


def main():
    """Ends with the machine, but for `read`."""
    what, file_system, share = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    folder = mount(file_system)
    if what == "read":
        shutil.copytree(folder, share / "found", ignore=shutil.ignore_patterns("lost+found"))
        return
    state = share / "state"
    if what == "control":
        announce(state, "Start")
        (folder / "control.png").write_bytes(picture())
        announce(state, "Stop")
        signal.pause()
    guest.start_udev()
    guest.enter_session()
    os.environ["XDG_STATE_HOME"] = str(state)
    guest.plug_vivid()
    tool = Tool(photos=folder)
    tool.log_path.touch()
    while True:
        take_photo(tool)


if __name__ == "__main__":
    main()
