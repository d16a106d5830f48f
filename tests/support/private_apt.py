"""An apt of a test's own: its lists, sources and packages, whatever this machine's apt knows."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

_CONFIGURATION = """\
#clear APT::Update;
#clear DPkg;
APT::Architecture "amd64";
Dir "{folder}";
Dir::Bin::methods "/usr/lib/apt/methods";
Dir::State::status "{folder}/status";
APT::Sandbox::User "";
"""


class PrivateApt:
    """Without sources and without lists. `environment` makes it the one that programs use; gone at the end of `test`."""

    def __init__(self, test):
        folder = tempfile.TemporaryDirectory(prefix="camera-shot-apt-")
        test.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for name in ("var/lib/apt/lists/partial", "var/cache/apt/archives/partial", "etc/apt/preferences.d", "etc/apt/apt.conf.d"):
            (self.folder / name).mkdir(parents=True)
        (self.folder / "status").touch()
        configuration = self.folder / "apt.conf"
        configuration.write_text(_CONFIGURATION.format(folder=self.folder), encoding="utf-8")
        self.environment = {"APT_CONFIG": str(configuration)}
        self.lock = self.folder / "var/lib/apt/lists/lock"
        self.set_source("")

    def set_source(self, line):
        """The only one from now on, as sources.list(5) has it."""
        (self.folder / "etc/apt/sources.list").write_text(line, encoding="utf-8")

    def publish(self, version, packages):
        """A source has this version of these packages from now on, and nothing else. `packages`: name, what it depends on."""
        repository = self.folder / "repository"
        shutil.rmtree(repository, ignore_errors=True)
        repository.mkdir()
        for name, depends in packages.items():
            self._build(repository, name, version, depends)
        index = subprocess.run(["dpkg-scanpackages", "."], cwd=repository, check=True, capture_output=True, text=True).stdout
        (repository / "Packages").write_text(index, encoding="utf-8")
        self.set_source(f"deb [trusted=yes] file:{repository} ./\n")

    def _build(self, repository, name, version, depends):
        tree = self.folder / "tree"
        (tree / "DEBIAN").mkdir(parents=True)
        lines = [f"Package: {name}", f"Version: {version}", "Architecture: amd64", "Maintainer: Nobody <nobody@example.com>",
                 "Description: of a test", *([f"Depends: {depends}"] if depends else [])]
        (tree / "DEBIAN/control").write_text("\n".join(lines) + "\n", encoding="utf-8")
        subprocess.run(["dpkg-deb", "--build", tree, repository], check=True, stdout=subprocess.DEVNULL)
        shutil.rmtree(tree)

    def update(self):
        subprocess.run(["apt-get", "-qq", "update"], check=True, stdin=subprocess.DEVNULL, env={**os.environ, **self.environment})
