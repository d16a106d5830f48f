#!/usr/bin/python3
"""The include lint finds each kind of wrong arrow, and nothing else."""

import tempfile
import unittest
from pathlib import Path

import include_arrows


class IncludeArrows(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)
        for target in [
            "platform/AppKit/NSWindow.h",
            "platform/linux/ui/Window.h",
            "platform/linux/bus/SessionBus.h",
            "platform/linux/camera/pipewire/Stream.h",
            "picture/Frame.h",
            "suite/Suite.h",
            "app/AppController.h",
            "capture/PhotoTaker.h",
            "preview/PreviewWindowController.h",
        ]:
            self.write(target, "#pragma once\n")

    def write(self, file, text):
        path = self.tree / file
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def complaints_about(self, file, include):
        self.write(file, f"#include {include}\n")
        return include_arrows.complaints(self.tree)

    def test_an_empty_tree_has_no_wrong_arrow(self):
        self.assertEqual(include_arrows.complaints(self.tree), [])

    def test_wrong_arrows_are_found(self):
        for file, include in [
            ("capture/Wrong.cpp", '"platform/linux/ui/Window.h"'),
            ("capture/Wrong.cpp", '"preview/PreviewWindowController.h"'),
            ("capture/Wrong.cpp", '"app/AppController.h"'),
            ("preview/Wrong.cpp", '"capture/PhotoTaker.h"'),
            ("app/Wrong.cpp", '"platform/linux/ui/Window.h"'),
            ("suite/Wrong.cpp", '"app/AppController.h"'),
            ("suite/Wrong.cpp", '"platform/linux/ui/Window.h"'),
            ("platform/AppKit/Wrong.h", '"suite/Suite.h"'),
            ("platform/AppKit/Wrong.h", '"platform/linux/ui/Window.h"'),
            ("platform/linux/ui/Wrong.cpp", '"suite/Suite.h"'),
            ("platform/linux/ui/Wrong.cpp", '"app/AppController.h"'),
            ("events/Wrong.cpp", '"capture/PhotoTaker.h"'),
            ("app/Wrong.cpp", '"resources/CameraShotResources.h"'),
            ("app/Wrong.cpp", "<gtk/gtk.h>"),
            ("suite/Wrong.cpp", "<unistd.h>"),
            ("platform/AppKit/Wrong.h", "<gio/gio.h>"),
            ("capture/Wrong.cpp", '"PhotoTaker.h"'),
            ("picture/Wrong.cpp", '"platform/linux/ui/Window.h"'),
            ("capture/Wrong.cpp", '"picture/Frame.h"'),
            ("platform/linux/base/Wrong.cpp", '"platform/linux/bus/SessionBus.h"'),
            ("platform/linux/camera/Wrong.cpp", '"platform/linux/camera/pipewire/Stream.h"'),
            ("platform/linux/camera/Wrong.cpp", "<pipewire/pipewire.h>"),
            ("platform/linux/attic/Wrong.cpp", '"platform/linux/ui/Window.h"'),
        ]:
            with self.subTest(file=file, include=include):
                found = self.complaints_about(file, include)
                self.assertEqual(len(found), 1, found)
                self.assertTrue(found[0].startswith(f"{file}:1: "), found)
                (self.tree / file).unlink()

    def test_right_arrows_are_left_alone(self):
        for file, include in [
            ("app/Right.cpp", '"capture/PhotoTaker.h"'),
            ("capture/Right.cpp", '"suite/Suite.h"'),
            ("capture/Right.cpp", '"platform/AppKit/NSWindow.h"'),
            ("capture/Right.cpp", "<memory>"),
            ("events/Right.cpp", '"app/AppController.h"'),
            ("app/main.cpp", '"platform/linux/ui/Window.h"'),
            ("platform/linux/ui/Right.cpp", '"platform/AppKit/NSWindow.h"'),
            ("platform/linux/ui/Right.cpp", "<gtk/gtk.h>"),
            ("platform/linux/ui/Right.cpp", '"resources/CameraShotResources.h"'),
            ("platform/linux/ui/Right.cpp", '"picture/Frame.h"'),
            ("platform/linux/tray/Right.cpp", '"platform/linux/bus/SessionBus.h"'),
            ("platform/linux/camera/pipewire/Right.cpp", "<pipewire/pipewire.h>"),
            ("tests/Right.cpp", '"platform/linux/ui/Window.h"'),
        ]:
            with self.subTest(file=file, include=include):
                self.assertEqual(self.complaints_about(file, include), [])

    def test_a_circle_of_rooms_is_found(self):
        self.assertEqual(include_arrows.circles({"a": ["b"], "b": ["c"], "c": []}), [])
        self.assertEqual(len(include_arrows.circles({"a": ["b"], "b": ["c"], "c": ["b"]})), 1)

    def test_a_header_that_nobody_includes_is_found(self):
        self.write("app/Right.cpp", '#include "suite/Suite.h"\n')
        found = include_arrows.unused_headers(self.tree)
        self.assertNotIn("suite/Suite.h: nobody includes this header", found)
        self.assertIn("capture/PhotoTaker.h: nobody includes this header", found)


if __name__ == "__main__":
    unittest.main()
