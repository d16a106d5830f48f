"""What menus and software centres read is valid and speaks every language."""

import unittest
import xml.etree.ElementTree as ElementTree

from surroundings import APPLICATION, BUILD, SOURCE, run

METAINFO = BUILD / f"resources/metainfo/{APPLICATION}.metainfo.xml"
ENTRY = BUILD / f"resources/desktop/{APPLICATION}.desktop"
LANGUAGE = "{http://www.w3.org/XML/1998/namespace}lang"


def languages():
    lines = (SOURCE / "po/LINGUAS").read_text(encoding="utf-8").split("\n")
    return {line for line in lines if line and not line.startswith("#")} - {"en"}


class EntriesTest(unittest.TestCase):
    def test_the_metainfo_is_valid(self):
        status, output = run("appstreamcli", "validate", "--pedantic", "--no-net", METAINFO)
        self.assertEqual(status, 0, output)
        # The application's name is what it is on the bus, capitals and all; nothing else is to be remarked.
        remarks = [line for line in output.split("\n") if line[:2] in ("E:", "W:", "I:", "P:")]
        self.assertEqual([line.split()[2] for line in remarks], ["cid-contains-uppercase-letter"], output)

    def test_the_metainfo_speaks_every_language(self):
        root = ElementTree.parse(METAINFO).getroot()
        self.assertEqual({node.get(LANGUAGE) for node in root.findall("summary")} - {None}, languages())
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
