"""Raw frames decoded slowly, pixel by pixel, as the standards say: what photos are compared with."""

from pixels import Picture

# Where samples lie: (plane, offset, step, columns, rows) of luma and both colour differences. A sample stands for that
# many columns and rows of pixels; offsets and steps are bytes.
_PACKED = {"YUY2": (0, 1, 3), "UYVY": (1, 0, 2), "YVYU": (0, 3, 1), "VYUY": (1, 2, 0)}
_TWO_PLANES = {"NV12": (0, 2, 2), "NV21": (1, 2, 2), "NV16": (0, 2, 1), "NV24": (0, 1, 1)}
_THREE_PLANES = {"I420": (1, 2), "YV12": (2, 1)}
_PRIMARIES = {"RGB": (3, 0, 1, 2), "BGR": (3, 2, 1, 0), "RGBx": (4, 0, 1, 2), "RGBA": (4, 0, 1, 2), "BGRx": (4, 2, 1, 0),
              "BGRA": (4, 2, 1, 0), "xRGB": (4, 1, 2, 3), "ARGB": (4, 1, 2, 3), "xBGR": (4, 3, 2, 1), "ABGR": (4, 3, 2, 1)}
FORMATS = (*_PACKED, *_TWO_PLANES, *_THREE_PLANES, "P010", "GRAY8", "GRAY16_LE", *_PRIMARIES, "RGB16")

# Weights of red and blue in luma: ITU-R BT.601-7, BT.709-6, BT.2020-2, SMPTE 240M.
_WEIGHTS = {"bt601": (0.299, 0.114), "bt709": (0.2126, 0.0722), "bt2020": (0.2627, 0.0593), "smpte240m": (0.212, 0.087)}


def _up(number, multiple):
    return (number + multiple - 1) // multiple * multiple


def _level(value):
    """A number from 0 to 1 as a sample of eight bits."""
    return min(255, max(0, int(255 * value + 0.5)))


class _Frame:
    """Bytes with the strides that cameras give: chroma rows are as long as luma's, or follow from them."""

    def __init__(self, data, name, width, height, padding):
        self.data, self.name, self.width, self.height = data, name, width, height
        even = _up(width, 2)
        luma = {"P010": 2 * even, "GRAY16_LE": 2 * width, "RGB16": 2 * width, "GRAY8": width, "NV24": width}.get(name, even)
        if name in _PACKED:
            luma = 2 * even
        if name in _PRIMARIES:
            step = _PRIMARIES[name][0]
            luma = _up(3 * width, 4) if step == 3 else 4 * width
        luma += padding
        rows = height if name in ("NV16", "NV24") else (height + 1) // 2
        chroma = luma // 2 if name in _THREE_PLANES else 2 * luma if name == "NV24" else luma
        self.strides = (luma, chroma, chroma)
        self.starts = (0, luma * height, luma * height + chroma * rows)

    def byte(self, plane, row, at):
        return self.data[self.starts[plane] + row * self.strides[plane] + at]

    def word(self, plane, row, at):
        return self.byte(plane, row, at) | self.byte(plane, row, at + 1) << 8

    def chroma_places(self):
        """(plane, offset, step, columns, rows) of the blue and the red difference."""
        if self.name in _PACKED:
            return [(0, offset, 4, 2, 1) for offset in _PACKED[self.name][1:]]
        if self.name in _TWO_PLANES:
            blue, columns, rows = _TWO_PLANES[self.name]
            return [(1, offset, 2, columns, rows) for offset in (blue, 1 - blue)]
        if self.name == "P010":
            return [(1, offset, 4, 2, 2) for offset in (0, 2)]
        return [(plane, 0, 1, 2, 2) for plane in _THREE_PLANES[self.name]]

    def luma(self, x, y):
        if self.name == "P010":
            return self.word(0, y, 2 * x) >> 6
        if self.name == "GRAY16_LE":
            return self.word(0, y, 2 * x)
        if self.name in _PACKED:
            return self.byte(0, y, 2 * x + _PACKED[self.name][0])
        return self.byte(0, y, x)

    def chroma(self, place, x, y):
        """Interpolated: samples lie on the even pixels of a row and midway between two rows (the siting of MPEG-2)."""
        plane, offset, step, columns, rows = place
        last_column, last_row = (self.width - 1) // columns, (self.height - 1) // rows
        near_column, near_row = x // columns, y // rows
        far_column = min(near_column + 1, last_column) if columns == 2 and x % 2 else near_column
        if rows == 1:
            far_row = near_row
        else:
            far_row = min(max(near_row + (1 if y % 2 else -1), 0), last_row)

        def sample(column, row):
            if self.name == "P010":
                return self.word(plane, row, offset + column * step) >> 6
            return self.byte(plane, row, offset + column * step)

        def in_row(row):
            return (sample(near_column, row) + sample(far_column, row)) / 2

        return (3 * in_row(near_row) + in_row(far_row)) / 4


def _rgb16(frame, x, y):
    word = frame.word(0, y, 2 * x)
    return _level((word >> 11) / 31), _level((word >> 5 & 63) / 63), _level((word & 31) / 31)


def _from_yuv(frame, x, y, places, matrix, limited):
    bits = {"P010": 10, "GRAY16_LE": 16}.get(frame.name, 8)
    unit, most = 1 << (bits - 8), (1 << bits) - 1
    luma = (frame.luma(x, y) - 16 * unit) / (219 * unit) if limited else frame.luma(x, y) / most
    blue, red = [(frame.chroma(place, x, y) - 128 * unit) / (224 * unit if limited else most) for place in places] or (0, 0)
    red_weight, blue_weight = _WEIGHTS[matrix]
    r = luma + 2 * (1 - red_weight) * red
    b = luma + 2 * (1 - blue_weight) * blue
    g = (luma - red_weight * r - blue_weight * b) / (1 - red_weight - blue_weight)
    return _level(r), _level(g), _level(b)


def decode(data, name, width, height, *, padding=0, matrix="bt601", limited=None):
    """The picture in a frame of that format; `padding` are bytes at the end of each row. Where the camera states nothing,
    colours are limited to the studio's range, and grey is not."""
    if limited is None:
        limited = not name.startswith("GRAY")
    frame = _Frame(data, name, width, height, padding)
    places = [] if name.startswith("GRAY") or name in _PRIMARIES or name == "RGB16" else frame.chroma_places()
    samples = bytearray()
    for y in range(height):
        for x in range(width):
            if name in _PRIMARIES:
                step, *order = _PRIMARIES[name]
                samples += bytes(frame.byte(0, y, step * x + offset) for offset in order)
            elif name == "RGB16":
                samples += bytes(_rgb16(frame, x, y))
            else:
                samples += bytes(_from_yuv(frame, x, y, places, matrix, limited))
    return Picture(width, height, bytes(samples))
