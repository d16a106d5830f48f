#!/usr/bin/python3
"""Damaged settings, difficult folders, taken names, foreign locks, and runs that are ended while they save."""

import contextlib
import datetime
import fcntl
import os
import signal
import unittest
from pathlib import Path

from saves import LARGE, LARGE_BYTES, Save
from tool import HD, Tool, ToolTest, in_desktop, stalled_camera
from waiting import until_in_time, wait_for_exit


@contextlib.contextmanager
def locked(path):
    """Holds the lock of a file or folder, as any program may."""
    descriptor = os.open(path, os.O_RDONLY)
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        yield
    finally:
        os.close(descriptor)


class Settings(ToolTest):
    @in_desktop(HD)
    def test_a_damaged_locations_file_is_set_aside_and_named_and_the_default_applies(self):
        tool = Tool()
        damaged = "this is no settings file\n\x00\x01"
        (tool.config / "locations.ini").write_text(damaged, encoding="utf-8")
        self.assertEqual(tool.run(), 0, tool.log())
        kept = list(tool.config.glob("locations.ini.damaged*"))
        self.assertEqual([path.read_text(encoding="utf-8") for path in kept], [damaged])
        self.assertIn("locations.ini", tool.log())
        self.assertEqual(len(list((Path(os.environ["HOME"]) / "Pictures").glob("*.png"))), 1)

    @in_desktop(HD)
    def test_damaged_settings_are_set_aside_and_the_defaults_ask_for_a_window(self):
        tool = Tool(settings="[Defaults\nShowPreview=false\n")
        self.assertNotEqual(tool.run(), 0)  # no display for the window
        self.assertEqual(len(list(tool.config.glob("camera-shot.ini.damaged*"))), 1)
        self.assertIn("camera-shot.ini", tool.log())
        self.assertEqual(tool.events()[0]["prefs"], {"ShowPreview": True})

    @in_desktop(HD)
    def test_settings_that_are_no_file_are_left_alone(self):
        tool = Tool()
        (tool.config / "locations.ini").unlink()
        (tool.config / "locations.ini").mkdir()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertIn("locations.ini", tool.log())
        self.assertTrue((tool.config / "locations.ini").is_dir())
        self.assertEqual(list(tool.config.glob("*.damaged*")), [])
        self.assertEqual(len(list((Path(os.environ["HOME"]) / "Pictures").glob("*.png"))), 1)

    @in_desktop(HD)
    def test_a_fifo_and_a_device_in_place_of_settings_hold_nothing_up_and_stay(self):
        tool = Tool()
        (tool.config / "locations.ini").unlink()
        os.mkfifo(tool.config / "locations.ini")
        (tool.config / "suite.ini").symlink_to("/dev/null")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertTrue((tool.config / "locations.ini").is_fifo())
        self.assertTrue((tool.config / "suite.ini").is_char_device())
        self.assertEqual(list(tool.config.glob("*.damaged*")), [])
        self.assertEqual(len(list((Path(os.environ["HOME"]) / "Pictures").glob("*.png"))), 1)

    @in_desktop(HD)
    def test_a_whole_number_256_reads_as_off_and_is_a_silent_run(self):
        tool = Tool(settings="[Defaults]\nShowPreview=256\n")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.events()[0]["details"], {"Silent": True})
        self.assert_one_photo(tool)


class Folders(ToolTest):
    def check_folder_named(self, name):
        folder = Path(os.environ["HOME"]) / name
        folder.mkdir()
        tool = Tool(photos=folder)
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    @in_desktop(HD)
    def test_named_with_spaces_and_signs(self):
        self.check_folder_named("My photos #1 100% \"new\" 'shots' ;=[x]")

    @in_desktop(HD)
    def test_named_in_many_scripts(self):
        self.check_folder_named("Фотографії 写真 صور é 📷")

    @in_desktop(HD)
    def test_named_with_a_backslash(self):
        self.check_folder_named("back\\slash")

    @in_desktop(HD)
    def test_ending_in_a_slash(self):
        tool = Tool()
        tool.write_location(f"{tool.photo_folder}/")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)

    def assert_run_without_a_file(self, tool):
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Quit"])
        self.assertIn("Camera shot", tool.log())  # names the file that could not be saved

    @in_desktop(HD)
    def test_that_is_missing_is_not_made(self):
        tool = Tool(photos=Path(os.environ["HOME"]) / "gone")
        self.assert_run_without_a_file(tool)
        self.assertFalse(tool.photo_folder.exists())

    @in_desktop(HD)
    def test_that_cannot_be_written_to(self):
        tool = Tool(photos="/proc/1")  # read-only for everybody
        self.assert_run_without_a_file(tool)

    @in_desktop(HD + ",noise=20")
    def test_on_a_full_disk(self):
        # A limit on the size of files (512 blocks of 512 bytes) fails a write in the middle, as a full disk does.
        tool = Tool(command=["sh", "-c", "ulimit -f 512; exec \"$@\"", "sh"])
        self.assert_run_without_a_file(tool)
        self.assertEqual(os.listdir(tool.photo_folder), [])

    @in_desktop(HD)
    def test_names_that_are_taken_by_files_and_folders_are_counted_past(self):
        tool = Tool()
        now = datetime.datetime.now()
        for seconds in range(-1, 20):
            moment = (now + datetime.timedelta(seconds=seconds)).strftime("%Y-%m-%d %H.%M.%S")
            (tool.photo_folder / f"Camera shot {moment}.png").mkdir()
            for number in range(1, 12):
                (tool.photo_folder / f"Camera shot {moment} ({number}).png").touch()
        self.assertEqual(tool.run(), 0, tool.log())
        written = [path for path in tool.photos() if path.is_file() and path.stat().st_size > 0]
        self.assertEqual(len(written), 1)
        self.assertTrue(written[0].name.endswith(" (12).png"), written)
        self.assert_whole_png(written[0])


