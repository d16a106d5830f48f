"""The bill of materials names each package with its digest, what it needs, and what it was built with, in versions."""

import hashlib
import json
import tempfile
import unittest
from pathlib import Path

from surroundings import SOURCE, run

CONTROL = """Package: tool
Version: 1:2.0-1
Architecture: arm64
Maintainer: Some One <some@one.example>
Depends: libfirst1 (>= 1.0), libsecond++2 | libthird3, libunknown4
Description: a tool
"""
BUILDINFO = """Format: 1.0
Source: tool-source
Binary: tool
Architecture: arm64
Version: 2.0-1
Build-Date: Sun, 22 Nov 2026 13:30:00 +0130
Installed-Build-Depends:
 g++ (= 4:12.2.0-3),
 libfirst1 (= 1.2-3+b1),
 libsecond++2:arm64 (= 5.6)
"""


class BillOfMaterials(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        built = Path(folder.name)
        control = built / "tree/DEBIAN/control"
        control.parent.mkdir(parents=True)
        control.parent.chmod(0o755)
        control.write_text(CONTROL, encoding="utf-8")
        cls.package = built / "tool_2.0-1_arm64.deb"
        status, output = run("dpkg-deb", "--build", "--root-owner-group", built / "tree", cls.package)
        assert status == 0, output
        buildinfo = built / "tool_2.0-1_arm64.buildinfo"
        buildinfo.write_text(BUILDINFO, encoding="utf-8")
        status, output = run(SOURCE / "scripts/bill-of-materials", buildinfo)
        assert status == 0, output
        cls.digest = hashlib.sha256(cls.package.read_bytes()).hexdigest()
        cls.bill = json.loads(output)
        cls.packages = {package["name"]: package for package in cls.bill["packages"]}

    def related(self, kind):
        names = {package["SPDXID"]: package["name"] for package in self.bill["packages"]} | {"SPDXRef-DOCUMENT": "bill"}
        return {(names[relation["spdxElementId"]], names[relation["relatedSpdxElement"]])
                for relation in self.bill["relationships"] if relation["relationshipType"] == kind}

    def test_it_says_of_what_it_is_and_of_when(self):
        self.assertEqual(self.bill["spdxVersion"], "SPDX-2.3")
        self.assertEqual(self.bill["name"], "tool-source-2.0-1")
        self.assertEqual(self.bill["creationInfo"]["created"], "2026-11-22T12:00:00Z")
        self.assertEqual(self.related("DESCRIBES"), {("bill", "tool")})

    def test_the_package_bears_its_version_and_digest(self):
        tool = self.packages["tool"]
        self.assertEqual((tool["versionInfo"], tool["packageFileName"]), ("1:2.0-1", self.package.name))
        self.assertEqual(tool["checksums"], [{"algorithm": "SHA256", "checksumValue": self.digest}])

    def test_what_it_needs_is_named_in_the_versions_it_was_built_with(self):
        needed = {"libfirst1": "1.2-3+b1", "libsecond++2": "5.6", "libthird3": "NOASSERTION", "libunknown4": "NOASSERTION"}
        self.assertEqual(self.related("DEPENDS_ON"), {("tool", name) for name in needed})
        self.assertEqual({name: self.packages[name]["versionInfo"] for name in needed}, needed)

    def test_what_it_was_built_with_is_named(self):
        self.assertEqual(self.related("BUILD_DEPENDENCY_OF"), {(name, "tool") for name in ("g++", "libfirst1", "libsecond++2")})
        self.assertEqual(self.packages["g++"]["versionInfo"], "4:12.2.0-3")

    def test_each_element_has_an_identifier_of_its_own(self):
        self.assertEqual(len({package["SPDXID"] for package in self.bill["packages"]}), len(self.bill["packages"]))


if __name__ == "__main__":
    unittest.main()
