"""What menus and software centres read is valid and speaks every language."""

import unittest
import xml.etree.ElementTree as ElementTree

from surroundings import APPLICATION, BUILD, SOURCE, run

METAINFO = BUILD / f"resources/metainfo/{APPLICATION}.metainfo.xml"
ENTRY = BUILD / f"resources/desktop/{APPLICATION}.desktop"
LANGUAGE = "{http://www.w3.org/XML/1998/namespace}lang"

# What is to be remarked: the application's name is what it is on the bus, capitals and all; there is no home page; and
# the developer is there twice: as the readers of Debian 12 know it, and as AppStream 1.0 does, which would have it replaced.
REMARKS = {"cid-contains-uppercase-letter", "url-homepage-missing", "developer-name-tag-deprecated", "unknown-tag"}
# From gettext 0.23 on the tables' languages are named in metainfo as the web names them.
WEB_NAMES = {"pt-BR": "pt_BR", "zh-Hans-CN": "zh_CN"}


def languages():
    lines = (SOURCE / "po/LINGUAS").read_text(encoding="utf-8").split("\n")
    return {line for line in lines if line and not line.startswith("#")} - {"en"}


class EntriesTest(unittest.TestCase):
    def test_the_metainfo_is_valid(self):
        _, output = run("appstreamcli", "validate", "--pedantic", "--no-net", METAINFO)
        remarks = {line.split()[2] for line in output.split("\n") if line[:2] in ("E:", "W:", "I:", "P:")}
        self.assertLessEqual(remarks, REMARKS, output)
        self.assertEqual([line for line in output.split("\n") if "unknown-tag" in line and " developer" not in line], [])
        self.assertIn("cid-contains-uppercase-letter", remarks, output)  # so it was read

    def test_the_metainfo_speaks_every_language(self):
        root = ElementTree.parse(METAINFO).getroot()
        spoken = {node.get(LANGUAGE) for node in root.findall("summary")} - {None}
        self.assertEqual({WEB_NAMES.get(language, language) for language in spoken}, languages())
        paragraphs = root.find("description").findall("p")
        self.assertEqual(len(paragraphs), 3 * (1 + len(languages())))

    def test_the_metainfo_tells_of_this_version(self):
        root = ElementTree.parse(METAINFO).getroot()
        project = (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")
        self.assertIn(f"VERSION {root.find('releases/release').get('version')} ", project)

    def test_the_entry_is_valid(self):
        status, output = run("desktop-file-validate", "--warn-kde", ENTRY)
        self.assertEqual((status, output), (0, ""))

    def test_the_entry_speaks_every_language(self):
        lines = ENTRY.read_text(encoding="utf-8").split("\n")
        for key in ("GenericName", "Comment", "Keywords"):
            with self.subTest(key=key):
                spoken = {line.split("[")[1].split("]")[0] for line in lines if line.startswith(key + "[")}
                self.assertEqual(spoken, languages())
                for line in lines:
                    if line.startswith("Keywords"):
                        self.assertTrue(line.endswith(";"), line)


if __name__ == "__main__":
    unittest.main()
