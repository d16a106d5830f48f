#!/usr/bin/python3
"""How the kernel's package comes: from repositories of the test's own, whatever this machine's apt knows."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.path[:0] = [str(Path(__file__).resolve().parent), str(Path(__file__).resolve().parents[1] / "desktop")]

from guest import kernel
from guest.failures import EX_UNAVAILABLE, GuestError

IMAGE = "linux-image-9.9.9-1-amd64"
APT = """\
#clear APT::Update;
#clear DPkg;
APT::Architecture "amd64";
Dir "{folder}/apt";
Dir::Bin::methods "/usr/lib/apt/methods";
Dir::State::status "{folder}/apt/status";
APT::Sandbox::User "";
"""


class Download(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="camera-shot-apt-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for name in ("var/lib/apt/lists/partial", "var/cache/apt/archives/partial", "etc/apt/preferences.d",
                     "etc/apt/apt.conf.d"):
            (self.folder / "apt" / name).mkdir(parents=True)
        (self.folder / "apt/status").touch()
        configuration = self.folder / "apt.conf"
        configuration.write_text(APT.format(folder=self.folder), encoding="utf-8")
        self.set_source("")
        self.work = self.folder / "work"
        self.work.mkdir()
        patch = mock.patch.dict(os.environ, {"APT_CONFIG": str(configuration)})
        patch.start()
        self.addCleanup(patch.stop)

    def set_source(self, line):
        (self.folder / "apt/etc/apt/sources.list").write_text(line, encoding="utf-8")

    def publish(self, version):
        """The repository has a kernel of that version from now on, and nothing else."""
        repository = self.folder / "repository"
        shutil.rmtree(repository, ignore_errors=True)
        repository.mkdir()
        for name, depends in ((kernel.META_PACKAGE, IMAGE), (IMAGE, "")):
            self.build(repository, name, version, depends)
        index = subprocess.run(["dpkg-scanpackages", "."], cwd=repository, check=True, capture_output=True, text=True).stdout
        (repository / "Packages").write_text(index, encoding="utf-8")
        self.set_source(f"deb [trusted=yes] file:{repository} ./\n")

    def build(self, repository, name, version, depends):
        tree = self.folder / f"{name}-{version}"
        (tree / "DEBIAN").mkdir(parents=True)
        lines = [f"Package: {name}", f"Version: {version}", "Architecture: amd64", "Maintainer: Nobody <nobody@example.com>",
                 "Description: of a test", *([f"Depends: {depends}"] if depends else [])]
        (tree / "DEBIAN/control").write_text("\n".join(lines) + "\n", encoding="utf-8")
        subprocess.run(["dpkg-deb", "--build", tree, repository], check=True, stdout=subprocess.DEVNULL)

    def update(self):
        subprocess.run(["apt-get", "-qq", "update"], check=True, stdin=subprocess.DEVNULL)

    def assert_downloaded(self, version):
        package = kernel.download(self.work)
        told = subprocess.run(["dpkg-deb", "-f", package, "Package", "Version"], check=True, capture_output=True, text=True).stdout
        self.assertEqual(told, f"Package: {IMAGE}\nVersion: {version}\n")

    def test_lists_that_are_not_there_are_fetched(self):
        self.publish("1")
        self.assert_downloaded("1")

    def test_lists_that_are_old_are_renewed(self):
        self.publish("1")
        self.update()
        self.publish("2")
        self.assert_downloaded("2")

    def test_without_any_source_it_is_said_what_to_do(self):
        with self.assertRaises(GuestError) as raised:
            kernel.download(self.work)
        self.assertIn("run apt-get update", str(raised.exception))
        self.assertEqual(raised.exception.status, EX_UNAVAILABLE)

    def test_apt_is_understood_whatever_it_speaks(self):
        self.publish("1")
        self.update()
        # Translations come with other packages than apt, or not at all.
        speaker = self.folder / "apt-cache"
        speaker.write_text("#!/bin/sh\nif [ $LC_ALL = C ]; then exec /usr/bin/apt-cache $@; fi\n"
                           "/usr/bin/apt-cache $@ | sed 's/Depends:/Hängt ab von:/'\n", encoding="utf-8")
        speaker.chmod(0o755)
        with mock.patch.dict(os.environ, {"PATH": f"{self.folder}:{os.environ['PATH']}", "LC_ALL": "de_DE.UTF-8"}):
            self.assert_downloaded("1")


if __name__ == "__main__":
    unittest.main()
