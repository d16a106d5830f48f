"""The guest's initial memory disk: a cpio archive of the "newc" kind (Documentation/driver-api/early-userspace/buffer-format.rst)."""

import stat


def _entry(number, name, mode, contents=b"", device=(0, 0)):
    encoded = name.encode() + b"\0"
    fields = (number, mode, 0, 0, 1, 0, len(contents), 0, 0, *device, len(encoded), 0)
    header = b"070701" + b"".join(b"%08x" % field for field in fields)
    return _padded(header + encoded) + _padded(contents)


def _padded(part):
    return part + bytes(-len(part) % 4)


def archive(folders, files):
    """`folders`: names; `files`: contents and permissions by name. Folders come before what is in them."""
    entries = [(name, stat.S_IFDIR | 0o755, b"") for name in folders]
    entries += [(name, stat.S_IFREG | mode, contents) for name, (contents, mode) in files.items()]
    # The kernel opens the first process's streams here, before anything is mounted.
    console = _entry(len(entries) + 1, "dev/console", stat.S_IFCHR | 0o600, device=(5, 1))
    body = b"".join(_entry(number, *entry) for number, entry in enumerate(entries, 1))
    return body + console + _entry(0, "TRAILER!!!", 0)
