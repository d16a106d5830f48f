#!/usr/bin/python3
"""The virtual camera: that it delivers what it says, and that its faults do what they say."""

import itertools
import os
import signal
import subprocess
import tempfile
import time
import unittest

import session
from session import NO_MEMORY, Session, all_ended, read_line

MODE = "MJPG:640x480@30"
COMPLETE, NO_CAMERA, UNPLUGGED, FAILED = 0, 2, 3, 4  # exit statuses of frame_reader


def sequences(frames):
    return [int(sequence) for sequence, *_ in frames]


def checksums(frames):
    return [checksum for _, _, checksum, *_ in frames]


def sizes(frames):
    """Sequence number → size."""
    return {int(sequence): int(size) for sequence, size, *_ in frames}


class CameraTest(unittest.TestCase):
    def desktop(self, *descriptions):
        """A desktop with these cameras, which ends with the test."""
        options = [word for description in descriptions for word in ("--camera", description)]
        return self.enterContext(Session(*options))

    def reader(self, desktop, *words):
        """A frame_reader that ends with the test, if not before."""
        reader = desktop.start_reader(*words)
        self.addCleanup(reader.communicate)
        self.addCleanup(reader.terminate)
        return reader

    def assert_refused(self, reader):
        """A program whose format is refused waits for ever (PipeWire 0.3) or is told (PipeWire 1)."""
        self.assertIn(reader.poll(), (None, FAILED))


