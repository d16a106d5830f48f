#!/usr/bin/python3
"""Measures whole photos against what one would use instead, in ratios, in one run.

    shot_bench.py [--build DIR] [--prefix DIR] [--count N]

Shot: from the request, in a running session, to the PNG file durable on the disk. The other way is the media
framework's pipeline as a process of its own, the way a script would take a photo (gst-launch-1.0).
Silent run, start, memory and wake-ups: of the installed program, as a process. Needs an otherwise quiet machine.
"""

import argparse
import json
import os
import shutil
import signal
import statistics
import subprocess
import sys
import time
from datetime import datetime
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
MODES = [
    ("1280x720", "MJPG", 30), ("1280x720", "YUY2", 30),
    ("1920x1080", "MJPG", 30), ("1920x1080", "YUY2", 30),
    ("3840x2160", "MJPG", 30), ("3840x2160", "NV12", 30),
    ("4000x3000", "MJPG", 24), ("4000x3000", "NV12", 24),
]
TOOL = "a5f597ea-d3f3-4347-bbe6-344e240acc7e"


def median(values):
    return statistics.median(values)


def camera(size, pixel_format, rate):
    return f"name=desk,title=Desk camera,noise=6,modes={pixel_format}:{size}@{rate}"


def in_desktop(build, cameras, command):
    """Runs a command in a private desktop and returns its output."""
    plugged = [word for spec in cameras for word in ("--camera", spec)]
    done = subprocess.run(
        [ROOT / "tests/desktop/run", "--programs", build / "tests/desktop", *plugged, "--", *command],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False,
    )
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stderr or done.stdout}")
    return done.stdout


# --- shot ------------------------------------------------------------------------------------------------------------


