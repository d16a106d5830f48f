#!/usr/bin/python3
"""A silent run that goes well: the photo, its pixels, and the story of the run."""

import os
import re
import unittest
from pathlib import Path

import pixels
from tool import HD, Tool, ToolTest, control, in_desktop

PREFS = {"ShowPreview": False}


class SilentRun(ToolTest):
    @in_desktop(HD)
    def test_takes_a_photo_and_leaves(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        photo = self.assert_one_photo(tool)
        self.assertRegex(photo.name, r"^Camera shot \d{4}-\d\d-\d\d \d\d\.\d\d\.\d\d\.png$")

    @in_desktop(HD)
    def test_reports_launch_start_stop_and_quit(self):
        tool = Tool()
        tool.run()
        events = [(event["event"], event["prefs"], event["details"]) for event in tool.events()]
        self.assertEqual(
            events,
            [("Launch", PREFS, {"Silent": True}), ("Start", PREFS, None), ("Stop", PREFS, None), ("Quit", PREFS, None)],
        )
        analytics = (tool.state / "analytics-events.jsonl").read_text(encoding="utf-8").splitlines()
        self.assertEqual(len(analytics), 1)
        self.assertIn('"data":47,"toolStartType":0', analytics[0])

    @in_desktop(HD)
    def test_every_event_line_has_the_documented_form(self):
        tool = Tool()
        tool.run()
        line = (tool.state / "usage-events.jsonl").read_text(encoding="utf-8").splitlines()[0]
        self.assertRegex(
            line,
            r'^{"time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z","tool":"a5f597ea-d3f3-4347-bbe6-344e240acc7e",'
            r'"event":"Launch","prefs":{"ShowPreview":false},"details":{"Silent":true}}$',
        )

    @in_desktop(HD)
    def test_without_a_chosen_folder_the_photo_lands_in_the_users_pictures(self):
        tool = Tool()
        (tool.config / "locations.ini").unlink()
        self.assertEqual(tool.run(), 0)
        pictures = Path(os.environ["HOME"]) / "Pictures"
        self.assertEqual(len(list(pictures.glob("Camera shot *.png"))), 1)


class Pixels(ToolTest):
    @in_desktop(HD)
    def test_the_picture_is_mirrored(self):
        tool = Tool()
        tool.run()
        picture = pixels.decode_png(self.assert_one_photo(tool))
        self.assertEqual((picture.width, picture.height), (1280, 720))
        red, blue = picture.at(0.97, 0.5), picture.at(0.03, 0.5)
        self.assertGreater(red[0], 180)
        self.assertGreater(blue[2], 180)
        self.assertGreater(picture.at(0.5, 0.02)[1], 120)  # the green bar stays above

    def check_exact(self, tool, frames):
        tool.run()
        photo = pixels.decode_png(self.assert_one_photo(tool))
        sent = sorted(Path(frames).glob("*.jpg"))
        matching = [frame for frame in sent if pixels.decode_jpeg(frame).mirrored().samples == photo.samples]
        # The camera sends the same picture again and again; any of the frames may be the photo.
        self.assertTrue(matching, f"none of the {len(sent)} frames sent equals the photo")

    @in_desktop()
    def test_an_mjpeg_photo_equals_the_reference_decoder_reversed(self):
        frames = os.path.join(os.environ["HOME"], "frames")
        control("add-camera", f"name=desk,title=Desk,modes=MJPG:640x480@15,noise=10,dump={frames}")
        self.check_exact(Tool(), frames)

    def check_raw(self, tool):
        tool.run()
        picture = pixels.decode_png(self.assert_one_photo(tool))
        for (x, y), expected in {
            (0.97, 0.5): (210, 30, 30),
            (0.03, 0.5): (30, 30, 210),
            (0.5, 0.02): (30, 160, 30),
            (0.5, 0.98): (220, 210, 40),
        }.items():
            for value, wanted in zip(picture.at(x, y), expected):
                self.assertAlmostEqual(value, wanted, delta=2, msg=f"{picture.at(x, y)} at {x}, {y}")

    @in_desktop("name=raw,modes=YUY2:640x480@30")
    def test_a_yuy2_photo_has_the_cameras_colours(self):
        self.check_raw(Tool())

    @in_desktop("name=raw,modes=NV12:640x480@30")
    def test_an_nv12_photo_has_the_cameras_colours(self):
        self.check_raw(Tool())

    @in_desktop("name=raw,modes=YUY2:1280x720@30,colorimetry=bt709-limited")
    def test_a_yuy2_photo_of_hd_size_has_the_cameras_colours(self):
        self.check_raw(Tool())

    @in_desktop("name=desk,modes=MJPG:640x480@30+MJPG:1920x1080@30/15+YUY2:1920x1080@5+MJPG:3840x2160@10")
    def test_the_best_mode_that_is_fast_enough_is_used(self):
        tool = Tool()
        tool.run()
        picture = pixels.decode_png(self.assert_one_photo(tool))
        self.assertEqual((picture.width, picture.height), (1920, 1080))

    @in_desktop("name=desk,modes=MJPG:640x480@30,warmup=25")
    def test_the_photo_waits_until_the_exposure_has_settled(self):
        tool = Tool()
        tool.run()
        self.assertGreater(pixels.decode_png(self.assert_one_photo(tool)).at(0.97, 0.5)[0], 180)

    @in_desktop("name=desk,modes=MJPG:640x480@30,fault=black:0-35")
    def test_the_photo_waits_for_a_picture_with_something_in_it(self):
        tool = Tool()
        tool.run()
        self.assertGreater(pixels.decode_png(self.assert_one_photo(tool)).at(0.97, 0.5)[0], 180)

    @in_desktop("name=desk,modes=MJPG:640x480@30,fault=black:0")
    def test_a_covered_lens_gives_a_black_photo(self):
        tool = Tool()
        tool.run()
        self.assertLess(max(pixels.decode_png(self.assert_one_photo(tool)).at(0.5, 0.5)), 20)

    @in_desktop(HD)
    def test_the_file_says_when_the_photo_was_taken_and_that_it_is_srgb(self):
        tool = Tool()
        tool.run()
        said = self.assert_whole_png(self.assert_one_photo(tool))
        chunks = re.findall(r"chunk (\w{4}) at", said)
        self.assertEqual(chunks[0], "IHDR")
        self.assertEqual(chunks[-1], "IEND")
        first_data = chunks.index("IDAT")
        for name in ("sRGB", "tIME", "eXIf"):
            self.assertIn(name, chunks[:first_data])
        self.assertRegex(said, r"1280 x 720 image, 24-bit RGB")


if __name__ == "__main__":
    unittest.main()