class Killed(ToolTest):
    """A save that is interrupted leaves a whole photo or none, and no rubbish for long."""

    def interrupt_save(self, tool, signal_number, size):
        """Sends the signal once so many bytes are written, surely before the photo has its name.

        Returns the exit status and the names of the run's events.
        """
        def interrupt():
            save = Save(tool.photo_folder)
            earlier = len(tool.events())
            tool.start()
            save.wait_for(size)
            tool.process.send_signal(signal_number)
            being_written = save.size() is not None
            status = tool.wait()
            self.assert_no_part_under_a_final_name(tool)
            return being_written and (status, tool.names()[earlier:])

        return until_in_time(interrupt, f"a signal after {size} bytes")

    def assert_no_part_under_a_final_name(self, tool):
        for photo in tool.photos():
            self.assert_whole_png(photo)

    @in_desktop(LARGE)
    def test_by_sigkill_at_many_moments(self):
        tool = Tool()
        for size in (0, 1, LARGE_BYTES // 8, LARGE_BYTES // 4, LARGE_BYTES // 2, LARGE_BYTES * 3 // 4):
            status, _ = self.interrupt_save(tool, signal.SIGKILL, size)
            self.assertEqual(status, -signal.SIGKILL)
            self.assertNotEqual(tool.leftovers(), [])
        # The next whole run clears away what the killed ones left.
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.leftovers(), [])

    @in_desktop(LARGE)
    def test_by_sigkill_as_soon_as_the_photo_has_its_name(self):
        tool = Tool()

        def kill():
            save = Save(tool.photo_folder)
            tool.start()
            save.wait_for_name()
            tool.process.kill()
            status = tool.wait()
            self.assert_one_photo(tool).unlink()
            return status

        # A whole run, whose status is 0, has said goodbye meanwhile.
        self.assertEqual(until_in_time(kill, "the kill"), -signal.SIGKILL)

    @in_desktop(LARGE)
    def test_by_sigterm_the_photo_is_whole_or_absent_and_nothing_is_left(self):
        tool = Tool()
        for size in (0, 1, LARGE_BYTES // 4, LARGE_BYTES // 2):
            status, names = self.interrupt_save(tool, signal.SIGTERM, size)
            self.assertEqual(status, 0, tool.log())
            self.assertEqual(tool.leftovers(), [])
            self.assertIn("Start", names)
            self.assertEqual(names[-1], "Quit")


class SomeoneElsesFiles(ToolTest):
    @in_desktop(HD)
    def test_are_left_alone(self):
        tool = Tool()
        foreign = [tool.photo_folder / name for name in (".hidden", "notes.txt", ".other.quillo-part")]
        # Named as a photo of ours on its way; whoever writes it lives and so holds its lock.
        being_written = tool.photo_folder / ".Camera shot 2026-11-21 12.00.00.png.a1b2c3.quillo-part"
        for path in (*foreign, being_written):
            path.write_text("mine", encoding="utf-8")
        with locked(being_written):
            self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(len(tool.photos()), 1)
        for path in (*foreign, being_written):
            self.assertEqual(path.read_text(encoding="utf-8"), "mine", path)


class ForeignLocks(ToolTest):
    @in_desktop(HD)
    def test_hold_no_run_back(self):
        tool = Tool()
        events = [tool.state / name for name in ("usage-events.jsonl", "analytics-events.jsonl")]
        for path in events:
            path.touch()
        with contextlib.ExitStack() as locks:
            for path in (*events, tool.state, tool.config):
                locks.enter_context(locked(path))
            self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)
        self.assertEqual(tool.names(), ["Launch", "Start", "Stop", "Quit"])
        self.assertEqual(events[1].read_text(encoding="utf-8").count("\n"), 1)
        self.assertTrue((tool.state / "last-runs.ini").exists())
        self.assertIn(f"{tool.state} locked", tool.log())


class EventLog(ToolTest):
    @in_desktop(HD)
    def test_lines_of_runs_at_the_same_time_never_mix(self):
        tool = Tool()
        with stalled_camera():
            starts = [tool.start().process for _ in range(6)]
            tool.wait_for_count("Quit", 5)
        for process in starts:
            self.assertEqual(wait_for_exit(process), 0)
        names = tool.names()  # raises where a line is no JSON
        self.assertEqual(names.count("Launch"), 6)
        self.assertEqual(names.count("Quit"), 6)
        self.assertEqual(names.count("Stop"), 1)

    @in_desktop(HD)
    def test_can_be_switched_off(self):
        tool = Tool()
        (tool.config / "suite.ini").write_text("[Suite]\nUsageEvents=false\n", encoding="utf-8")
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)
        self.assertEqual(tool.events(), [])

    @in_desktop(HD)
    def test_that_cannot_be_written_costs_no_photo(self):
        tool = Tool()
        (tool.state / "usage-events.jsonl").mkdir()
        tool.start()
        self.assertEqual(tool.wait(), 0, tool.log())
        self.assertEqual(len(tool.photos()), 1)


if __name__ == "__main__":
    unittest.main()
