"""The emulated machine: what it is made of, and one command's life in it."""

import os
import shutil
import time
from pathlib import Path

from private_desktop.processes import Child

from .failures import TIMED_OUT, GuestError, missing
from .memory_disk import archive

EMULATOR = "qemu-system-x86_64"
MEMORY = 1024  # megabytes
# What the kernel need not do in a machine that lives for seconds: its self tests, tables for tracing, certificates, and
# measuring a clock that is the host's.
KERNEL_OPTIONS = (
    "console=ttyS0 quiet panic=-1 reboot=t mitigations=off nokaslr nowatchdog cryptomgr.notests tsc=reliable no_timer_check "
    "noreplace-smp ipv6.disable=1 audit=0 lsm= random.trust_cpu=on "
    "initcall_blacklist=init_kprobe_trace,load_system_certificate_list,init_zswap,init_ima")


class Machine:
    """`share` is a folder of this machine that the guest can write to, under the same path."""

    def __init__(self, kernel, first_process, share):
        self._kernel = kernel
        self._first_process = first_process
        self._share = Path(share)

    def start(self, command, environment, folder, disk=None, processors=1):
        """Begins to boot; the command starts some seconds later. `disk`: a raw image, /dev/vda in the guest."""
        if shutil.which(EMULATOR) is None:
            raise missing(EMULATOR, "qemu-system-x86")
        self._write("command", command)
        self._write("environment", [f"{name}={value}" for name, value in environment.items()])
        for name in ("stdout", "stderr"):
            (self._share / name).touch()
        self._write_memory_disk(folder)
        self._emulator = Child("emulator", self._arguments(disk, processors), os.environ, str(self._share / "emulator"))

    def _write(self, name, strings):
        (self._share / name).write_bytes(b"".join(os.fsencode(string) + b"\0" for string in strings))

    def _write_memory_disk(self, folder):
        settings = f"share {self._share}\nmodules {self._kernel.modules}\nfolder {folder}\n"
        files = {"init": (self._first_process.read_bytes(), 0o755), "guest/settings": (settings.encode(), 0o644)}
        for module in sorted(self._kernel.boot_modules.iterdir()):
            files[f"guest/modules/{module.name}"] = (module.read_bytes(), 0o644)
        (self._share / "memory-disk").write_bytes(archive(("dev", "guest", "guest/modules"), files))

    def _arguments(self, disk, processors):
        arguments = [
            EMULATOR, "-machine", "q35", "-accel", "tcg,thread=multi,tb-size=512", "-cpu", "max,la57=off",
            "-smp", str(processors), "-m", str(MEMORY), "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot",
            "-kernel", str(self._kernel.image), "-initrd", str(self._share / "memory-disk"), "-append", KERNEL_OPTIONS,
            "-serial", f"file:{self._share / 'console'}",
            *_shared_folder("root", "/", "readonly=on"), *_shared_folder("share", self._share, "writeout=immediate")]
        if disk:
            # Writes of the guest are in the image at once; what its kernel still holds back is lost with the machine.
            arguments += ["-drive", f"file={disk},format=raw,if=none,id=disk,cache=writeback",
                          "-device", "virtio-blk-pci,drive=disk"]
        return arguments

    def kill(self):
        """A power cut."""
        self._emulator.end(number=9)

    def wait(self, seconds, progress=lambda: None):
        """Answers the command's exit status. `progress` is called several times a second."""
        deadline = time.monotonic() + seconds
        while not self._emulator.wait(0.1):
            progress()
            if time.monotonic() > deadline:
                self.kill()
                raise GuestError(f"not done within {seconds} s{self._last_words()}", TIMED_OUT)
        progress()
        status = self._share / "status"
        if not status.exists():
            raise GuestError(f"the machine ended before the command did{self._last_words()}")
        return int(status.read_text(encoding="ascii"))

    def _last_words(self):
        lines = []
        for name in ("emulator", "console"):
            path = self._share / name
            if path.exists():
                lines += path.read_text(encoding="utf-8", errors="replace").splitlines()[-20:]
        return "".join(f"\n  {line}" for line in lines)


def _shared_folder(name, path, option):
    device = f"local,id={name},path={path},security_model=none,{option}"
    if name == "root":
        device += ",multidevs=remap"  # the root may span several devices
    return ["-fsdev", device, "-device", f"virtio-9p-pci,fsdev={name},mount_tag={name}"]
