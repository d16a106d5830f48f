#!/usr/bin/python3
"""Cameras as they are met in the field: the photo that each gives."""

import unittest

from field_case import FieldTest, Lying, jpeg, raw
from raw_reference import FORMATS
from tool import in_desktop

MJPG = "modes=MJPG:320x240@30,noise=8"
# A raw sample is rounded once in the photo and once in the reference.
ROUNDED = 1


class Jpegs(FieldTest):
    """Equal to the reference decoder's picture, whatever it warns of."""

    @in_desktop()
    def test_stray_bytes(self):
        words = ("restart:4+stray:1", "restart:10+stray:12", "stray-end:1", "stray-end:20", "420+restart:5+stray:3")
        self.check([(f"{MJPG},jpeg={each}", jpeg) for each in words])

    @in_desktop()
    def test_what_comes_after_the_end(self):
        words = ("zeros:1", "zeros:5000", "rubbish:2", "rubbish:5000", "two-ends", "no-end", "no-end+zeros:700")
        self.check([(f"{MJPG},jpeg={each}", jpeg) for each in words])

    @in_desktop()
    def test_kinds_of_jpeg(self):
        words = ("no-tables", "420", "444", "grey", "progressive", "no-tables+420+restart:4+stray:2+zeros:3000")
        self.check([(f"{MJPG},jpeg={each}", jpeg) for each in words]
                   + [("modes=MJPG:321x241@30,noise=8,jpeg=420", jpeg), ("modes=MJPG:337x225@15", jpeg)])

    @in_desktop()
    def test_most_frames_are_damaged(self):
        whole = f"{MJPG},fault=damaged:"
        self.check([(whole + "1/2", whole_jpeg), (whole + "4/5", whole_jpeg), (whole + "9/10", whole_jpeg),
                    (whole + "4/5,jpeg=restart:4", whole_jpeg), (f"{MJPG},fault=truncated:20-50", whole_jpeg)])


def whole_jpeg(path):
    """A frame that lacks a part is no photo while whole ones come."""
    whole = max(other.stat().st_size for other in path.parent.iterdir())
    return jpeg(path) if path.stat().st_size > 0.8 * whole else None


class Raw(FieldTest):
    """Every format of uncompressed pictures, of odd sizes, with padded rows."""

    def check_formats(self, names):
        self.check([(f"modes={name}:161x121@30,noise=8,padding=12", raw(name, 161, 121, padding=12)) for name in names]
                   + [(f"modes={name}:160x120@30,noise=8", raw(name, 160, 120)) for name in names], tolerance=ROUNDED)

    @in_desktop()
    def test_yuv(self):
        self.check_formats(FORMATS[:8])

    @in_desktop()
    def test_planes_and_grey(self):
        self.check_formats(FORMATS[8:13])

    @in_desktop()
    def test_rgb(self):
        self.check_formats(FORMATS[13:])

    @in_desktop()
    def test_colours(self):
        stated = [(f"modes=NV12:160x120@30,noise=8,colorimetry={matrix}-{extent}",
                   raw("NV12", 160, 120, matrix=matrix, limited=extent == "limited"))
                  for matrix in ("bt601", "bt709", "bt2020", "smpte240m") for extent in ("limited", "full")]
        large = [("modes=YUY2:256x720@15", raw("YUY2", 256, 720)),
                 ("modes=NV12:256x1080@15,colorimetry=bt709-limited", raw("NV12", 256, 1080, matrix="bt709"))]
        self.check(stated + large, tolerance=ROUNDED)

    @in_desktop()
    def test_buffers(self):
        name, width, height = "NV12", 160, 120
        words = ("memory=memfd", "memory=memptr", "memory=dmabuf", "memory=dmabuf,lead=64", "blocks=each", "blocks=shared",
                 "blocks=shared,memory=dmabuf,lead=4096", "blocks=each,memory=dmabuf", "lead=128", "fault=no-stride",
                 "memory=dmabuf,fault=without-memory")
        cameras = [(f"modes={name}:{width}x{height}@30,noise=8,{each}", raw(name, width, height)) for each in words]
        cameras += [("modes=I420:160x120@30,blocks=shared", raw("I420", 160, 120)),
                    ("modes=YV12:160x120@30,blocks=each,padding=32", raw("YV12", 160, 120, padding=32)),
                    ("modes=MJPG:320x240@30,memory=dmabuf", jpeg)]
        self.check(cameras, tolerance=ROUNDED)


class Transforms(FieldTest):
    """The photo is upright, then mirrored, however the camera is mounted."""

    TRANSFORMS = ("none", "90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270")

    @in_desktop()
    def test_jpeg(self):
        self.check([(f"{MJPG},transform={each}", Lying(jpeg, each)) for each in self.TRANSFORMS])

    @in_desktop()
    def test_raw(self):
        self.check([(f"modes=YUY2:160x122@30,noise=8,transform={each}", Lying(raw("YUY2", 160, 122), each))
                    for each in self.TRANSFORMS], tolerance=ROUNDED)


class Odd(FieldTest):
    """Cameras whose frames are whole but come in unusual ways."""

    @in_desktop()
    def test_rates_and_sizes(self):
        self.check([("modes=MJPG:320x240@5", jpeg), ("modes=MJPG:320x240@0", jpeg), ("modes=MJPG:320x240@30000:1001", jpeg),
                    ("modes=MJPG:320x240@1..30", jpeg), ("modes=MJPG:64x48..320x240%16@30", jpeg),
                    ("modes=MJPG:64x48..330x250%16@30", jpeg), ("modes=MJPG:unstated@30", jpeg),
                    ("modes=MJPG:320x240@unstated", jpeg), ("modes=MJPG:unstated@unstated", jpeg),
                    ("modes=MJPG:64x48..320x240@15/5", jpeg)])

    @in_desktop()
    def test_time_and_light(self):
        self.check([(f"{MJPG},fault=time-backwards:0", jpeg), (f"{MJPG},fault=offset-past-end:3-12", jpeg),
                    (f"{MJPG},fault=empty:0-9", jpeg), (f"{MJPG},fault=corrupted-flag:20-50", jpeg),
                    (f"{MJPG},start-delay=900", jpeg), (f"{MJPG},drop=2", jpeg)])


if __name__ == "__main__":
    unittest.main()
