#!/usr/bin/python3
"""Compares the live preview with other programs' on the same virtual camera and display, in one run.

    preview_bench.py [--build DIR] [--prefix DIR] [--seconds N] [--wayland] [--memory MINUTES] [--stutter]

CPU: processor time of the program, and of the display server that it makes work, per picture that appears on the
display; dropped: pictures that the camera sent and nobody saw. Peers, as far as installed: cheese, and the media
framework's pipeline in one line (gst-launch-1.0), to a plain window and to one that OpenGL draws.
--wayland: the same where a Wayland compositor (sway) draws without a graphics processor.
--memory: resident memory of the preview over so many minutes. --stutter: the longest gap between two pictures, and
the longest turns of the main loop, while photos are shot. Needs an otherwise quiet machine.
"""

import argparse
import json
import mmap
import os
import shutil
import signal
import struct
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CAMERAS = [("MJPG", "1920x1080"), ("MJPG", "3840x2160"), ("YUY2", "1920x1080")]
VIEWS = ["960x540", "1920x1080"]
TICKS = os.sysconf("SC_CLK_TCK")
STILL = 500  # milliseconds; a photo stands for a second, less what passes until it is drawn
SETTLING = 4  # seconds from the start of a program until it is measured


def in_desktop(build, cameras, command, *, wayland=False):
    """Runs a command in a private desktop with a display and returns its output."""
    display = ["--wayland"] if wayland else ["--window-manager", "--screen", "2560x1440"]
    plugged = [word for spec in cameras for word in ("--camera", spec)]
    done = subprocess.run(
        [ROOT / "tests/desktop/run", "--programs", build / "tests/desktop", *display, *plugged, "--", *command],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False,
    )
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stderr or done.stdout}")
    return done.stdout


def camera(pixel_format, size):
    return f"name=desk,title=Desk camera,noise=6,modes={pixel_format}:{size}@30"


# --- inside of a desktop ---------------------------------------------------------------------------------------------


