"""Pictures as rows of RGB samples, decoded by programs that are not ours."""

import subprocess


class Picture:
    """Packed 8-bit RGB."""

    def __init__(self, width, height, samples):
        self.width, self.height, self.samples = width, height, samples

    def at(self, x, y):
        """The pixel at a place given as a fraction of width and height."""
        column, row = int(x * self.width), int(y * self.height)
        first = 3 * (row * self.width + column)
        return tuple(self.samples[first : first + 3])

    def mirrored(self):
        """The picture reversed left to right."""
        result = bytearray(len(self.samples))
        stride = 3 * self.width
        for channel in range(3):
            plane = self.samples[channel::3]
            turned = b"".join(
                plane[row * self.width : (row + 1) * self.width][::-1] for row in range(self.height)
            )
            result[channel::3] = turned
        assert len(result) == stride * self.height
        return Picture(self.width, self.height, bytes(result))


def _read_ppm(data):
    magic, width, height, depth = data.split(maxsplit=4)[:4]
    assert magic == b"P6" and depth == b"255", data[:20]
    size = 3 * int(width) * int(height)
    return Picture(int(width), int(height), data[-size:])


def decode_png(path):
    """Decoded by ImageMagick."""
    return _read_ppm(subprocess.run(["convert", path, "-depth", "8", "ppm:-"], capture_output=True, check=True).stdout)


def decode_jpeg(path):
    """Decoded by the reference program of libjpeg-turbo, with its default settings."""
    return _read_ppm(subprocess.run(["djpeg", "-pnm", path], capture_output=True, check=True).stdout)
