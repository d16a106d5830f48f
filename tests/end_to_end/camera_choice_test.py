#!/usr/bin/env python3
"""Which cameras there are and which one comes first, among all that PipeWire shows as sources of pictures."""

import subprocess
import unittest

import pixels
from tool import Tool, ToolTest, in_desktop
from window_case import WindowTest
from windows import in_windowed_desktop

MODES = "modes=MJPG:320x240@30"
CHOSEN = f"name=chosen,title=Desk camera,{MODES},tint=20e020"
OTHER = f"{MODES},tint=e02020"
V4L2 = "property=device.api=v4l2,property=api.v4l2.path=/dev/video"


def is_of_chosen(picture):
    red, green, blue = picture.at(0.3, 0.3)
    return green > 2 * red and green > 2 * blue


class Order(ToolTest):
    """Nothing is chosen in the settings."""

    def assert_photo_of_chosen(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertTrue(is_of_chosen(pixels.decode_png(self.assert_one_photo(tool))))

    @in_desktop("name=ir,title=Front camera,modes=GRAY8:340x340@30", CHOSEN)
    def test_a_grey_camera_comes_after_colour(self):
        self.assert_photo_of_chosen()

    @in_desktop("name=ir,title=Integrated IR Camera,modes=YUY2:320x240@30,tint=e02020", CHOSEN)
    def test_a_camera_named_infrared_comes_after_others_although_it_sends_colour(self):
        self.assert_photo_of_chosen()

    @in_desktop(f"name=loop,title=Dummy video device (0x0000),property=api.v4l2.cap.driver=v4l2 loopback,{V4L2}0,{OTHER}",
                CHOSEN)
    def test_a_loopback_comes_after_cameras(self):
        self.assert_photo_of_chosen()

    @in_desktop(f"name=a,title=First,property=priority.session=900,{OTHER}", f"{CHOSEN},property=priority.session=1000",
                f"name=c,title=Third,property=priority.session=980,{OTHER}")
    def test_the_sessions_priority_decides(self):
        self.assert_photo_of_chosen()

    @in_desktop(f"name=ir,title=IR,modes=GRAY8:320x240@30,property=priority.session=1000", CHOSEN +
                ",property=priority.session=800")
    def test_kinds_of_camera_count_more_than_priority(self):
        self.assert_photo_of_chosen()

    @in_desktop(f"name=sensor,title=imx,modes=BAYER:1920x1080@30,{V4L2}0", f"name=stream,modes=H264:1920x1080@30,{V4L2}1",
                f"name=meta,modes=none,{V4L2}2", CHOSEN)
    def test_nodes_that_give_no_picture_are_no_cameras(self):
        self.assert_photo_of_chosen()

    @in_desktop("name=ir,title=IR camera,modes=GRAY8:320x240@30")
    def test_an_infrared_camera_is_better_than_none(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assert_one_photo(tool)


class Ports(ToolTest):
    """Nodes that state their formats at their ports only, as those of modules and of filters do."""

    @in_desktop()
    def test_the_pattern_of_the_daemons_own_source(self):
        properties = ("factory.name=videotestsrc library.name=videotestsrc/libspa-videotestsrc node.name=pattern "
                      "node.description=Pattern media.class=Video/Source media.role=Camera object.linger=1")
        subprocess.run(["pw-cli", "create-node", "spa-node-factory", f"{{ {properties} }}"], check=True,
                       capture_output=True)
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        picture = pixels.decode_png(self.assert_one_photo(tool))
        self.assertEqual((picture.width, picture.height), (320, 240))
        # The colour bars of SMPTE from the right, as photos are mirrored: grey, yellow, cyan, green, magenta, red, blue.
        bars = [tuple(level > 100 for level in picture.at(1 - (bar + 0.5) / 7, 0.2)) for bar in range(7)]
        self.assertEqual(bars, [(True, True, True), (True, True, False), (False, True, True), (False, True, False),
                                (True, False, True), (True, False, False), (False, False, True)])


class NoCameras(ToolTest):
    def assert_no_camera(self):
        tool = Tool()
        self.assertEqual(tool.run(), 0, tool.log())
        self.assertEqual(tool.names(), ["Launch", "Quit"])
        self.assert_no_photo(tool)

    @in_desktop(f"name=xdg-desktop-portal-wlr,property=media.role=Screen,modes=BGRx:320x240@30",
                f"name=gamescope,title=,property=media.role=,modes=BGRx:320x240@30/60")
    def test_a_shared_screen_is_no_camera_with_or_without_a_role(self):
        self.assert_no_camera()

    @in_desktop(f"name=sensor,title=imx,modes=BAYER:1920x1080@30,{V4L2}0", f"name=stream,modes=H264:1920x1080@30,{V4L2}1",
                f"name=meta,modes=none,{V4L2}2")
    def test_the_journal_says_why_a_node_is_no_camera(self):
        self.assert_no_camera()
        log = Tool().log()
        for word in ("H.264", "Bayer"):
            self.assertIn(word.lower(), log.lower())


class Popup(WindowTest):
    """What the preferences list, from the first that is chosen by itself."""

    DEVICE = "device-property=device.devids=20736"
    BY_V4L2 = (f"name=v4l2_input.usb-1,title=Desk camera (V4L2),property=node.nick=Desk camera,device=v4l2_device.usb-1,{DEVICE},"
               f"property=device.devids=20736,property=priority.session=1000,{V4L2}0,{MODES},tint=20e020")
    BY_LIBCAMERA = (f"name=libcamera_input.usb-1,title=Desk camera  Desk camera,property=node.nick=Desk camera,"
                    f"device=libcamera_device.usb-1,{DEVICE},property=device.devids=20736,property=device.api=libcamera,"
                    f"property=priority.session=700,{MODES},tint=e02020")
    SECOND = f"name=second,title=Second camera,{MODES},property=priority.session=500"

    @in_windowed_desktop(BY_LIBCAMERA, BY_V4L2, SECOND)
    def test_a_device_shown_twice_is_listed_once_by_its_bare_name(self):
        self.open_preferences()
        self.wait_for_shown_camera("Desk camera")
        self.choose_camera("Second camera", 1)
        self.choose_camera("Desk camera", -1)

    @in_windowed_desktop(f"name=same,title=First camera,{OTHER}", f"name=same,title=Second camera,{MODES},tint=20e020")
    def test_two_cameras_of_one_name_can_each_be_chosen(self):
        tool = self.open_preferences()
        self.choose_camera("Second camera", 1)
        self.assertEqual(tool.stop(), 0)
        silent = Tool(settings=self.settings(tool).replace("ShowPreview=true", "ShowPreview=false"))
        self.assertEqual(silent.run(), 0, silent.log())
        self.assertTrue(is_of_chosen(pixels.decode_png(self.assert_one_photo(silent))))


if __name__ == "__main__":
    unittest.main()
