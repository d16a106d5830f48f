"""Where the tests find what they test."""

import os
import subprocess
from pathlib import Path

SOURCE = Path(os.environ["CAMERA_SHOT_SOURCE"])
BUILD = Path(os.environ["CAMERA_SHOT_BUILD"])
APPLICATION = "com.verrano.quillo.CameraShot"


def run(*command, **options):
    """Runs a checking program and answers its exit status and all that it wrote."""
    result = subprocess.run(
        [str(part) for part in command],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, check=False,
        **options)
    return result.returncode, result.stdout
