"""The application's icons are where desktops look for them and can be drawn at every size."""

import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from surroundings import APPLICATION, SOURCE, run

THEME = SOURCE / "resources/icons/hicolor"
COLOURED = THEME / f"scalable/apps/{APPLICATION}.svg"
SYMBOLIC = THEME / f"symbolic/apps/{APPLICATION}-symbolic.svg"
SVG = "{http://www.w3.org/2000/svg}"


class IconsTest(unittest.TestCase):
    def test_there_are_two(self):
        self.assertEqual(sorted(path for path in THEME.rglob("*") if path.is_file()), sorted([COLOURED, SYMBOLIC]))

    def test_they_are_square_and_need_nothing_else(self):
        for icon in (COLOURED, SYMBOLIC):
            with self.subTest(icon=icon.name):
                root = ElementTree.parse(icon).getroot()
                _, _, width, height = root.get("viewBox").split()
                self.assertEqual(width, height)
                kinds = {node.tag for node in root.iter()}
                self.assertFalse(kinds & {SVG + "image", SVG + "use", SVG + "text", SVG + "style", SVG + "script"})

    def test_they_are_drawn_at_every_size_of_the_desktop(self):
        with tempfile.TemporaryDirectory() as folder:
            picture = Path(folder) / "icon.png"
            for icon in (COLOURED, SYMBOLIC):
                for size in (16, 22, 24, 32, 48, 64, 128, 256, 512):
                    with self.subTest(icon=icon.name, size=size):
                        status, output = run("rsvg-convert", "-w", size, "-h", size, "-o", picture, icon)
                        self.assertEqual(status, 0, output)
                        self.check_drawing(picture, size)

    def check_drawing(self, picture, size):
        status, output = run("convert", picture, "-alpha", "extract", "-format", "%w %h %[fx:mean] %[fx:p{0,0}]", "info:")
        self.assertEqual(status, 0, output)
        width, height, covered, corner = (float(number) for number in output.split())
        self.assertEqual((width, height), (size, size))
        self.assertEqual(corner, 0)
        self.assertTrue(0.4 < covered < 0.9, covered)

    def test_the_symbolic_one_takes_any_colour(self):
        drawn = [node for node in ElementTree.parse(SYMBOLIC).getroot().iter() if node.tag == SVG + "path"]
        self.assertEqual({node.get("fill") for node in drawn}, {"#222222"})


if __name__ == "__main__":
    unittest.main()
