#!/usr/bin/python3
"""The installed program in a sandbox: cameras come through the desktop's real portal, once its user has said so."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "end_to_end"))

from portal_desktop import PortalDesktop
from session_bus import Client, Monitor, turn_until
from tool import HD, Tool, ToolTest, in_desktop, installation

# Started from its own snap the program takes itself for sandboxed; and this sandbox hides the daemon's socket.
SANDBOX = {"SNAP": str(installation()), "PIPEWIRE_REMOTE": "hidden-by-the-sandbox"}
REFUSED = "Allow access to the camera in the privacy settings."


class Portal(ToolTest):
    def start_desktop(self):
        self.client = Client()
        self.desktop = PortalDesktop(self.client)
        self.desktop.start()
        self.monitor = Monitor()

    def finish(self, tool):
        """Lets the run end, dialogs answering meanwhile."""
        turn_until(lambda: tool.process.poll() is not None, what="the end of the run", retry=True)
        self.assertEqual(tool.process.returncode, 0, tool.log())

    def posted(self):
        return [str(call.arguments) for call in self.monitor.calls("Post")]

    @in_desktop(HD)
    def test_the_user_is_asked_once_and_a_yes_takes_the_photo(self):
        self.start_desktop()
        tool = Tool(environment=SANDBOX).start()
        self.desktop.dialogs.wait_for_dialog()
        self.assertEqual(tool.names(), ["Launch"])
        self.desktop.dialogs.answer(True)
        self.finish(tool)
        self.assert_one_photo(tool)
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Quit"])
        self.assertEqual(len(self.desktop.dialogs.shown), 1)

    @in_desktop(HD)
    def test_the_answer_is_remembered_for_the_next_run(self):
        self.start_desktop()
        first = Tool(environment=SANDBOX).start()
        self.desktop.dialogs.answer(True)
        self.finish(first)
        second = Tool(environment=SANDBOX).start()
        self.finish(second)
        self.assertEqual(len(second.photos()), 2)
        self.assertEqual(len(self.desktop.dialogs.shown), 1)

    @in_desktop(HD)
    def test_a_no_is_told_and_takes_no_photo(self):
        self.start_desktop()
        tool = Tool(environment=SANDBOX).start()
        self.desktop.dialogs.answer(False)
        self.finish(tool)
        self.assert_no_photo(tool)
        self.assertTrue(all(REFUSED in post for post in self.posted()) and self.posted(), self.posted())
        self.assertEqual(len(self.desktop.dialogs.shown), 1)

    @in_desktop()
    def test_a_yes_without_a_camera_says_that_there_is_none(self):
        self.start_desktop()
        tool = Tool(environment=SANDBOX).start()
        self.desktop.dialogs.answer(True)
        self.finish(tool)
        self.assert_no_photo(tool)
        self.assertIn("Camera not found.", self.posted()[0])

    @in_desktop(HD)
    def test_a_portal_that_dies_while_it_asks_has_not_said_yes(self):
        self.start_desktop()
        tool = Tool(environment=SANDBOX).start()
        self.desktop.dialogs.wait_for_dialog()
        self.desktop.kill()
        self.finish(tool)
        self.assert_no_photo(tool)
        self.assertIn(REFUSED, self.posted()[0])

    @in_desktop(HD)
    def test_without_a_portal_the_sandbox_itself_decides(self):
        tool = Tool(environment={"SNAP": SANDBOX["SNAP"]})
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)


if __name__ == "__main__":
    unittest.main(verbosity=2)