class Delivery(CameraTest):
    def test_frames_arrive_byte_for_byte(self):
        for mode, words in ((MODE, ""), ("YUY2:640x480@30", ",memory=memptr"), ("NV12:640x480@30", ",blocks=each"),
                            ("I420:320x240@30", ",blocks=shared,memory=dmabuf,lead=64"), ("RGB:322x240@30", ",padding=6"),
                            ("BGRx:320x240@30", ",memory=dmabuf"), ("P010:321x241@30", ",lead=128")):
            # The camera writes to the folder, so it ends before that does.
            with self.subTest(mode), tempfile.TemporaryDirectory() as folder, Session(
                    "--camera", f"name=a,modes={mode},noise=12,log={folder}/log,dump={folder}/sent{words}") as desktop:
                received = os.path.join(folder, "received")
                os.mkdir(received)
                status, frames = desktop.read_frames("a", mode, "5", received)
                self.assertEqual(status, COMPLETE)
                with open(os.path.join(folder, "log")) as log:
                    logged = [line.split() for line in log]
                for frame in frames:
                    self.assertIn(frame[:3], logged)
                self.assertGreater(len({checksum for _, _, checksum, *_ in frames}), 1)
                for sequence, *_ in frames:
                    extension = "jpg" if mode.startswith("MJPG") else mode.partition(":")[0].lower()
                    with open(f"{folder}/sent/{int(sequence):08}.{extension}", "rb") as sent, \
                            open(f"{received}/{sequence}", "rb") as came:
                        self.assertEqual(sent.read(), came.read())

    def test_the_chosen_mode_is_told(self):
        desktop = self.desktop("name=a,modes=MJPG:640x480@30+YUY2:320x240@15/5")
        desktop.read_frames("a", "YUY2:320x240@5", "1")
        self.assertEqual(desktop.state()["mode"], "YUY2:320x240@5")

    def test_a_mode_that_is_not_offered_gives_no_frames(self):
        desktop = self.desktop("name=a,modes=MJPG:640x480@30", "name=b")
        reader = self.reader(desktop, "a", "YUY2:320x240@30", "1")
        desktop.read_frames("b", MODE, "10")  # ten frames' time, in which the other camera could have answered
        self.assertEqual(desktop.state(1)["total-frames"], "0")
        self.assert_refused(reader)

    def test_users_that_are_killed_take_no_buffers_with_them(self):
        desktop = self.desktop("name=a")
        for _ in range(20):
            reader = self.reader(desktop, "a", MODE, "1000000")
            self.assertIn("frame", read_line(reader))
            reader.send_signal(signal.SIGSTOP)
            come = int(desktop.state()["run-frames"])
            desktop.control("camera", "1", "wait-frames", str(come + 2))  # are in its hands
            reader.kill()
            desktop.control("camera", "1", "wait-idle")
        self.assertEqual(desktop.read_frames("a", MODE, "3")[0], COMPLETE)

    def test_each_use_is_a_run_of_its_own(self):
        desktop = self.desktop("name=a")
        for run in (1, 2):
            self.assertEqual(desktop.read_frames("a", MODE, "4")[0], COMPLETE)
            desktop.control("camera", "1", "wait-idle")
            self.assertEqual(desktop.state()["runs"], str(run))

    def test_may_run_on_without_a_user(self):
        desktop = self.desktop("name=a,idle=run")
        for _ in range(2):
            self.assertEqual(desktop.read_frames("a", MODE, "2")[0], COMPLETE)
            self.assertEqual(desktop.state()["state"], "streaming")
        self.assertEqual(desktop.state()["runs"], "1")

    def test_the_first_frames_may_be_dark(self):
        desktop = self.desktop("name=a,warmup=10")
        _, frames = desktop.read_frames("a", MODE, "20")
        pictures = checksums(frames)
        dark = pictures.count(pictures[0])
        # Ten, but for those that were lost.
        self.assertIn(dark, range(2, 11))
        self.assertEqual(pictures[:dark], dark * pictures[:1])
        self.assertGreaterEqual(len(set(pictures[dark:])), 3)

    def test_frames_may_be_lost(self):
        desktop = self.desktop("name=a,drop=3")
        _, frames = desktop.read_frames("a", MODE, "7")
        self.assertEqual([number for number in sequences(frames) if number % 3 == 0], [])

    def test_the_first_frame_may_be_late(self):
        desktop = self.desktop("name=late,start-delay=600000", "name=prompt")
        self.reader(desktop, "late", MODE, "1")
        desktop.control("camera", "1", "wait-streaming")
        desktop.read_frames("prompt", MODE, "5")
        self.assertEqual(desktop.state(1)["run-frames"], "0")

    def test_each_frame_tells_of_its_buffer(self):
        for words, told in (("memory=memfd", {"memfd", "blocks=1", "offset=0", "stride=640"}),
                            ("memory=memptr,padding=32", {"memptr", "blocks=1", "stride=672"}),
                            ("memory=dmabuf,lead=64", {"dmabuf", "blocks=1", "offset=64"}),
                            ("blocks=each", {"memfd", "blocks=2"}),
                            ("blocks=shared,memory=dmabuf,lead=4096", {"dmabuf", "blocks=2", "offset=4096"}),
                            ("transform=flipped-90", {"transform=5"}),
                            ("fault=no-stride", {"stride=0"}),
                            ("fault=negative-stride", {"stride=-640"})):
            with self.subTest(words):
                desktop = self.desktop("name=a,modes=NV12:640x480@30," + words)
                status, frames = desktop.read_frames("a", "NV12:640x480@30", "1")
                self.assertEqual(status, COMPLETE)
                self.assertLessEqual(told, set(frames[0]))

    def test_the_first_buffers_may_have_no_memory(self):
        desktop = self.desktop(f"name=a,modes={MODE},memory=dmabuf,fault=without-memory")
        self.assertEqual(self.reader(desktop, "a", MODE, "1").wait(session.SECONDS), NO_MEMORY)
        desktop.control("camera", "1", "wait-idle")
        status, frames = desktop.read_frames("a", MODE, "1")
        self.assertEqual(status, COMPLETE)
        self.assertGreater(int(frames[0][1]), 0)

    def test_the_exposure_may_settle_slowly(self):
        desktop = self.desktop("name=a,modes=MJPG:320x240@30,exposure=1000")
        _, frames = desktop.read_frames("a", "MJPG:320x240@30", "60")
        pictures = checksums(frames)
        # In full light JPEGs come again and again, eight in turn.
        in_full_light = pictures[-16:]
        changing = list(itertools.takewhile(lambda picture: picture not in in_full_light, pictures))
        # Thirty, but for those that were lost.
        self.assertGreater(len(changing), 8)
        self.assertEqual(len(changing), len(set(changing)))
        self.assertLessEqual(len(set(pictures[len(changing):])), 8)


