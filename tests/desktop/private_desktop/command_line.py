"""The runner's command line."""

import glob
import os
import sys

from .desktop import Desktop
from .failures import DesktopError
from .file_manager import MANAGERS
from .guard import run_guarded
from .notifications import SERVICES
from .options import runner
from .surroundings import make_folder

_SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))


def _newest_programs():
    """The folder of the helper programs that were built last, or None."""
    built = glob.glob(os.path.join(_SOURCE, "build", "**", "tests", "desktop", "virtual_camera"), recursive=True)
    return os.path.dirname(max(built, key=os.path.getmtime)) if built else None


def _parse(arguments):
    parser = runner("Runs COMMAND in a desktop session of its own, with virtual cameras, and leaves nothing behind.")
    parser.add_argument("--camera", metavar="SPEC", action="append", default=[],
                        help="plug a virtual camera, as README.md describes; repeat for more, in this order")
    parser.add_argument("--kernel-cameras", action="store_true",
                        help="do not hide the machine's own cameras, those of the kernel (V4L2)")
    parser.add_argument("--display", action="store_true", help="give the session an X display")
    parser.add_argument("--screen", metavar="WIDTHxHEIGHT", default="1280x1024", help="size of the X display (1280x1024)")
    parser.add_argument("--window-manager", action="store_true",
                        help="let openbox manage the windows of the X display (implies --display)")
    parser.add_argument("--wayland", action="store_true", help="give the session a Wayland display, by sway")
    parser.add_argument("--accessibility", action="store_true",
                        help="start the accessibility bus, and let programs tell about their windows there")
    parser.add_argument("--notifications", choices=("none", *SERVICES), default="none",
                        help="start this notification service (needs --display)")
    parser.add_argument("--file-manager", choices=("none", *MANAGERS), default="none",
                        help="have the bus start this file manager when it is asked for (needs --display)")
    parser.add_argument("--service-dir", metavar="DIR", action="append", default=[],
                        help="let the session bus activate the services of DIR; repeatable")
    parser.add_argument("--locale", default="C.UTF-8", help="the session's locale (C.UTF-8)")
    parser.add_argument("--programs", metavar="DIR",
                        help="where virtual_camera and session_probe are; otherwise CAMERA_DESKTOP_PROGRAMS, "
                             "otherwise the last build below build/")
    options = parser.parse_args(arguments)
    if not options.command:
        parser.error("a COMMAND is expected")
    options.display = options.display or options.window_manager
    if options.wayland and options.display:
        parser.error("--wayland is instead of --display")
    if options.notifications != "none" and not options.display:
        parser.error("--notifications needs --display")
    if options.file_manager != "none" and not options.display:
        parser.error("--file-manager needs --display")
    options.programs = options.programs or os.environ.get("CAMERA_DESKTOP_PROGRAMS") or _newest_programs()
    return options


def _work(folder, options):
    try:
        desktop = Desktop(folder, options)
        try:
            desktop.start()
            return desktop.run(options.command)
        finally:
            desktop.tear_down()
    except DesktopError as error:
        print(f"run: {error}", file=sys.stderr)
        return error.status


def main(arguments):
    """Returns the exit status."""
    options = _parse(arguments)
    folder = make_folder()
    return run_guarded(folder, options.keep, lambda: _work(folder, options))
