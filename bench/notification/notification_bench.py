#!/usr/bin/python3
"""Measures the way of a notification from the saved photo to the desktop's notification service, and the helper.

    notification_bench.py [--build DIR] [--prefix DIR] [--count N]

The way begins with the report that the photo is done (the event "Stop") and ends with the call to the service. A tenth
of a second of it is documented: the notification's trigger. Needs an otherwise quiet machine, and the Python modules
dbus and gi.
"""

import argparse
import json
import os
import signal
import statistics
import subprocess
import sys
from datetime import datetime
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CAMERA = "name=desk,title=Desk camera,noise=6,modes=MJPG:1920x1080@30"
TRIGGER = 100  # milliseconds


def in_desktop(build, prefix, arguments):
    """Runs this script in a private desktop and returns what it has measured there."""
    environment = {**os.environ, "CAMERA_SHOT_PREFIX": str(prefix)}
    done = subprocess.run(
        [ROOT / "tests/desktop/run", "--programs", build / "tests/desktop", "--camera", CAMERA, "--service-dir",
         prefix / "share/dbus-1/services", "--", sys.executable, __file__, *arguments],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False, env=environment,
    )
    if done.returncode != 0:
        raise RuntimeError(done.stderr or done.stdout)
    return json.loads(done.stdout)


def memory(pid):
    """Resident memory now and at its peak, in MB."""
    lines = Path(f"/proc/{pid}/status").read_text(encoding="utf-8").splitlines()
    values = dict(line.split(":", 1) for line in lines)
    return [int(values[name].split()[0]) / 1024 for name in ("VmRSS", "VmHWM")]


class Measurements:
    """Inside of a desktop, with a service of its own."""

    def __init__(self):
        sys.path.insert(0, str(ROOT / "tests/end_to_end"))
        import bubbles  # pylint: disable=import-outside-toplevel (these need a desktop)
        import scripted_services
        import session_bus
        import tool

        self.bubbles = bubbles
        self.turn_until = session_bus.turn_until
        self.bus = session_bus.Client()
        self.monitor = session_bus.Monitor()
        self.daemon = scripted_services.ScriptedDaemon()
        self.tool = tool.Tool()

    def run(self):
        """One silent run: milliseconds from the report of the photo to the call of the service, above the trigger."""
        shown = len(self.daemon.order)
        self.tool.start()
        self.turn_until(lambda: len(self.daemon.order) > shown and self.tool.process.poll() is not None, retry=True)
        stop = [event["time"] for event in self.tool.events() if event["event"] == "Stop"][-1]
        stopped = datetime.fromisoformat(stop.replace("Z", "+00:00")).timestamp()
        return 1000 * (self.monitor.calls("Notify")[-1].when - stopped) - TRIGGER

    def helper(self):
        return self.bus.process_of(self.bubbles.NOTIFIER)

    def end_helper(self):
        if self.bus.has_owner(self.bubbles.NOTIFIER):
            os.kill(self.helper(), signal.SIGKILL)
            self.bus.wait_until_unowned(self.bubbles.NOTIFIER)

    def delays(self, count):
        cold, warm = [], []
        for _ in range(count):
            self.end_helper()
            cold.append(self.run())
            warm.append(self.run())
        resident, peak = memory(self.helper())
        return {"cold": cold, "warm": warm, "resident": resident, "peak": peak}


def line(title, values, bound):
    print(f"  {title:<46}{statistics.median(values):8.1f} {max(values):8.1f} ms   (at most {bound})")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=ROOT / "build/release", help="the build tree (build/release)")
    parser.add_argument("--prefix", type=Path, default=ROOT / "build/stage", help="the installation (build/stage)")
    parser.add_argument("--count", type=int, default=20, help="runs of each kind (20)")
    parser.add_argument("--delays", type=int, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.delays:
        print(json.dumps(Measurements().delays(options.delays)))
        return
    told = in_desktop(options.build, options.prefix, ["--delays", str(options.count)])
    print(f"From the photo's report to the notification service, above its 100 ms; {options.count} runs: p50, max\n")
    line("the helper runs", told["warm"], 30)
    line("the helper must be started", told["cold"], 150)
    print(f"\nThe helper's resident memory after two notifications with their sounds (at most 8 MB)\n")
    print(f"  at rest {told['resident']:.1f} MB, peak {told['peak']:.1f} MB")


if __name__ == "__main__":
    main()
