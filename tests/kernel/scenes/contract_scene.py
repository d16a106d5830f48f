#!/usr/bin/python3
"""The promises of a source of frames, kept by the kernel's own drivers, in the emulated machine."""

import os
import sys
from pathlib import Path

import guest
from guest import HDMI, load_usb, plug_vivid, usb_camera_command
from scene import make_jpeg

if __name__ == "__main__":
    guest.start_udev()
    plug_vivid(kind=HDMI, can_fail=True)
    load_usb()
    os.environ["PLAY_USB_CAMERA"] = "exec " + " ".join(map(str, usb_camera_command(make_jpeg("/run/frame.jpg", 0))))
    program = Path(os.environ["CAMERA_SHOT_KERNEL_PROGRAMS"]) / "driver_contract_test"
    os.execv(program, [program, *sys.argv[1:]])
