"""What a camera must give, whoever brings its pictures."""

import subprocess
from pathlib import Path

from guest import camera_frames
import pixels
from tool import Tool, ToolTest

# The largest difference of a sample: none where no colour is converted, the rounding of few bits, else that of Y'CbCr,
# there by the driver and back by us.
_TOLERANCES = {name: 0 for name in ("RGB", "BGR", "RGBx", "BGRx", "xRGB", "xBGR", "RGBA", "BGRA", "ARGB", "ABGR")} | {
    "RGB16": 8, "RGB16_BE": 8, "RGB15": 8, "BGR15": 8, "RGB12": 17}
_TOLERANCE = 3


def make_jpeg(path, shift):
    """A colourful JPEG of a webcam's usual kind: twice as many columns of luma as of colour."""
    width, height = 640, 480
    row = b"".join(bytes(((x + shift) % 256, x // 3 % 256, (x * 7 + shift) % 256)) for x in range(width))
    rows = b"".join(row[3 * y % (3 * width):] + row[:3 * y % (3 * width)] for y in range(height))
    jpeg = subprocess.run(["cjpeg", "-quality", "90", "-sample", "2x1"], input=b"P6 %d %d 255\n" % (width, height) + rows,
                          stdout=subprocess.PIPE, check=True).stdout
    Path(path).write_bytes(jpeg)
    return path


class SceneTest(ToolTest):
    """The source under test is `source`, as camera_frames names it."""

    source = ""

    def assert_exact_formats(self, reference):
        """Every format gives the RGB picture; answers their names."""
        outcomes = {name: outcome for name, *outcome in (
            line.split() for line in camera_frames(self.source, "compare", reference))}
        for name, outcome in outcomes.items():
            with self.subTest(format=name):
                largest, flat = (int(number) for number in outcome)
                self.assertLessEqual(largest, _TOLERANCES.get(name, _TOLERANCE))
                self.assertGreater(flat, 40)
        return set(outcomes)

    def take_photo(self, settings=""):
        """The photo of a silent run."""
        tool = Tool(settings=f"[Defaults]\nShowPreview=false\n{settings}")
        self.assertEqual(tool.run(), 0, tool.log())
        path = self.assert_one_photo(tool)
        picture = pixels.decode_png(path)
        path.unlink()
        return picture

    def assert_busy_while_another_program_streams(self):
        """A silent run without a photo says in its log that the first camera is in use."""
        tool = Tool()
        self.addCleanup(tool.end)
        with subprocess.Popen(["v4l2-ctl", "-d", "0", "--stream-mmap"], stderr=subprocess.PIPE) as holder:
            self.addCleanup(holder.kill)
            holder.stderr.read(1)  # a picture has come
            tool.start()
            # 16 is EBUSY.
            tool.wait_for_failure()
            self.assertIn("code = 16.", tool.log())
            tool.stop()
            holder.kill()
        self.assert_no_photo(tool)

    def assert_webcam_exact(self, frames):
        """A silent photo is one of these JPEGs, reversed, to the bit."""
        photo = self.take_photo()
        sent = [pixels.decode_jpeg(frame).mirrored().samples for frame in frames]
        self.assertIn(photo.samples, sent)
