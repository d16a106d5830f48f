"""Debian's kernel for the guest: fetched with apt, unpacked, and never installed.

An installed kernel package would add an entry to the boot menu of a developer's machine and build an initial memory disk
in every container, so the package is only downloaded. Of its 400 MB some 10 are kept: the kernel itself, without
compression (the guest need not decompress it, which would take seconds in the emulator), and the modules that the tests
load, with modprobe's tables.
"""

import fcntl
import lzma
import os
import shutil
import struct
import subprocess
import tempfile
from pathlib import Path

from .failures import EX_UNAVAILABLE, GuestError, missing

META_PACKAGE = "linux-image-amd64"
# What leads to the root, loaded by the guest's first process.
BOOT_MODULES = ("virtio_pci", "9pnet_virtio", "9p", "overlay")
# What tests load by modprobe: disks and their file systems, the test driver, USB devices played in user space.
TEST_MODULES = ("virtio_blk", "ext4", "btrfs", "vfat", "nls_ascii", "nls_cp437", "nls_iso8859-1", "vivid", "vhci_hcd", "uvcvideo")
_ZSTD = b"\x28\xb5\x2f\xfd"
_SIGNED = b"~Module signature appended~\n"


class Kernel:
    """An unpacked kernel in `folder`."""

    def __init__(self, folder):
        self.image = folder / "vmlinux"
        self.modules = folder / "modules"  # stands for /lib/modules
        self.boot_modules = folder / "boot"  # files in the order in which they are to be loaded


def prepare(folder):
    """Answers the kernel in `folder`, having fetched it unless it is there. Waits for another process that does so."""
    done = folder / "kernel"
    if done.exists():
        return Kernel(done)
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not done.exists():
            with tempfile.TemporaryDirectory(dir=folder, prefix="unpacking-") as work:
                _unpack(download(Path(work)), Path(work))
                os.rename(Path(work) / "kernel", done)
    return Kernel(done)


def _ran(*command):
    # depmod and modprobe are where ordinary users do not look; apt translates what it says.
    environment = os.environ | {"PATH": os.environ.get("PATH", "") + ":/usr/sbin:/sbin", "LC_ALL": "C"}
    try:
        return subprocess.run(command, check=False, capture_output=True, text=True, stdin=subprocess.DEVNULL, env=environment)
    except FileNotFoundError as error:
        raise missing(command[0], {"depmod": "kmod", "modprobe": "kmod"}.get(command[0], "apt")) from error


def _output(*command):
    result = _ran(*command)
    if result.returncode != 0:
        raise GuestError(f"{' '.join(command)}: {result.stderr.strip()}", EX_UNAVAILABLE)
    return result.stdout


def download(work):
    """Answers the package file of the newest kernel that apt knows, in the folder `work`."""
    package = _fetched(work)
    if package is None:
        # The lists are old, or there are none yet; only root may renew them.
        subprocess.run(["apt-get", "-qq", "update"], check=False, stdin=subprocess.DEVNULL)
        package = _fetched(work)
    if package is None:
        raise GuestError(f"{META_PACKAGE} could not be fetched: run apt-get update", EX_UNAVAILABLE)
    return package


def _fetched(work):
    # Without lists apt knows of no package, and says so by its exit status.
    depends = [line.split() for line in _ran("apt-cache", "depends", META_PACKAGE).stdout.splitlines()]
    images = [words[1] for words in depends if words[0] == "Depends:" and words[1].startswith("linux-image-")]
    if images:
        # The sandbox user could not write to our folder.
        subprocess.run(["apt-get", "-qq", "-o", "APT::Sandbox::User=", "download", images[0]], cwd=work, check=False,
                       stdin=subprocess.DEVNULL)
    return next(work.glob("linux-image-*.deb"), None)


def _unpack(package, work):
    tree, result = work / "tree", work / "kernel"
    result.mkdir()
    _output("dpkg-deb", "-x", str(package), str(tree))
    library = _merge(tree) / "modules"
    version = next(library.iterdir()).name
    (result / "vmlinux").write_bytes(_uncompressed((tree / "boot" / f"vmlinuz-{version}").read_bytes()))
    _output("depmod", "-b", str(tree), version)
    _copy_modules(tree, version, result)
    shutil.rmtree(tree)


def _merge(root):
    """Makes /lib and /usr/lib one folder, as kmod expects it in one place or the other; answers it."""
    library, merged = root / "lib", root / "usr/lib"
    if library.is_dir():
        merged.parent.mkdir(exist_ok=True)
        shutil.rmtree(merged, ignore_errors=True)
        merged.symlink_to(library)
    else:
        merged.mkdir(parents=True, exist_ok=True)
        library.symlink_to("usr/lib")
    return library


def _uncompressed(image):
    """The ELF file within a compressed kernel; offsets as in the kernel's Documentation/arch/x86/boot.rst."""
    setup_sectors, = struct.unpack_from("<B", image, 0x1f1)
    offset, length = struct.unpack_from("<II", image, 0x248)
    begin = (setup_sectors + 1) * 512 + offset
    # The last four bytes are the size, which only gzip has of itself.
    compressed = image[begin:begin + length - 4]
    return _of_zstd(compressed) if compressed.startswith(_ZSTD) else lzma.decompress(compressed)


def _of_zstd(compressed):
    """Debian's kernels are so from 13 on; Python can by itself from 3.14 on."""
    try:
        return subprocess.run(["zstd", "-dcq"], input=compressed, check=True, stdout=subprocess.PIPE).stdout
    except FileNotFoundError as error:
        raise missing("zstd", "zstd") from error


def _copy_modules(root, version, result):
    library, boot, modules = root / "lib/modules" / version, result / "boot", result / "modules" / version
    boot.mkdir()
    modules.mkdir(parents=True)
    for table in ("modules.builtin", "modules.builtin.modinfo", "modules.order"):
        shutil.copy(library / table, modules)
    order = dict.fromkeys(file for name in BOOT_MODULES for file in _needed(root, version, name))
    for number, file in enumerate(order):
        (boot / f"{number:03}-{_plain_name(file)}").write_bytes(_plain_module(file))
    for file in dict.fromkeys(file for name in TEST_MODULES for file in _needed(root, version, name)):
        copy = modules / file.relative_to(library).parent / _plain_name(file)
        copy.parent.mkdir(parents=True, exist_ok=True)
        copy.write_bytes(_plain_module(file))
    stand_in = result / "root"
    (_merge(stand_in) / "modules").symlink_to(result / "modules")
    _output("depmod", "-b", str(stand_in), version)
    shutil.rmtree(stand_in)


def _needed(root, version, name):
    """The files of a module and of those that it needs, in the order of loading."""
    lines = _output("modprobe", "-d", str(root), "-S", version, "--show-depends", name).splitlines()
    return [Path(line.split()[1]) for line in lines if line.startswith("insmod ")]


def _plain_name(file):
    return file.name.removesuffix(".xz")


def _plain_module(file):
    """A module without compression and without signature: both cost the emulated kernel time."""
    contents = file.read_bytes()
    if file.suffix == ".xz":
        contents = lzma.decompress(contents)
    if not contents.endswith(_SIGNED):
        return contents
    # struct module_signature (linux/module_signature.h): its last field is the signature's length.
    length, = struct.unpack_from(">I", contents, len(contents) - len(_SIGNED) - 4)
    return contents[:len(contents) - len(_SIGNED) - 12 - length]
