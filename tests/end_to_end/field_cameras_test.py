#!/usr/bin/python3
"""Cameras as they are met in the field: the photo that each gives."""

import unittest

import pixels
import raw_reference
from field_case import FieldTest, Lying, jpeg, raw
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
    def test_inks(self):
        self.check([(f"{MJPG},jpeg={each}", jpeg) for each in ("cmyk", "ycck", "cmyk+restart:4+stray:1", "ycck+zeros:700")])

    @in_desktop()
    def test_what_the_reference_decoder_does_not_read(self):
        """It is given what it does read."""
        self.check([(f"{MJPG},jpeg={each}", early_height) for each in ("late-height", "late-height+420+restart:4")]
                   + [(f"{MJPG},jpeg=before:{count}", Behind(count)) for count in (1, 512, 65533)])

    @in_desktop()
    def test_most_frames_are_damaged(self):
        whole = f"{MJPG},fault=damaged:"
        self.check([(whole + "1/2", whole_jpeg), (whole + "4/5", whole_jpeg), (whole + "9/10", whole_jpeg),
                    (whole + "4/5,jpeg=restart:4", whole_jpeg), (f"{MJPG},fault=truncated:20-50", whole_jpeg)])


def whole_jpeg(path):
    """A frame that lacks a part is no photo while whole ones come."""
    whole = max(other.stat().st_size for other in path.parent.iterdir())
    return jpeg(path) if path.stat().st_size > 0.8 * whole else None


def early_height(path):
    """The height that stands behind the scan (ITU-T T.81, B.2.5) is put into the frame header (B.2.2)."""
    before, frame, rest = path.read_bytes().partition(b"\xff\xc0")
    height = rest.rpartition(b"\xff\xdc\0\4")[2][:2]
    assert rest[3:5] == b"\0\0" != height
    return pixels.decode_jpeg_stream(before + frame + rest[:3] + height + rest[5:])


class Behind:
    """Decodes a stream that stands behind so many bytes of the camera's own."""

    def __init__(self, count):
        self._count = count

    def __call__(self, path):
        return pixels.decode_jpeg_stream(path.read_bytes()[self._count:])


class Raw(FieldTest):
    """Every format of uncompressed pictures, of odd sizes, with padded rows."""

    def check_formats(self, names):
        self.check([(f"modes={name}:161x121@30,noise=8,padding=12", raw(name, 161, 121, padding=12)) for name in names]
                   + [(f"modes={name}:160x120@30,noise=8", raw(name, 160, 120)) for name in names], tolerance=ROUNDED)

    @in_desktop()
    def test_yuv_in_one_plane(self):
        self.check_formats(raw_reference.ONE_PLANE)

    @in_desktop()
    def test_yuv_in_two_planes(self):
        self.check_formats(raw_reference.TWO_PLANES)

    @in_desktop()
    def test_yuv_in_three_planes(self):
        self.check_formats(raw_reference.THREE_PLANES)

    @in_desktop()
    def test_grey(self):
        self.check_formats(raw_reference.GREY)

    @in_desktop()
    def test_rgb(self):
        self.check_formats(raw_reference.RGB)

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
                 "memory=dmabuf,fault=without-memory", "buffers=1", "buffers=20")
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