class Registry(CameraTest):
    """What programs see of a camera before they use it."""

    def properties(self, desktop, kind):
        """The properties of the registry's objects of that kind: name → value."""
        found = []
        for block in desktop.command("pw-cli", "ls", kind).stdout.split("\tid ")[1:]:
            pairs = [line.strip().split(" = ", 1) for line in block.splitlines()[1:] if " = " in line]
            found.append({name: value.strip('"') for name, value in pairs})
        return found

    def node(self, desktop, name="a"):
        return next(node for node in self.properties(desktop, "Node") if node.get("node.name") == name)

    def test_properties_at_will(self):
        desktop = self.desktop("name=a,title=Cam (V4L2),property=node.nick=Cam,property=priority.session=910,"
                               "property=media.role=,property=device.api=v4l2")
        node = self.node(desktop)
        self.assertEqual(node["node.description"], "Cam (V4L2)")
        self.assertEqual(node["node.nick"], "Cam")
        self.assertEqual(node["priority.session"], "910")
        self.assertNotIn("media.role", node)

    def test_two_nodes_may_bear_one_name(self):
        desktop = self.desktop("name=a", "name=a")
        self.assertEqual(len([node for node in self.properties(desktop, "Node") if node.get("node.name") == "a"]), 2)

    def test_a_node_belongs_to_its_device(self):
        desktop = self.desktop("name=a,device=v4l2_device.usb-1,device-property=device.devids=20736,"
                               "device-property=device.api=v4l2")
        device, = self.properties(desktop, "Device")
        self.assertEqual(device["device.name"], "v4l2_device.usb-1")
        self.assertEqual(device["media.class"], "Video/Device")
        self.assertIn("device.id", self.node(desktop))
        desktop.control("camera", "1", "unplug")
        self.assertEqual(self.properties(desktop, "Device"), [])

    def test_a_node_may_come_after_its_device(self):
        desktop = self.desktop("name=a,device=usb-1,node-delay=300")
        self.assertEqual(len(self.properties(desktop, "Device")), 1)
        desktop.control("camera", "1", "wait-idle")
        self.assertEqual(list(desktop.cameras()), ["a"])

    def test_a_node_without_formats(self):
        desktop = self.desktop("name=a,modes=none")
        self.assertEqual(list(desktop.cameras()), ["a"])
        self.assertNotIn("Video:size", self.formats(desktop))

    def test_formats_that_are_no_pictures_and_ranges(self):
        desktop = self.desktop("name=a,modes=H264:1280x720@30+BAYER:1920x1080@30+NV12:64x48..640x480%16@1..30")
        told = self.formats(desktop)
        for words in ("h264", "bayer", "Choice", "Range", "Step"):
            self.assertIn(words.lower(), told.lower())

    def formats(self, desktop):
        return desktop.command("pw-cli", "enum-params", str(self.identifier(desktop)), "EnumFormat").stdout

    def test_colorimetry_may_be_stated(self):
        for words, stated in (("", False), (",colorimetry=bt709-full", True)):
            desktop = self.desktop("name=a,modes=YUY2:1280x720@30" + words)
            formats = self.formats(desktop)
            self.assertIn("Video:size", formats)
            self.assertEqual("Video:colorMatrix" in formats, stated, formats)

    def identifier(self, desktop):
        serial, = desktop.cameras().values()
        listing = desktop.command("pw-cli", "ls", "Node").stdout
        for block in listing.split("\tid ")[1:]:
            if f'object.serial = "{serial}"' in block:
                return block.partition(",")[0]
        raise AssertionError(listing)


