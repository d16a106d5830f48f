#include "tests/desktop/virtual-camera/RawEncoder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace virtual_camera {
namespace {

constexpr std::uint8_t kPadding = 0xa5;

struct Mean {
  double red = 0;
  double green = 0;
  double blue = 0;
};

Mean mean(const RgbPicture& picture, std::uint32_t x, std::uint32_t y, std::uint32_t columns,
          std::uint32_t rows) {
  Mean sum;
  const auto right = std::min(x + columns, picture.width);
  const auto bottom = std::min(y + rows, picture.height);
  for (auto row = y; row < bottom; ++row) {
    for (auto column = x; column < right; ++column) {
      const auto* sample = picture.at(column, row);
      sum.red += sample[0];
      sum.green += sample[1];
      sum.blue += sample[2];
    }
  }
  const double count = (right - x) * (bottom - y);
  return {sum.red / count, sum.green / count, sum.blue / count};
}

/// Colours to samples of `bits` bits.
class Sampler {
 public:
  Sampler(const Colorimetry& colorimetry, unsigned bits)
      : weights_(lumaWeights(colorimetry.matrix)),
        full_(colorimetry.range == Colorimetry::Range::kFull),
        most_(std::exp2(bits) - 1),
        unit_(std::exp2(bits - 8.0)) {}

  std::uint32_t sample(Channel channel, Mean colour) const {
    const double luma = weights_.red * colour.red + (1 - weights_.red - weights_.blue) * colour.green +
                        weights_.blue * colour.blue;
    switch (channel) {
      case Channel::kLuma:
        return rounded(full_ ? luma / 255 * most_ : unit_ * (16 + luma * 219 / 255));
      case Channel::kBlueDifference:
        return difference((colour.blue - luma) / (2 * (1 - weights_.blue)));
      case Channel::kRedDifference:
        return difference((colour.red - luma) / (2 * (1 - weights_.red)));
      case Channel::kRed:
        return rounded(colour.red);
      case Channel::kGreen:
        return rounded(colour.green);
      case Channel::kBlue:
        return rounded(colour.blue);
      case Channel::kUnused:
        break;
    }
    return kPadding;
  }

 private:
  std::uint32_t difference(double part) const {
    return rounded(128 * unit_ + (full_ ? part / 255 * most_ : unit_ * part * 224 / 255));
  }
  std::uint32_t rounded(double value) const {
    return static_cast<std::uint32_t>(std::clamp(value + 0.5, 0.0, most_));
  }

  LumaWeights weights_;
  bool full_;
  double most_;
  double unit_;
};

void putWord(std::uint8_t* at, std::uint32_t word) {
  at[0] = static_cast<std::uint8_t>(word & 0xff);
  at[1] = static_cast<std::uint8_t>(word >> 8);
}

/// `row` holds bits, the first the highest of its byte.
void putBit(std::uint8_t* row, std::size_t at, bool isSet) {
  const auto mask = static_cast<std::uint8_t>(0x80 >> at % 8);
  row[at / 8] = static_cast<std::uint8_t>(isSet ? row[at / 8] | mask : row[at / 8] & ~mask);
}

/// `at` counts as the places of the format do.
void put(std::uint8_t* row, std::size_t at, const RawFormat& raw, std::uint32_t sample) {
  if (raw.packing == Packing::kThrees) {
    auto* const word = row + at / 3 * 4;
    const auto shift = 10 * (at % 3);
    const auto others = word[0] | word[1] << 8 | word[2] << 16 | std::uint32_t{word[3]} << 24;
    const auto all = (static_cast<std::uint32_t>(others) & ~(0x3ffU << shift)) | sample << shift;
    putWord(word, all & 0xffff);
    putWord(word + 2, all >> 16);
  } else if (raw.packing == Packing::kString) {
    for (unsigned bit = 0; bit < raw.bits; ++bit)
      putBit(row, at * raw.bits + bit, (sample >> (raw.bits - 1 - bit) & 1) != 0);
  } else if (raw.bits == 8) {
    row[at] = static_cast<std::uint8_t>(sample);
  } else {
    putWord(row + at, sample << raw.shift);
    if (raw.isBigEndian) std::swap(row[at], row[at + 1]);
  }
}

void putRgbWord(std::uint8_t* frame, const FrameLayout& layout, std::uint32_t x, std::uint32_t y,
                const std::uint8_t* sample) {
  const auto green = greenBits(layout.format);
  putWord(frame + y * layout.stride() + std::size_t{2} * x, std::uint32_t{sample[0]} >> 3 << (5 + green) |
                                                                std::uint32_t{sample[1]} >> (8 - green) << 5 |
                                                                std::uint32_t{sample[2]} >> 3);
}

/// The part of `picture` inside of `area`, whose edges are those of whole chroma samples or the picture's,
/// goes into the frame; `at` gives the mean colour of some pixels.
template <typename At>
void draw(std::uint8_t* frame, const FrameLayout& layout, const Colorimetry& colorimetry, Rectangle area,
          At at) {
  const auto raw = rawFormat(layout.format);
  const Sampler sampler(colorimetryOf(layout.format, colorimetry), raw.bits);
  for (const auto& place : raw.channels) {
    const auto& plane = layout.planes[place.plane];
    for (auto y = area.top; y < area.bottom; y += place.rows) {
      auto* row = frame + plane.offset + y / place.rows * plane.stride;
      for (auto x = area.left; x < area.right; x += place.columns)
        put(row, place.offset + std::size_t{x} / place.columns * place.step, raw,
            sampler.sample(place.channel, at(x, y, place.columns, place.rows)));
    }
  }
}

}  // namespace

Bytes encodeRaw(const RgbPicture& picture, const FrameLayout& layout, const Colorimetry& colorimetry) {
  Bytes frame(layout.size, kPadding);
  const Rectangle all{0, 0, picture.width, picture.height};
  draw(frame.data(), layout, colorimetry, all,
       [&](auto x, auto y, auto columns, auto rows) { return mean(picture, x, y, columns, rows); });
  if (greenBits(layout.format) > 0) {
    for (std::uint32_t y = 0; y < picture.height; ++y) {
      for (std::uint32_t x = 0; x < picture.width; ++x)
        putRgbWord(frame.data(), layout, x, y, picture.at(x, y));
    }
  }
  return frame;
}

void drawCounterRaw(std::uint8_t* frame, const FrameLayout& layout, const Colorimetry& colorimetry,
                    std::uint16_t count) {
  for (unsigned bit = 0; bit < kCounterBits; ++bit) {
    const auto grey = (count >> bit & 1) != 0 ? kCounterOn : kCounterOff;
    const auto cell = counterCell(layout.width, layout.height, bit);
    const double level = grey;
    draw(frame, layout, colorimetry, cell, [=](auto...) { return Mean{level, level, level}; });
    if (greenBits(layout.format) == 0) continue;
    const std::array<std::uint8_t, 3> sample{grey, grey, grey};
    for (auto y = cell.top; y < cell.bottom; ++y) {
      for (auto x = cell.left; x < cell.right; ++x)
        putRgbWord(frame, layout, x, y, sample.data());
    }
  }
}

}  // namespace virtual_camera