def processor_seconds(pid):
    """What a process has used so far, its threads and ended children included."""
    fields = Path(f"/proc/{pid}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()
    return sum(map(int, fields[11:15])) / TICKS


def resident_megabytes(pid):
    for line in Path(f"/proc/{pid}/status").read_text(encoding="utf-8").splitlines():
        if line.startswith("VmRSS"):
            return int(line.split()[1]) / 1024
    return 0.0


def frames_sent():
    state = subprocess.run([ROOT / "tests/desktop/control", "camera", "1", "state"], check=True, capture_output=True,
                           text=True).stdout
    return int(dict(word.split("=") for word in state.split() if "=" in word)["total-frames"])


def settings():
    config = Path(os.environ["XDG_CONFIG_HOME"]) / "quillo"
    config.mkdir(parents=True, exist_ok=True)
    (config / "camera-shot.ini").write_text("[Defaults]\nShowPreview=true\n", encoding="utf-8")


def source_of(pixel_format, size):
    """The beginning of the media framework's pipelines."""
    width, height = size.split("x")
    caps = "image/jpeg" if pixel_format == "MJPG" else f"video/x-raw,format={pixel_format}"
    decode = "jpegdec !" if pixel_format == "MJPG" else ""
    return f"gst-launch-1.0 -q pipewiresrc target-object=desk ! {caps},width={width},height={height} ! {decode}"


def scaled_to(view):
    return "videoconvert ! videoscale ! video/x-raw,width={},height={}".format(*view.split("x"))


class XDisplay:
    """An X server, and the pictures that appear there."""

    def __init__(self, build):
        self.counter = build / "bench/preview/frame_counter"
        self.server = int(os.environ["XVFB_PID"])

    def commands(self, program, view, pixel_format, size):
        """The contenders by name: the command, and whether its window has to be brought to the view's size."""
        source = source_of(pixel_format, size)
        return {
            "ours": ([str(program)], True),
            "cheese": (["cheese"], True),
            "gst-launch, ximagesink": (f"{source} {scaled_to(view)} ! ximagesink".split(), False),
            "gst-launch, glimagesink": (f"{source} videoconvert ! glimagesink".split(), True),
        }

    def environment(self):
        return None

    def resize(self, view):
        resize(view)

    def count(self, view, seconds):
        width, height = map(int, view.split("x"))
        told = subprocess.run([self.counter, str(seconds), str(width * height // 4)], check=True, capture_output=True, text=True)
        return len(told.stdout.split()) - 1


class WaylandDisplay:
    """A Wayland compositor, and the pictures that are handed to it."""

    def __init__(self, build):
        self.library = build / "bench/preview/libpicture_counter.so"
        self.server = int(os.environ["SWAYSOCK"].split(".")[-2])  # sway-ipc.USER.PROCESS.sock
        self.file = Path(os.environ["XDG_RUNTIME_DIR"]) / "pictures"
        self.file.write_bytes(bytes(mmap.PAGESIZE))
        self.tell("output", "*", "resolution", "2560x1440")

    def tell(self, *command):
        """Whether the compositor could do it."""
        done = subprocess.run(["swaymsg", "--", *command], check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return done.returncode == 0

    def commands(self, program, view, pixel_format, size):
        return {
            "ours": ([str(program)], True),
            "gst-launch, waylandsink": (f"{source_of(pixel_format, size)} {scaled_to(view)} ! waylandsink".split(), False),
        }

    def environment(self):
        return dict(os.environ, LD_PRELOAD=str(self.library), PICTURE_COUNTER_FILE=str(self.file))

    def resize(self, view):
        width, height = view.split("x")
        end = time.monotonic() + 30
        # It cannot as long as there is no window.
        while not self.tell('[app_id=".*"]', "resize", "set", "width", width, "px", "height", height, "px"):
            if time.monotonic() > end:
                raise RuntimeError("no window to resize")
            time.sleep(0.05)

    def count(self, _view, seconds):
        before = self.shown()
        time.sleep(seconds)
        return self.shown() - before

    def shown(self):
        return int.from_bytes(self.file.read_bytes()[:8], sys.byteorder)


def resize(view):
    """Brings the newest visible window of an X display to the view's size."""
    found = subprocess.run(["timeout", "30", "xdotool", "search", "--sync", "--onlyvisible", "--name", "."],
                           capture_output=True, text=True, check=False).stdout.split()
    for window in found:
        subprocess.run(["xdotool", "windowsize", window, *view.split("x")], check=False, stderr=subprocess.DEVNULL)


def measure(display, command, needs_size, view, seconds):
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env=display.environment())
    try:
        if needs_size:
            display.resize(view)
        time.sleep(SETTLING)
        sent, used, drawn = frames_sent(), processor_seconds(process.pid), processor_seconds(display.server)
        shown = display.count(view, seconds)
        if process.poll() is not None or shown == 0:
            return None
        return {
            "shown": shown, "sent": frames_sent() - sent,
            "own": 1000 * (processor_seconds(process.pid) - used) / shown,
            "server": 1000 * (processor_seconds(display.server) - drawn) / shown,
            "memory": resident_megabytes(process.pid),
        }
    finally:
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def compare_inside(build, program, view, pixel_format, size, seconds):
    settings()
    display = (WaylandDisplay if "WAYLAND_DISPLAY" in os.environ else XDisplay)(Path(build))
    results = {}
    for name, (command, needs_size) in display.commands(program, view, pixel_format, size).items():
        if shutil.which(command[0]):
            results[name] = measure(display, command, needs_size, view, seconds)
    return results


def memory_inside(program, minutes):
    settings()
    process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(SETTLING)
    samples = [resident_megabytes(process.pid)]
    for _ in range(minutes):
        time.sleep(60)
        samples.append(resident_megabytes(process.pid))
    process.send_signal(signal.SIGTERM)
    process.wait()
    return samples


class Turns:
    """The turns of a program's main loop, as turn_clock measures them."""

    FIELDS = struct.Struct("4Q")

    def __init__(self, clock):
        self.file = Path(os.environ["XDG_RUNTIME_DIR"]) / "turns"
        self.file.write_bytes(bytes(mmap.PAGESIZE))
        self.environment = dict(os.environ, LD_PRELOAD=str(clock), TURN_CLOCK_FILE=str(self.file))
        with self.file.open("r+b") as file:
            self.shared = mmap.mmap(file.fileno(), mmap.PAGESIZE)

    def take(self):
        """Those since the last call."""
        count, stalls, longest, worked = self.FIELDS.unpack_from(self.shared)
        self.shared[:self.FIELDS.size] = bytes(self.FIELDS.size)
        return {"turns": count, "stalls": stalls, "longest": longest / 1000, "worked": worked / 1000}


def stutter_inside(counter, clock, program, view, seconds):
    """The longest gap between pictures and the longest turns: left alone, and with a shot every other second."""
    settings()
    turns = Turns(clock)
    process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env=turns.environment)
    resize(view)
    time.sleep(SETTLING)
    width, height = map(int, view.split("x"))
    results = []
    for shooting in (False, True):
        counting = subprocess.Popen([counter, str(seconds), str(width * height // 4)], stdout=subprocess.PIPE, text=True)
        turns.take()
        end = time.monotonic() + seconds
        while shooting and time.monotonic() < end - 1:
            subprocess.run(["xdotool", "key", "space"], check=False)
            time.sleep(2)
        gaps = [float(gap) for gap in counting.communicate()[0].split()[2:]]
        # After a shot the photo stands still for a second, as it should.
        moving = [gap for gap in gaps if gap < STILL]
        results.append({"shown": len(gaps) + 1, "stills": len(gaps) - len(moving), "gap": max(moving), **turns.take()})
    process.send_signal(signal.SIGTERM)
    process.wait()
    photos = len(list(Path(os.environ["HOME"]).glob("**/*.png")))
    return {"left alone": results[0], f"{photos} photos shot": results[1]}


# --- outside ---------------------------------------------------------------------------------------------------------


def compare(build, prefix, seconds, *, wayland):
    print(f"Live preview{' on Wayland' if wayland else ''} at 30 frames a second, {seconds} s each; milliseconds of processor time a shown picture\n")
    print(f"{'camera':>15} {'view':>10}  {'program':<24} {'own':>7} {'server':>7} {'both':>7} {'ratio':>7} {'shown':>6} {'of':>5}"
          f" {'dropped':>8} {'memory':>8}")
    for pixel_format, size in CAMERAS:
        for view in VIEWS:
            told = in_desktop(build, [camera(pixel_format, size)], [
                sys.executable, __file__, "--inside", "compare", build, prefix / "bin/quillo-camera-shot", view, pixel_format,
                size, str(seconds)], wayland=wayland)
            results = json.loads(told)
            ours = results["ours"]
            for name, result in results.items():
                if result is None:
                    print(f"{pixel_format + ' ' + size:>15} {view:>10}  {name:<24} shows nothing here")
                    continue
                both = result["own"] + result["server"]
                ratio = both / (ours["own"] + ours["server"]) if ours else float("nan")
                print(f"{pixel_format + ' ' + size:>15} {view:>10}  {name:<24} {result['own']:7.1f} {result['server']:7.1f} {both:7.1f}"
                      f" {ratio:6.1f}x {result['shown']:6d} {result['sent']:5d} {max(0, result['sent'] - result['shown']):8d}"
                      f" {result['memory']:5.0f} MB", flush=True)
    print()


def stutter(build, program, seconds):
    print("Longest gap between two pictures at 30 frames a second (two frame times: 67 ms), the second after a shot in which\n"
          "the photo is shown left out; and turns of the main loop\n")
    for size in ("1920x1080", "4000x3000"):
        for view in VIEWS:
            told = in_desktop(build, [camera("MJPG", size)], [
                sys.executable, __file__, "--inside", "stutter", build / "bench/preview/frame_counter",
                build / "bench/preview/libturn_clock.so", program, view, str(seconds)])
            for name, result in json.loads(told).items():
                print(f"{'MJPG ' + size:>15} {view:>10}  {name:<16} gap {result['gap']:3.0f} ms, {result['shown']} shown, {result['stills']} stills; "
                      f"{result['turns']} turns, {result['stalls']} above 20 ms, longest {result['longest']:.1f} ms "
                      f"({result['worked']:.1f} ms of work)", flush=True)
    print()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=ROOT / "build/release", help="the build tree (build/release)")
    parser.add_argument("--prefix", type=Path, default=ROOT / "build/stage", help="the installation (build/stage)")
    parser.add_argument("--seconds", type=int, default=10, help="how long each program is looked at (10)")
    parser.add_argument("--wayland", action="store_true", help="on a Wayland compositor instead of an X server")
    parser.add_argument("--memory", type=int, metavar="MINUTES", help="only: memory over so many minutes")
    parser.add_argument("--stutter", action="store_true", help="only: gaps between pictures while photos are shot")
    parser.add_argument("--inside", nargs="+", help=argparse.SUPPRESS)
    options = parser.parse_args()
    program = options.prefix / "bin/quillo-camera-shot"
    if options.inside:
        what, *words = options.inside
        if what == "compare":
            print(json.dumps(compare_inside(*words[:5], int(words[5]))))
        elif what == "memory":
            print(json.dumps(memory_inside(words[0], int(words[1]))))
        else:
            print(json.dumps(stutter_inside(*words[:4], int(words[4]))))
    elif options.memory:
        samples = json.loads(in_desktop(options.build, [camera("MJPG", "1920x1080")], [
            sys.executable, __file__, "--inside", "memory", program, str(options.memory)]))
        print("Resident memory of the preview, MB, a minute each: " + " ".join(f"{sample:.1f}" for sample in samples))
    elif options.stutter:
        stutter(options.build, program, options.seconds)
    else:
        compare(options.build, options.prefix, options.seconds, wayland=options.wayland)


if __name__ == "__main__":
    main()