class Faults(CameraTest):
    def frames_with(self, fault):
        """Frames of a run with that fault: place among all that the camera sent, counted from 0 → what came of it. A busy
        machine loses some on their way, and some before they are sent."""
        folder = self.enterContext(tempfile.TemporaryDirectory())
        desktop = self.desktop(f"name=a,log={folder}/log,fault={fault}")
        _, frames = desktop.read_frames("a", MODE, "40")
        desktop.control("camera", "1", "wait-idle")
        with open(f"{folder}/log") as log:
            sent = [line.split()[0] for line in log][-int(desktop.state()["run-frames"]):]
        return {sent.index(sequence): (int(size), remarks) for sequence, size, _, *remarks in frames}

    def assert_affected(self, frames, is_affected):
        """That a fault of the frames 3 to 30 of the run befell them all, and no others."""
        affected = [place for place, (size, remarks) in frames.items() if is_affected(size, remarks)]
        self.assertTrue(affected)
        self.assertEqual(affected, [place for place in frames if 3 <= place <= 30])

    def test_stall(self):
        desktop = self.desktop("name=a,fault=stall:3")
        reader = self.reader(desktop, "a", MODE, "6")
        self.assertIn("run-frames=3 ", desktop.control("camera", "1", "wait-stalled"))
        self.assertIsNone(reader.poll())
        desktop.control("camera", "1", "resume")
        self.assertEqual(reader.wait(session.SECONDS), COMPLETE)

    def test_stall_in_the_first_run(self):
        desktop = self.desktop("name=a,fault=stall-once:3")
        reader = self.reader(desktop, "a", MODE, "6")
        self.assertIn("run-frames=3 ", desktop.control("camera", "1", "wait-stalled"))
        reader.kill()
        reader.wait(session.SECONDS)
        desktop.control("camera", "1", "wait-idle")
        self.assertEqual(self.reader(desktop, "a", MODE, "6").wait(session.SECONDS), COMPLETE)

    def test_stall_at_run_time(self):
        desktop = self.desktop("name=a")
        reader = self.reader(desktop, "a", MODE, "1000000")
        desktop.control("camera", "1", "wait-frames", "3")
        desktop.control("camera", "1", "stall")
        frames = desktop.control("camera", "1", "wait-stalled").split()
        self.assertIn("stalled=yes", frames)
        self.assertEqual(desktop.state()["run-frames"], dict(word.split("=") for word in frames)["run-frames"])
        self.assertIsNone(reader.poll())

    def test_error(self):
        desktop = self.desktop("name=a,fault=error:3")
        reader = self.reader(desktop, "a", MODE, "5")
        answer = desktop.control("camera", "1", "wait-failed")
        self.assertIn("run-frames=3 ", answer)
        self.assertIsNone(reader.poll())

    def test_error_at_run_time_lasts_until_the_camera_is_plugged_again(self):
        desktop = self.desktop("name=a")
        self.reader(desktop, "a", MODE, "1000000")
        desktop.control("camera", "1", "wait-frames", "2")
        self.assertIn("state=failed", desktop.control("camera", "1", "error"))
        self.assertIn("state=idle", desktop.control("camera", "1", "plug"))
        self.assertEqual(desktop.read_frames("a", MODE, "2")[0], COMPLETE)

    def test_unplug(self):
        desktop = self.desktop("name=a,fault=unplug:3")
        status, frames = desktop.read_frames("a", MODE, "5")
        self.assertEqual(status, UNPLUGGED)
        self.assertLessEqual(sequences(frames)[-1], 3)
        desktop.control("camera", "1", "wait-unplugged")
        self.assertEqual(desktop.cameras(), {})

    def test_crash(self):
        desktop = self.desktop("name=a,fault=crash:3")
        process = os.pidfd_open(int(desktop.environment["CAMERA_1_PID"]))
        status, frames = desktop.read_frames("a", MODE, "5")
        self.assertEqual(status, UNPLUGGED)
        self.assertLessEqual(sequences(frames)[-1], 3)
        self.assertTrue(all_ended([process]))

    def test_truncated(self):
        frames = self.frames_with("truncated:3-30")
        whole = max(size for size, _ in frames.values())
        self.assert_affected(frames, lambda size, _: size < whole / 2)

    def test_truncated_at_run_time(self):
        desktop = self.desktop("name=a")
        desktop.control("camera", "1", "truncate", "on")
        _, cut = desktop.read_frames("a", MODE, "1")
        desktop.control("camera", "1", "truncate", "off")
        _, whole = desktop.read_frames("a", MODE, "1")
        self.assertLess(min(sizes(cut).values()), min(sizes(whole).values()) / 2)

    def test_corrupted_flag(self):
        self.assert_affected(self.frames_with("corrupted-flag:3-30"), lambda _, remarks: "corrupted" in remarks)

    def test_damaged(self):
        frames = self.frames_with("damaged:4/5")
        whole = max(size for size, _ in frames.values())
        self.assertEqual({place for place, (size, _) in frames.items() if size > whole * 0.9},
                         {place for place in frames if place % 5 == 4})

    def test_damaged_at_run_time(self):
        desktop = self.desktop("name=a")
        desktop.control("camera", "1", "damage", "on")
        _, damaged = desktop.read_frames("a", MODE, "1")
        desktop.control("camera", "1", "damage", "off")
        _, whole = desktop.read_frames("a", MODE, "1")
        self.assertLess(min(sizes(damaged).values()), min(sizes(whole).values()) * 0.9)

    def test_a_frame_may_begin_past_its_buffer(self):
        desktop = self.desktop("name=a,fault=offset-past-end:0")
        _, frames = desktop.read_frames("a", MODE, "2")
        self.assertEqual(set(sizes(frames).values()), {0})

    def test_suspended_and_started_again_at_once_for_its_user(self):
        desktop = self.desktop("name=a,fault=suspend:3")
        self.assertEqual(desktop.read_frames("a", MODE, "8")[0], COMPLETE)
        self.assertEqual(desktop.state()["runs"], "2")

    def test_empty(self):
        self.assert_affected(self.frames_with("empty:3-30"), lambda size, _: size == 0)

    def test_busy(self):
        desktop = self.desktop("name=a,fault=busy")
        reader = self.reader(desktop, "a", MODE, "1")
        self.assertIn("total-frames=0 ", desktop.control("camera", "1", "wait-failed"))
        self.assert_refused(reader)
        desktop.control("camera", "1", "busy", "off")
        desktop.control("camera", "1", "plug")
        self.assertEqual(desktop.read_frames("a", MODE, "1")[0], COMPLETE)

    def test_busy_until_another_program_lets_go(self):
        desktop = self.desktop("name=a,fault=busy:100")
        self.assertIn(desktop.read_frames("a", MODE, "1")[0], (UNPLUGGED, FAILED))
        desktop.control("camera", "1", "wait-idle")
        self.assertEqual(desktop.read_frames("a", MODE, "1")[0], COMPLETE)

    def test_busy_and_told_so_each_time_until_another_program_lets_go(self):
        desktop = self.desktop("name=a,fault=told-busy")
        for _ in range(2):
            told = desktop.command(os.path.join(session.programs(), "frame_reader"), "a", MODE, "1")
            self.assertEqual(told.returncode, FAILED)
            self.assertIn("(Device or resource busy)", told.stdout + told.stderr)
        self.assertIn("total-frames=0 ", desktop.control("camera", "1", "busy", "off"))
        self.assertEqual(desktop.read_frames("a", MODE, "1")[0], COMPLETE)

    def test_busy_no_longer_for_one_who_keeps_asking(self):
        desktop = self.desktop("name=a,fault=busy:1000")
        deadline = time.monotonic() + 20
        while (status := desktop.read_frames("a", MODE, "1")[0]) != COMPLETE:
            self.assertLess(time.monotonic(), deadline, status)


