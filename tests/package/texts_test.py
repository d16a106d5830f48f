"""Every text that is shown is in every string table, and the tables are sound."""

import gettext
import re
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from surroundings import SOURCE, run

BASE_NAME = "Camera shot"
PHOTO_TAKEN = "Camera shot taken.\nClick here to show in Finder."
MNEMONIC = re.compile(r"_(?=\w)")


def languages():
    lines = (SOURCE / "po/LINGUAS").read_text(encoding="utf-8").split("\n")
    return [line for line in lines if line and not line.startswith("#")]


class TextsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.shown = cls.folder / "shown.pot"
        status, output = run(SOURCE / "po/extract", cls.shown)
        if status != 0:
            raise AssertionError(output)
        cls.tables = {language: cls.compiled(language) for language in languages()}

    @classmethod
    def compiled(cls, language):
        table = cls.folder / f"{language}.mo"
        status, output = run("msgfmt", "--check", "-o", table, SOURCE / f"po/{language}.po")
        if status != 0:
            raise AssertionError(output)
        with open(table, "rb") as file:
            catalog = gettext.GNUTranslations(file)._catalog  # the only way to the keys
        return {key: text for key, text in catalog.items() if key}

    def test_every_table_is_among_the_languages_and_has_every_shown_text(self):
        tables = {path.stem for path in (SOURCE / "po").glob("*.po")}
        self.assertEqual(tables, set(self.tables))
        for language in self.tables:
            with self.subTest(language=language):
                status, output = run("msgcmp", SOURCE / f"po/{language}.po", self.shown)
                self.assertEqual(status, 0, output)

    def test_no_table_keeps_texts_that_are_shown_no_more(self):
        for language in self.tables:
            with self.subTest(language=language):
                status, output = run("msgcmp", self.shown_with_itself(), SOURCE / f"po/{language}.po")
                self.assertEqual(status, 0, output)

    def shown_with_itself(self):
        """The shown texts as a table, each translated by itself."""
        table = self.folder / "itself.po"
        if not table.exists():
            status, output = run("msgen", "-o", table, self.shown)
            self.assertEqual(status, 0, output)
        return table

    def test_the_template_is_up_to_date(self):
        self.assertEqual((SOURCE / "po/quillo-camera-shot.pot").read_text(encoding="utf-8"),
                         self.shown.read_text(encoding="utf-8"), "run po/update")

    def test_the_texts_of_the_tool_are_among_the_shown(self):
        for text in (BASE_NAME, PHOTO_TAKEN, "Open", "Unable to take camera shot.", "Camera not found.",
                     "Allow access to the camera in the macOS Privacy settings.", "Error occured", "No camera",
                     "No camera found", "The tool is not allowed to access the camera.",
                     "Please open the macOS System Preferences > Security & Privacy > Privacy and allow "
                     "\"Verrano Quillo\" to access the camera."):
            for language, table in self.tables.items():
                with self.subTest(language=language):
                    self.assertIn(text, table)

    def test_the_base_name_makes_a_file_name_anywhere(self):
        for language, table in self.tables.items():
            with self.subTest(language=language):
                name = table[BASE_NAME]
                self.assertRegex(name, r"^[^\W_][^/\\:*?\"<>|\x00-\x1f]*$")
                self.assertEqual(name, name.strip())
                self.assertLess(len(name.encode()), 100)

    def test_the_photo_notification_keeps_its_headline_apart(self):
        for language, table in self.tables.items():
            with self.subTest(language=language):
                headline, body = table[PHOTO_TAKEN].split("\n")
                self.assertTrue(headline and body)

    def test_no_text_names_another_desktop(self):
        for language, table in self.tables.items():
            with self.subTest(language=language):
                for text in table.values():
                    self.assertNotRegex(text, r"Finder|macOS|System Preferences")

    def test_mnemonics_are_there_and_do_not_clash(self):
        layouts = sorted((SOURCE / "resources/layouts").glob("*.ui"))
        self.assertTrue(layouts)
        for layout in layouts:
            shown = [node.text for node in ElementTree.parse(layout).iter("property")
                     if node.get("translatable") == "yes" and MNEMONIC.search(node.text)]
            for language, table in self.tables.items():
                with self.subTest(language=language):
                    self.check_mnemonics([table[text] for text in shown])

    def check_mnemonics(self, texts):
        keys = [text[match.end()].lower() for text in texts for match in MNEMONIC.finditer(text)]
        self.assertEqual(len(keys), len(texts), texts)
        self.assertEqual(len(set(keys)), len(keys), texts)

    def test_plain_texts_stay_plain(self):
        for language, table in self.tables.items():
            with self.subTest(language=language):
                for key, text in table.items():
                    if not MNEMONIC.search(key):
                        self.assertNotIn("_", text)
                    self.assertEqual(text, text.strip())

    def test_french_marks_are_not_torn_off_at_the_end_of_a_line(self):
        for text in self.tables["fr"].values():
            self.assertNotRegex(text, "« | »| [:;!?]")


if __name__ == "__main__":
    unittest.main()
