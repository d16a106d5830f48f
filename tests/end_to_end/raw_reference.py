"""Raw frames decoded slowly, pixel by pixel, as the standards say: what photos are compared with."""

from pixels import Picture

# Where samples lie: (plane, offset, step, columns, rows) of luma and both colour differences. A sample stands for that
# many columns and rows of pixels; offsets and steps are bytes, or samples where these lie closer than that.


def _pairs(luma, blue, red):
    return [(0, luma, 2, 1, 1), (0, blue, 4, 2, 1), (0, red, 4, 2, 1)]


def _by_turns(units):
    """Blue difference, luma, red difference, luma; each takes so many units."""
    return [(0, units, 2 * units, 1, 1), (0, 0, 4 * units, 2, 1), (0, 2 * units, 4 * units, 2, 1)]


def _whole_pixels(step, *offsets):
    return [(0, offset, step, 1, 1) for offset in offsets]


def _two_planes(blue, columns, rows, size=1):
    return [(0, 0, size, 1, 1)] + [(1, size * offset, 2 * size, columns, rows) for offset in (blue, 1 - blue)]


def _three_planes(blue, columns, rows, size=1):
    return [(0, 0, size, 1, 1)] + [(plane, 0, size, columns, rows) for plane in (blue, 3 - blue)]


_ONE_PLANE = {"YUY2": _pairs(0, 1, 3), "UYVY": _pairs(1, 0, 2), "YVYU": _pairs(0, 3, 1), "VYUY": _pairs(1, 2, 0),
              "AYUV": _whole_pixels(4, 1, 2, 3), "v308": _whole_pixels(3, 0, 1, 2), "IYU2": _whole_pixels(3, 1, 0, 2),
              "v210": _by_turns(1), "UYVP": _by_turns(1), "v216": _by_turns(2)}
_TWO_PLANES = {"NV12": _two_planes(0, 2, 2), "NV21": _two_planes(1, 2, 2), "NV16": _two_planes(0, 2, 1),
               "NV61": _two_planes(1, 2, 1), "NV24": _two_planes(0, 1, 1), "P010": _two_planes(0, 2, 2, 2)}
_THREE_PLANES = {"I420": _three_planes(1, 2, 2), "YV12": _three_planes(2, 2, 2), "Y42B": _three_planes(1, 2, 1),
                 "Y444": _three_planes(1, 1, 1), "I420_10LE": _three_planes(1, 2, 2, 2),
                 "I422_10LE": _three_planes(1, 2, 1, 2), "Y444_10LE": _three_planes(1, 1, 1, 2),
                 "I420_10BE": _three_planes(1, 2, 2, 2), "I422_12LE": _three_planes(1, 2, 1, 2)}
_GREY = {"GRAY8": [(0, 0, 1, 1, 1)], "GRAY16_LE": [(0, 0, 2, 1, 1)], "GRAY16_BE": [(0, 0, 2, 1, 1)]}
_PLACES = _ONE_PLANE | _TWO_PLANES | _THREE_PLANES | _GREY
# Of a sample; otherwise 8.
_BITS = {"P010": 10, "I420_10LE": 10, "I422_10LE": 10, "Y444_10LE": 10, "I420_10BE": 10, "v210": 10, "UYVP": 10, "I422_12LE": 12,
         "v216": 16, "GRAY16_LE": 16, "GRAY16_BE": 16}
# The distance of pixels in bytes, then where red, green and blue lie.
_PRIMARIES = {"RGB": (3, 0, 1, 2), "BGR": (3, 2, 1, 0), "RGBx": (4, 0, 1, 2), "RGBA": (4, 0, 1, 2), "BGRx": (4, 2, 1, 0),
              "BGRA": (4, 2, 1, 0), "xRGB": (4, 1, 2, 3), "ARGB": (4, 1, 2, 3), "xBGR": (4, 3, 2, 1), "ABGR": (4, 3, 2, 1)}
_WORDS = {"RGB16": (5, 6, 5), "RGB15": (5, 5, 5)}  # bits of red, green and blue, the lowest are blue's

ONE_PLANE, TWO_PLANES, THREE_PLANES, GREY = tuple(_ONE_PLANE), tuple(_TWO_PLANES), tuple(_THREE_PLANES), tuple(_GREY)
RGB = (*_PRIMARIES, *_WORDS)

# Weights of red and blue in luma: ITU-R BT.601-7, BT.709-6, BT.2020-2, SMPTE 240M.
_WEIGHTS = {"bt601": (0.299, 0.114), "bt709": (0.2126, 0.0722), "bt2020": (0.2627, 0.0593), "smpte240m": (0.212, 0.087)}


def _up(number, multiple):
    return (number + multiple - 1) // multiple * multiple


def _level(value):
    """A number from 0 to 1 as a sample of eight bits."""
    return min(255, max(0, int(255 * value + 0.5)))


