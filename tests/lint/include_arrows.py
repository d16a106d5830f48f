#!/usr/bin/python3
"""Keeps the include arrows between the storeys: prints every include that points the wrong way and fails on them.

    include_arrows.py [TREE]     the tree to read, by default the one this file lies in

Storeys, from the ground up: the ports (platform/<Framework>), pictures (picture), the ports' Linux implementation
(platform/linux), the suite, and the tool's folders. A storey that is not named as allowed below is forbidden. Within
platform/linux the same holds for its rooms, whose declared arrows must not go in a circle. Headers that nobody includes
are told as well.
"""

import re
import sys
from pathlib import Path

PORTS = "ports"
LINUX = "platform/linux"
PICTURE = "picture"
TOOL_FOLDERS = ["app", "capture", "preferences", "preview", "notifications", "events"]

# Who may include whom. A file's own storey is always allowed.
ALLOWED = {
    PORTS: [],
    PICTURE: [],
    LINUX: [PORTS, PICTURE],
    "suite": [PORTS],
    "capture": ["suite", PORTS],
    "preferences": ["suite", PORTS],
    "preview": ["suite", PORTS],
    # These two define members of AppController.
    "notifications": ["app/AppController.h", "suite", PORTS],
    "events": ["app/AppController.h", "suite", PORTS],
    "app": ["capture", "preferences", "preview", "suite", PORTS],
    # The one place that composes.
    "app/main.cpp": ["app", "notifications/NotificationIdentifiers.h", LINUX, "suite", PORTS],
    # The notification helper is a program of its own, on Linux only.
    "notifier": ["notifications/NotificationIdentifiers.h", LINUX],
}
# The rooms of platform/linux, and which others each may include: what several services need lies below them, and no service
# leans on another one.
ROOMS = {
    "base": [],
    "bus": ["base"],
    "storage": ["base"],
    "photo": ["base", "storage"],
    "camera": ["base", "photo"],
    # The sources of frames: the cameras do not know them, only the composition does.
    "camera/pipewire": ["base", "bus", "camera"],
    "camera/v4l2": ["base", "camera"],
    "application": ["base", "bus"],
    "notifications": ["base", "bus"],
    "desktop": ["base", "bus"],
    "tray": ["base", "bus"],
    "ui": ["base", "photo"],
    "composition": [
        "base", "bus", "storage", "photo", "camera", "camera/pipewire", "camera/v4l2", "application", "notifications",
        "desktop", "tray", "ui",
    ],
}
# A library's headers that stay in one room.
ROOM_OF_HEADER = {"pipewire/": "camera/pipewire", "spa/": "camera/pipewire", "linux/videodev2.h": "camera/v4l2"}
FREE = ["tests", "bench"]
# Headers that the build makes, and the one storey that may include them.
GENERATED = {"resources/CameraShotResources.h": LINUX}
# Storeys that compile with no library's headers installed.
PURE = [PORTS, "suite", *TOOL_FOLDERS]

STANDARD_HEADERS = set(
    """algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
    clocale cmath compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint cstdio
    cstdlib cstring ctime cuchar cwchar cwctype deque exception execution expected filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
    memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore
    set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view strstream
    syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
    variant vector version""".split()
)

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
SOURCE_ENDINGS = {".h", ".hpp", ".cpp", ".cc", ".c", ".inc"}


def storey(path):
    """The storey that a path from the root belongs to; None for a path outside them all."""
    if path.startswith("platform/linux/"):
        return LINUX
    if path.startswith("platform/"):
        return PORTS
    top = path.split("/")[0]
    return top if top in ALLOWED or top in FREE else None


def room(path):
    """The room of platform/linux that a path belongs to: the folders below it, without the file."""
    return "/".join(path.split("/")[2:-1])


def circle(rooms):
    """A circle among the declared arrows, as a list of rooms; empty when there is none."""
    def follow(way):
        for aim in rooms[way[-1]]:
            if aim in way:
                return [*way, aim]
            if found := follow([*way, aim]):
                return found
        return []

    for start in rooms:
        if found := follow([start]):
            return found
    return []


def room_complaint(file, bracket, target):
    """What is wrong between the rooms of platform/linux, or None."""
    own = room(file)
    if bracket == "<":
        for prefix, home in ROOM_OF_HEADER.items():
            if target.startswith(prefix) and own != home:
                return f"<{target}>: only {LINUX}/{home} knows this library"
        return None
    if storey(target) != LINUX or room(target) == own:
        return None
    if own not in ROOMS:
        return f"{LINUX}/{own}: this room's arrows are not declared"
    if room(target) not in ROOMS[own]:
        return f'"{target}": {LINUX}/{own} must not include {LINUX}/{room(target)}'
    return None


def complaint(file, bracket, target, tree):
    """What is wrong with `file` including `target`, or None."""
    own = storey(file)
    if own in FREE:
        return None
    if own == LINUX and (what := room_complaint(file, bracket, target)):
        return what
    rules = ALLOWED.get(file, ALLOWED[own])
    if bracket == "<":
        if own in PURE and file not in ALLOWED and target not in STANDARD_HEADERS:
            return f"<{target}>: this storey uses the standard library only"
        return None
    if GENERATED.get(target) == own:
        return None
    if not (tree / target).is_file():
        return f'"{target}": no such file from the root of the tree'
    aim = storey(target)
    if aim == own and file not in ALLOWED:
        return None
    if aim in rules or target in rules:
        return None
    return f'"{target}": {file if file in ALLOWED else own} must not include {aim or "it"}'


def includes(tree):
    """Every include of the tree: file, number of the line, kind of bracket, target."""
    for path in sorted(tree.rglob("*")):
        file = path.relative_to(tree).as_posix()
        if path.suffix not in SOURCE_ENDINGS or storey(file) is None:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if include := INCLUDE.match(line):
                yield file, number, include[1], include[2]


def complaints(tree):
    """Every wrong include of the tree, as texts with file and line."""
    return [
        f"{file}:{number}: {what}"
        for file, number, bracket, target in includes(tree)
        if (what := complaint(file, bracket, target, tree))
    ]


def unused_headers(tree):
    """The headers that nobody includes, as texts."""
    included = {target for _, _, _, target in includes(tree)}
    headers = (path.relative_to(tree).as_posix() for path in sorted(tree.rglob("*.h")))
    return [
        f"{header}: nobody includes this header"
        for header in headers
        if storey(header) is not None and header not in included
    ]


def circles(rooms):
    """The circle among the declared arrows, as texts."""
    way = circle(rooms)
    return [f"the declared arrows of {LINUX} go in a circle: " + " -> ".join(way)] if way else []


def main():
    tree = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parents[2]
    found = circles(ROOMS) + complaints(tree) + unused_headers(tree)
    print("\n".join(found) if found else "All include arrows point the right way.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
