"""Cameras as they are met in the field: a silent run with each, many side by side, and the photo that it should be."""

import os
from pathlib import Path

import pixels
import raw_reference
from tool import Tool, ToolTest, apart, control

_COUNTER_BITS = 16


class FieldCamera:
    """A camera that writes down what it sends, and a run of the tool that has chosen it."""

    def __init__(self, number, description):
        self.description = description
        self.name = f"field-{number}"
        self.folder = Path(os.environ["HOME"]) / self.name
        self.sent = self.folder / "sent"
        environment = apart(self.folder)
        control("add-camera", f"name={self.name},title={self.name},dump={self.sent},{description}")
        self.tool = Tool(settings=f"[Defaults]\nShowPreview=false\nVideoSourceID={self.name}\n",
                         environment=environment)

    def frames(self):
        """What was sent, each different picture once."""
        different = {}
        for path in sorted(self.sent.iterdir()):
            different.setdefault(path.read_bytes(), path)
        return [path for data, path in different.items() if data]


def jpeg(path):
    return pixels.decode_jpeg(path)


def raw(name, width, height, **how):
    """A decoder of frames in that raw format."""
    return lambda path: raw_reference.decode(path.read_bytes(), name, width, height, **how)


class Lying:
    """Decodes frames that lie in the buffer flipped left to right and then turned counter-clockwise, upright again."""

    def __init__(self, decode, transform):
        self._decode = decode
        self._flipped, angle = "flipped" in transform, transform.split("-")[-1]
        self._turns = int(angle) // 90 if angle.isdigit() else 0

    def __call__(self, path):
        picture = self._decode(path)
        for _ in range(self._turns):
            picture = picture.turned()
        return picture.mirrored() if self._flipped else picture

    def as_sent(self, upright):
        """The upright picture as it lies in the buffer."""
        picture = upright.mirrored() if self._flipped else upright
        for _ in range(-self._turns % 4):
            picture = picture.turned()
        return picture


class FieldTest(ToolTest):
    """`check` runs the tool with each of the cameras, many at once: no more than get their first picture in good time."""

    _AT_ONCE = 3 * len(os.sched_getaffinity(0))

    def check(self, cameras, *, tolerance=0):
        """`cameras` are pairs of a description and a function that decodes one of the frames sent, upright; None for a
        frame that must not be the photo."""
        field = [(FieldCamera(number, description), decode) for number, (description, decode) in enumerate(cameras, 1)]
        for begin in range(0, len(field), self._AT_ONCE):
            self.check_at_once(field[begin:begin + self._AT_ONCE], tolerance)

    def check_at_once(self, field, tolerance):
        for camera, _ in field:
            self.addCleanup(camera.tool.start().end)
        for camera, decode in field:
            with self.subTest(camera.description):
                self.assertEqual(camera.tool.wait(), 0, camera.tool.log())
                photo = pixels.decode_png(self.assert_one_photo(camera.tool))
                self.assert_shows_one_of(photo, camera, decode, tolerance)

    def assert_shows_one_of(self, photo, camera, decode, tolerance):
        nearest = 256
        for path in self.likely(photo, camera, decode):
            picture = decode(path)
            if picture is not None:
                nearest = min(nearest, photo.furthest(picture.mirrored()))
            if nearest <= tolerance:
                return
        self.fail(f"{camera.description}: the photo ({photo.width}x{photo.height}) is none of the frames sent; it differs "
                  f"from the nearest by {nearest}\n{camera.tool.log()}")

    @staticmethod
    def likely(photo, camera, decode):
        """The frames sent, those first whose number the photo shows."""
        upright = photo.mirrored()
        count = counter(decode.as_sent(upright) if isinstance(decode, Lying) else upright)
        frames = camera.frames()
        shown = [path for path in frames if int(path.stem) & 0xFFFF == count]
        return shown + [path for path in frames if path not in shown][:_COUNTER_BITS]


def counter(picture):
    """The frame's number, which raw pictures show in binary."""
    cell = picture.width // 32 & ~1
    left = picture.width // 4 & ~1
    y = (picture.height * 13 // 16 + picture.height * 14 // 16) // 2
    count = 0
    for bit in range(_COUNTER_BITS):
        x = left + (_COUNTER_BITS - 1 - bit) * cell + cell // 2
        count |= (picture.samples[3 * (y * picture.width + x) + 1] > 128) << bit
    return count
