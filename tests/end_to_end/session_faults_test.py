#!/usr/bin/python3
"""No bus, no display, two starts at once, and being asked to end."""

import os
import signal
import subprocess
import sys
import unittest

from saves import LARGE, LARGE_BYTES, Save
from tool import HD, Tool, ToolTest, control, in_desktop, installation, stalled_camera
from waiting import wait_for_exit

# Starts a program as `program 2>&1 | true` does, some time later.
WITH_STREAMS_OF_A_GONE_READER = """
import os, signal, sys
reading, writing = os.pipe()
os.close(reading)
for stream in (1, 2):
    os.dup2(writing, stream)
signal.signal(signal.SIGPIPE, signal.SIG_DFL)
os.execv(sys.argv[1], sys.argv[1:])
"""


class Session(ToolTest):
    @in_desktop(HD)
    def test_without_a_session_bus_the_photo_is_taken(self):
        tool = Tool(environment={"DBUS_SESSION_BUS_ADDRESS": None})
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_with_a_dead_bus_address_the_photo_is_taken(self):
        tool = Tool(environment={"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent/bus"})
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_nothing_takes_the_place_of_standard_streams_that_are_closed(self):
        with stalled_camera():
            tool = Tool(command=["sh", "-c", 'exec "$0" <&- >&- 2>&-']).start()
            tool.wait_for_event("Start")
            streams = [os.readlink(f"/proc/{tool.process.pid}/fd/{number}") for number in range(3)]
        self.assertEqual(streams, ["/dev/null"] * 3)
        self.assertEqual(tool.wait(), 0)
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_words_that_nobody_reads_any_more_do_not_end_the_run(self):
        tool = Tool(command=[sys.executable, "-c", WITH_STREAMS_OF_A_GONE_READER],
                    environment={"DBUS_SESSION_BUS_ADDRESS": ""})
        (tool.config / "suite.ini").write_text("damaged, which is told at once", encoding="utf-8")
        self.assertEqual(tool.run(), 0)
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_without_a_display_a_preview_run_says_so_and_fails(self):
        tool = Tool(show_preview=True)
        self.assertEqual(tool.run(), 1)
        self.assertIn("display", tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop(HD)
    def test_preferences_that_cannot_be_shown_do_not_cost_a_silent_run_its_photo(self):
        with stalled_camera():
            tool = Tool().start()
            tool.wait_for_event("Start")
            asked = subprocess.run(
                ["gdbus", "call", "--session", "--dest", "com.verrano.quillo.CameraShot", "--object-path",
                 "/com/verrano/quillo/CameraShot", "--method", "org.freedesktop.Application.ActivateAction", "preferences", "[]",
                 "{}"], capture_output=True, text=True, check=False)
        self.assertEqual(asked.returncode, 0, asked.stderr)
        tool.wait_for_event("Stop")
        self.assert_one_photo(tool)
        self.assertIn("display", tool.log())
        tool.stop()

    @in_desktop(HD)
    def test_of_two_starts_at_once_one_takes_the_photo_and_the_other_leaves(self):
        tool = Tool()
        both = [tool.start().process, tool.start().process]
        for process in both:
            self.assertEqual(wait_for_exit(process), 0, tool.log())
        self.assert_one_photo(tool)
        launches = [event["details"] for event in tool.events() if event["event"] == "Launch"]
        self.assertCountEqual([list(details) for details in launches], [["Silent"], ["AnotherInstanceRunning"]])

    @in_desktop(HD)
    def test_without_a_bus_too_only_one_of_two_starts_takes_the_photo(self):
        tool = Tool(environment={"DBUS_SESSION_BUS_ADDRESS": None})
        both = [tool.start().process, tool.start().process]
        for process in both:
            self.assertEqual(wait_for_exit(process), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop("name=desk,modes=MJPG:640x480@30,start-delay=60000")
    def test_a_request_to_end_is_honoured_while_a_shot_is_pending(self):
        tool = Tool().start()
        tool.wait_for_event("Start")
        self.assertEqual(tool.stop(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Start", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop(LARGE)
    def test_asked_to_end_again_and_again_the_photo_that_is_being_saved_is_saved(self):
        tool = Tool()
        save = Save(tool.photo_folder)
        tool.start()
        save.wait_for(LARGE_BYTES // 4)
        while tool.process.poll() is None:
            tool.process.send_signal(signal.SIGTERM)
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_a_second_camera_plugged_in_during_the_shot_changes_nothing(self):
        with stalled_camera():
            tool = Tool().start()
            tool.wait_for_event("Start")
            control("add-camera", "name=second,title=Second camera,modes=MJPG:320x240@30")
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop("name=first,modes=MJPG:640x480@30", "name=second,modes=MJPG:320x240@30")
    def test_the_stored_camera_takes_the_photo(self):
        tool = Tool(settings="[Defaults]\nShowPreview=false\nVideoSourceID=second\n")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertIn(b"\x00\x00\x01\x40\x00\x00\x00\xf0", self.assert_one_photo(tool).read_bytes()[:32])  # 320 x 240

    @in_desktop("name=first,modes=MJPG:640x480@30", "name=second,modes=MJPG:320x240@30")
    def test_a_stored_camera_that_is_gone_leaves_the_choice_stored_and_the_first_one_shoots(self):
        tool = Tool(settings="[Defaults]\nShowPreview=false\nVideoSourceID=gone\n")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertIn(b"\x00\x00\x02\x80\x00\x00\x01\xe0", self.assert_one_photo(tool).read_bytes()[:32])  # 640 x 480
        self.assertIn("VideoSourceID=gone", (tool.config / "camera-shot.ini").read_text(encoding="utf-8"))

    @in_desktop(HD)
    def test_a_run_without_windows_loads_no_toolkit(self):
        tool = Tool(environment={"LD_DEBUG": "files", "LD_DEBUG_OUTPUT": None})
        self.assertEqual(tool.run(), 0)
        loaded = tool.log()
        self.assertIn("libpipewire", loaded)
        self.assertNotIn("libgtk-4", loaded)
        self.assertNotIn("libX11", loaded)


class Installation(unittest.TestCase):
    def test_runs_from_where_it_was_installed(self):
        program = installation() / "bin/quillo-camera-shot"
        self.assertTrue(program.is_file())
        missing = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
        self.assertNotIn("not found", missing)


if __name__ == "__main__":
    unittest.main()
