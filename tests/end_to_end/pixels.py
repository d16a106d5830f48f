"""Pictures as rows of RGB samples, decoded by programs that are not ours."""

import subprocess


_WARNED = 2  # exit status of djpeg


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


    def turned(self):
        """The picture turned clockwise by a right angle."""
        rows = [self.samples[3 * self.width * y : 3 * self.width * (y + 1)] for y in range(self.height)]
        turned = b"".join(rows[y][3 * x : 3 * x + 3] for x in range(self.width) for y in reversed(range(self.height)))
        return Picture(self.height, self.width, turned)

    def furthest(self, other):
        """The largest difference of two samples; more than any when the sizes differ."""
        if (self.width, self.height) != (other.width, other.height):
            return 256
        return max(abs(one - two) for one, two in zip(self.samples, other.samples))


def _read_ppm(data):
    """Of colour or grey (P5)."""
    magic, width, height, depth = data.split(maxsplit=4)[:4]
    assert magic in (b"P5", b"P6") and depth == b"255", data[:20]
    size = int(width) * int(height)
    samples = data[-3 * size:] if magic == b"P6" else bytes(level for level in data[-size:] for _ in range(3))
    return Picture(int(width), int(height), samples)


def decode_png(path):
    """Decoded by ImageMagick."""
    return _read_ppm(subprocess.run(["convert", path, "-depth", "8", "ppm:-"], capture_output=True, check=True).stdout)


def decode_jpeg(path):
    with open(path, "rb") as file:
        return decode_jpeg_stream(file.read())


def decode_jpeg_stream(data):
    """Decoded by the reference program of libjpeg-turbo, with its default settings. It warns of what is odd."""
    done = subprocess.run(["djpeg", "-pnm"], input=data, capture_output=True, check=False)
    if done.returncode not in (0, _WARNED):
        raise AssertionError(done.stderr.decode())
    return _read_ppm(done.stdout)