class _Frame:
    """Bytes with the strides that cameras give: those of the chroma planes follow from luma's."""

    def __init__(self, data, name, width, height, padding):
        self.data, self.name, self.width, self.height = data, name, width, height
        self.bits = _BITS.get(name, 8)
        self.places = _PLACES.get(name, [])
        luma = self._luma_stride() + padding
        self.starts, self.strides = [0], [luma]
        end = luma * height
        for plane in range(1, 1 + max((place[0] for place in self.places), default=0)):
            _, _, step, columns, rows = next(place for place in self.places if place[0] == plane)
            self.starts.append(end)
            self.strides.append(luma * step // self.places[0][2] // columns)
            end += self.strides[-1] * ((height + rows - 1) // rows)

    def _luma_stride(self):
        if not self.places:
            step = 2 if self.name in _WORDS else _PRIMARIES[self.name][0]
        else:
            step = self.places[0][2]
        if step == 3:
            return _up(3 * self.width, 4)
        if self.name == "v210":
            return 128 * (_up(self.width, 48) // 48)
        if self.name == "UYVP":
            return 5 * (_up(self.width, 2) // 2)
        return step * _up(self.width, max((place[3] for place in self.places), default=1))

    def byte(self, plane, row, at):
        return self.data[self.starts[plane] + row * self.strides[plane] + at]

    def word(self, plane, row, at):
        low, high = (1, 0) if self.name.endswith("BE") else (0, 1)
        return self.byte(plane, row, at + low) | self.byte(plane, row, at + high) << 8

    def sample(self, place, column, row):
        plane, offset, step, _, _ = place
        at = offset + column * step
        if self.name == "v210":
            word = self.word(0, row, at // 3 * 4) | self.word(0, row, at // 3 * 4 + 2) << 16
            return word >> 10 * (at % 3) & 1023
        if self.name == "UYVP":
            first, bit = divmod(10 * at, 8)
            return (self.byte(0, row, first) << 8 | self.byte(0, row, first + 1)) >> (6 - bit) & 1023
        if self.bits == 8:
            return self.byte(plane, row, at)
        word = self.word(plane, row, at)
        return word >> 6 if self.name == "P010" else word

    def luma(self, x, y):
        return self.sample(self.places[0], x, y)

    def chroma(self, place, x, y):
        """Interpolated: samples lie on the even pixels of a row and midway between two rows (the siting of MPEG-2)."""
        _, _, _, columns, rows = place
        last_column, last_row = (self.width - 1) // columns, (self.height - 1) // rows
        near_column, near_row = x // columns, y // rows
        far_column = min(near_column + 1, last_column) if columns == 2 and x % 2 else near_column
        if rows == 1:
            far_row = near_row
        else:
            far_row = min(max(near_row + (1 if y % 2 else -1), 0), last_row)

        def in_row(row):
            return (self.sample(place, near_column, row) + self.sample(place, far_column, row)) / 2

        return (3 * in_row(near_row) + in_row(far_row)) / 4


def _from_word(frame, x, y):
    word, levels = frame.word(0, y, 2 * x), []
    for bits in reversed(_WORDS[frame.name]):
        most = (1 << bits) - 1
        levels.append(_level((word & most) / most))
        word >>= bits
    return levels[::-1]


def _from_yuv(frame, x, y, matrix, limited):
    unit, most = 1 << (frame.bits - 8), (1 << frame.bits) - 1
    luma = (frame.luma(x, y) - 16 * unit) / (219 * unit) if limited else frame.luma(x, y) / most
    blue, red = [(frame.chroma(place, x, y) - 128 * unit) / (224 * unit if limited else most)
                 for place in frame.places[1:]] or (0, 0)
    red_weight, blue_weight = _WEIGHTS[matrix]
    r = luma + 2 * (1 - red_weight) * red
    b = luma + 2 * (1 - blue_weight) * blue
    g = (luma - red_weight * r - blue_weight * b) / (1 - red_weight - blue_weight)
    return _level(r), _level(g), _level(b)


def decode(data, name, width, height, *, padding=0, matrix="bt601", limited=None):
    """The picture in a frame of that format; `padding` are bytes at the end of each row. Where the camera states nothing,
    colours are limited to the studio's range, and grey is not."""
    if limited is None:
        limited = name not in GREY
    frame = _Frame(data, name, width, height, padding)
    samples = bytearray()
    for y in range(height):
        for x in range(width):
            if name in _PRIMARIES:
                step, *order = _PRIMARIES[name]
                samples += bytes(frame.byte(0, y, step * x + offset) for offset in order)
            elif name in _WORDS:
                samples += bytes(_from_word(frame, x, y))
            else:
                samples += bytes(_from_yuv(frame, x, y, matrix, limited))
    return Picture(width, height, bytes(samples))