def framework_photos(count):
    """Milliseconds of whole processes that take one mirrored photo each with the media framework. Inside a desktop."""
    if not shutil.which("gst-launch-1.0"):
        return []
    pixel_format, size = os.environ["BENCH_FORMAT"], os.environ["BENCH_SIZE"].split("x")
    caps = "image/jpeg" if pixel_format == "MJPG" else f"video/x-raw,format={pixel_format}"
    decode = "jpegdec !" if pixel_format == "MJPG" else ""
    path = Path(os.environ["HOME"]) / "framework.png"
    times = []
    for _ in range(count):
        begin = time.monotonic()
        pipeline = (
            f"gst-launch-1.0 -q pipewiresrc target-object=desk num-buffers=1 ! {caps},width={size[0]},height={size[1]} !"
            f" {decode} videoflip method=horizontal-flip ! videoconvert ! pngenc ! filesink location={path}"
        )
        done = subprocess.run(pipeline.split(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False, timeout=60)
        with open(path, "rb") as file:
            os.fsync(file.fileno())
        if done.returncode != 0 or path.stat().st_size == 0:
            return []
        times.append(1000 * (time.monotonic() - begin))
        path.unlink()
    return times


def shots(build, count):
    print("Shot, milliseconds from the request to the durable file (median), and from the next frame's arrival: half a frame's")
    print("time less, as requests come at any moment of it\n")
    print(f"{'picture':>12} {'format':>6} {'frame every':>12} {'ours':>9} {'from frame':>11} {'framework':>10} {'ratio':>7}")
    for size, pixel_format, rate in MODES:
        os.environ.update(BENCH_FORMAT=pixel_format, BENCH_SIZE=size)
        folder = Path("/tmp") if not os.environ.get("TMPDIR") else Path(os.environ["TMPDIR"])
        photos = folder / f"shot-bench-{os.getpid()}"
        photos.mkdir()
        try:
            spec = camera(size, pixel_format, rate)
            ours = [float(line) for line in in_desktop(
                build, [spec], [build / "bench/shot/shot_timer", photos, str(count)]).split()]
            theirs = json.loads(in_desktop(build, [spec], [sys.executable, __file__, "--framework", str(max(3, count // 4))]))
        finally:
            shutil.rmtree(photos)
        ratio = f"{median(theirs) / median(ours):6.1f}x" if theirs else "absent"
        their_median = f"{median(theirs):9.0f}" if theirs else "-"
        print(f"{size:>12} {pixel_format:>6} {1000 / rate:9.0f} ms {median(ours):9.1f} {median(ours) - 500 / rate:11.1f} {their_median:>10} {ratio:>7}", flush=True)
    print()


# --- the program as a process ------------------------------------------------------------------------------------------


def milliseconds(text):
    return 1000 * datetime.fromisoformat(text.replace("Z", "+00:00")).timestamp()


def settings():
    config = Path(os.environ["XDG_CONFIG_HOME"]) / "quillo"
    config.mkdir(parents=True, exist_ok=True)
    (config / "camera-shot.ini").write_text("[Defaults]\nShowPreview=false\n", encoding="utf-8")


def events():
    lines = (Path(os.environ["XDG_STATE_HOME"]) / "quillo/usage-events.jsonl").read_text(encoding="utf-8").splitlines()
    return {event["event"]: milliseconds(event["time"]) for event in map(json.loads, lines[-4:])}


def silent_runs(program, count):
    """Times and memory of whole silent runs. Inside a desktop."""
    settings()
    walls, starts, shots_, memory = [], [], [], []
    for _ in range(count):
        begun = 1000 * time.time()
        process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = status
        walls.append(1000 * time.time() - begun)
        seen = events()
        starts.append(seen["Launch"] - begun)
        shots_.append(seen["Stop"] - seen["Start"])
        memory.append(used.ru_maxrss / 1024)
    return {"wall": median(walls), "start": median(starts), "shot": median(shots_), "memory": max(memory)}


def switches(pid):
    """How often each thread of the process has gone to sleep so far."""
    counts = {}
    for task in Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text(encoding="utf-8").splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                name = (task / "comm").read_text(encoding="utf-8").strip()
                counts[f"{name} {task.name}"] = int(line.split()[1])
    return counts


def wakeups(program, seconds):
    """Wake-ups of each thread of a run that waits with nothing to do: its camera has gone, its shot has failed."""
    settings()
    process = subprocess.Popen([program], stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    time.sleep(1.5)
    subprocess.run([ROOT / "tests/desktop/control", "camera", "1", "unplug"], check=True, stdout=subprocess.DEVNULL)
    while "Error while capture" not in process.stderr.readline():
        pass
    time.sleep(2)  # the notification gets out
    before = switches(process.pid)
    time.sleep(seconds)
    after = switches(process.pid)
    process.send_signal(signal.SIGTERM)
    process.wait()
    return {name: after[name] - before.get(name, 0) for name in after}


def runs(build, prefix, count):
    program = prefix / "bin/quillo-camera-shot"
    inside = [sys.executable, __file__]
    told = json.loads(in_desktop(build, [camera("1920x1080", "MJPG", 30)], [*inside, "--silent-runs", program, str(count)]))
    above = told["wall"] - 2000
    print("The program as a process, 1920x1080 MJPG at 30 frames a second (medians)\n")
    print(f"  exec to the session asked for         {told['start']:8.1f} ms   (at most 50)")
    print(f"  silent run above its two seconds      {above:8.1f} ms   (at most 150)")
    print(f"  and above the camera's first frame    {above - 1000 / 30:8.1f} ms   (at most 60; a frame's time, in which the camera starts)")
    print(f"  of that, request to durable file      {told['shot']:8.1f} ms")
    print(f"  resident memory, peak                 {told['memory']:8.1f} MB   (at most 60)")
    late = "name=desk,modes=MJPG:640x480@30,start-delay=60000"
    idle = json.loads(in_desktop(build, [late], [*inside, "--wakeups", program, "5"]))
    print(f"  wake-ups in 5 s with nothing to do    {sum(idle.values()):8d}      {idle}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=ROOT / "build/release", help="the build tree (build/release)")
    parser.add_argument("--prefix", type=Path, default=ROOT / "build/stage", help="the installation (build/stage)")
    parser.add_argument("--count", type=int, default=15, help="photos a mode, and runs (15)")
    parser.add_argument("--framework", type=int, help=argparse.SUPPRESS)
    parser.add_argument("--silent-runs", nargs=2, help=argparse.SUPPRESS)
    parser.add_argument("--wakeups", nargs=2, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.framework:
        print(json.dumps(framework_photos(options.framework)))
    elif options.silent_runs:
        print(json.dumps(silent_runs(options.silent_runs[0], int(options.silent_runs[1]))))
    elif options.wakeups:
        print(json.dumps(wakeups(options.wakeups[0], int(options.wakeups[1]))))
    else:
        runs(options.build, options.prefix, options.count)
        print()
        shots(options.build, options.count)


if __name__ == "__main__":
    main()