class Life(CameraTest):
    def test_ends_in_good_order_on_a_signal(self):
        desktop = self.desktop("name=a", "name=b")
        pid = int(desktop.environment["CAMERA_1_PID"])
        process = os.pidfd_open(pid)
        os.kill(pid, signal.SIGTERM)
        self.assertTrue(all_ended([process]))
        self.assertEqual(list(desktop.cameras()), ["b"])
        self.assertFalse(os.path.exists(desktop.environment["CAMERA_1_CONTROL"]))

    def test_ends_on_request(self):
        desktop = self.desktop("name=a")
        process = os.pidfd_open(int(desktop.environment["CAMERA_1_PID"]))
        desktop.control("camera", "1", "exit")
        self.assertTrue(all_ended([process]))
        self.assertEqual(desktop.cameras(), {})
        self.assertEqual(desktop.read_frames("a", MODE, "1")[0], NO_CAMERA)

    def test_ends_with_its_parent(self):
        desktop = self.desktop()
        camera = os.path.join(session.programs(), "virtual_camera")
        parent = subprocess.Popen(
            ["sh", "-c", f"{camera} --ready-fd 1 name=orphan & echo $!; wait"], env=desktop.environment,
            stdout=subprocess.PIPE, text=True)
        self.addCleanup(parent.stdout.close)
        child = os.pidfd_open(int(read_line(parent)))
        self.assertTrue(read_line(parent).startswith("ready "))
        parent.kill()
        parent.wait(session.SECONDS)
        self.assertTrue(all_ended([child]))

    def test_says_what_it_does_not_understand(self):
        result = subprocess.run([os.path.join(session.programs(), "virtual_camera"), "colour=red"],
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 64)
        self.assertIn("'colour=red'", result.stderr)


if __name__ == "__main__":
    unittest.main()
