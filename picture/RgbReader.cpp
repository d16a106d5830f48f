#include "picture/RgbReader.h"

#include <algorithm>
#include <cmath>

#include <libyuv.h>

namespace picture {
namespace {

constexpr int kStudioBlack = 16;
constexpr int kStudioLevels = 219;  // from black to white
constexpr std::uint8_t kOpaque = 255;

std::uint8_t fullLevel(int level, bool limited) {
  if (!limited) return static_cast<std::uint8_t>(level);
  return static_cast<std::uint8_t>(
      std::clamp(std::lround((level - kStudioBlack) * 255.0 / kStudioLevels), 0L, 255L));
}

std::uint8_t fullLevelOf16Bits(int level, bool limited) {
  const std::int64_t black = limited ? kStudioBlack * 256 : 0;
  const std::int64_t levels = limited ? kStudioLevels * 256 : 65535;
  return static_cast<std::uint8_t>(
      std::clamp(((level - black) * 255 * 2 + levels) / (2 * levels), std::int64_t{0}, std::int64_t{255}));
}

}  // namespace

RgbReader::RgbReader(const Frame& frame)
    : layout_(PixelLayout::of(frame.format)),
      width_(frame.width),
      limited_(rangeOf(frame) == ColorRange::Limited) {
  for (int level = 0; level < 256; ++level)
    levels_[static_cast<std::size_t>(level)] = fullLevel(level, limited_);
}

void RgbReader::readRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  const auto bytes = static_cast<std::size_t>(width_) * 3;
  if (layout_.model == ColorModel::Grey) {
    greyToRgb(row, out);
    return;
  }
  if (layout_.format == PixelFormat::RGB) {
    std::copy_n(row, bytes, out);
  } else if (layout_.format == PixelFormat::BGR) {
    libyuv::RAWToRGB24(row, 0, out, 0, width_, 1);
  } else if (layout_.format == PixelFormat::RGB16) {
    // Not the library's conversion, which repeats the upper bits and so is off by up to half a level more.
    for (int x = 0; x < width_; ++x) {
      const int word = row[2 * x] | row[2 * x + 1] << 8;
      out[3 * x] = static_cast<std::uint8_t>(((word >> 11) * 255 + 15) / 31);
      out[3 * x + 1] = static_cast<std::uint8_t>(((word >> 5 & 63) * 255 + 31) / 63);
      out[3 * x + 2] = static_cast<std::uint8_t>(((word & 31) * 255 + 15) / 31);
    }
  } else {
    wordsToRgb(row, out);
  }
  if (limited_) std::transform(out, out + bytes, out, [this](std::uint8_t level) { return levels_[level]; });
}

// The library names layouts by little-endian words, so its ARGB is B G R x in memory, its RGB24 is B G R and
// its RAW is R G B. Components that begin with the second byte are read as if the row began there; the last
// pixel, whose word would then end beyond the row, is copied by hand.
void RgbReader::wordsToRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  const auto& [red, green, blue] = layout_.components;
  const std::uint8_t first = std::min(red.offset, blue.offset);
  const int words = width_ - 1;
  const auto convert = red.offset < blue.offset ? libyuv::ARGBToRGB24 : libyuv::ARGBToRAW;
  if (words > 0) convert(row + first, 0, out, 0, words, 1);
  const std::uint8_t* last = row + std::ptrdiff_t{4} * words;
  std::uint8_t* to = out + std::ptrdiff_t{3} * words;
  to[0] = last[red.offset];
  to[1] = last[green.offset];
  to[2] = last[blue.offset];
}

void RgbReader::wordsToBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  constexpr std::array kConversions = {libyuv::ABGRToARGB, libyuv::BGRAToARGB, libyuv::ARGBCopy,
                                       libyuv::RGBAToARGB};
  kConversions[layout_.components[0].offset](row, 0, out, 0, width_, 1);
  for (int x = 0; x < width_; ++x)
    out[4 * x + 3] = kOpaque;
}

void RgbReader::greyToRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  for (int x = 0; x < width_; ++x) {
    const std::uint8_t level =
        layout_.bits == 8 ? levels_[row[x]] : fullLevelOf16Bits(row[2 * x] | row[2 * x + 1] << 8, limited_);
    out[3 * x] = out[3 * x + 1] = out[3 * x + 2] = level;
  }
}

void RgbReader::greyToBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  const int step = layout_.planes[0].groupBytes;
  for (int x = 0; x < width_; ++x, out += 4) {
    out[0] = out[1] = out[2] = levels_[row[x * step + step - 1]];
    out[3] = kOpaque;
  }
}

void RgbReader::readBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  if (layout_.model == ColorModel::Grey) {
    greyToBgra(row, out);
    return;
  }
  if (layout_.format == PixelFormat::RGB16) {
    libyuv::RGB565ToARGB(row, 0, out, 0, width_, 1);
  } else if (layout_.planes[0].groupBytes == 3) {
    (layout_.components[0].offset == 0 ? libyuv::RAWToARGB : libyuv::RGB24ToARGB)(row, 0, out, 0, width_, 1);
  } else {
    wordsToBgra(row, out);
  }
  if (!limited_) return;
  for (int i = 0; i < 4 * width_; ++i)
    if (i % 4 != 3) out[i] = levels_[out[i]];
}

}  // namespace picture
