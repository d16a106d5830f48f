#include "picture/RgbReader.h"

#include <algorithm>
#include <cmath>

#include <libyuv.h>

#include "picture/SampleWords.h"

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

std::uint8_t fullLevelOfBits(int level, int bits, bool limited) {
  const std::int64_t black = limited ? kStudioBlack << (bits - 8) : 0;
  const std::int64_t levels = limited ? kStudioLevels << (bits - 8) : (1 << bits) - 1;
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
  for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
    const int most = (1 << layout_.fields[i].bits) - 1;
    for (int level = 0; level <= most && most > 0; ++level)
      fieldLevels_[i][static_cast<std::size_t>(level)] =
          static_cast<std::uint8_t>((level * 255 + most / 2) / most);
  }
}

std::array<std::uint8_t, 3> RgbReader::sharedWord(const std::uint8_t* at) const noexcept {
  const bool isBigEndian = layout_.word.isBigEndian;
  const std::uint32_t word =
      layout_.planes[0].groupBytes == 4 ? longWordAt(at, isBigEndian) : wordAt(at, isBigEndian);
  const auto level = [&](std::size_t component) {
    const auto [shift, bits] = layout_.fields[component];
    return fieldLevels_[component][word >> shift & ((1U << bits) - 1)];
  };
  return {level(0), level(1), level(2)};
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
  } else if (layout_.fields[0].bits > 0) {
    // Not the library's conversion, which repeats the upper bits and so is off by up to half a level more.
    for (int x = 0; x < width_; ++x) {
      const auto levels = sharedWord(row + layout_.planes[0].groupBytes * x);
      std::copy(levels.begin(), levels.end(), out + 3 * x);
    }
  } else if (layout_.bits > 8) {
    return deepTo(row, out, 3, {0, 1, 2});
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

int RgbReader::deepLevel(const std::uint8_t* at) const noexcept {
  return wordAt(at, layout_.word.isBigEndian) & ((1 << layout_.bits) - 1);
}

std::uint8_t RgbReader::fullDeepLevel(const std::uint8_t* at) const noexcept {
  return fullLevelOfBits(deepLevel(at), layout_.bits, limited_);
}

void RgbReader::deepTo(const std::uint8_t* row, std::uint8_t* out, int step,
                       std::array<int, 3> places) const noexcept {
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::uint8_t* at = row + layout_.components[i].offset;
    for (int x = 0; x < width_; ++x, at += layout_.components[i].step)
      out[step * x + places[i]] = fullDeepLevel(at);
  }
}

void RgbReader::greyToRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  for (int x = 0; x < width_; ++x) {
    const std::uint8_t level = layout_.bits == 8 ? levels_[row[x]] : fullDeepLevel(row + 2 * x);
    out[3 * x] = out[3 * x + 1] = out[3 * x + 2] = level;
  }
}

void RgbReader::greyToBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  for (int x = 0; x < width_; ++x, out += 4) {
    const int upperEight = layout_.bits == 8 ? row[x] : deepLevel(row + 2 * x) >> (layout_.bits - 8);
    out[0] = out[1] = out[2] = levels_[static_cast<std::size_t>(upperEight)];
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
  } else if (layout_.fields[0].bits > 0) {
    for (int x = 0; x < width_; ++x) {
      const auto [red, green, blue] = sharedWord(row + layout_.planes[0].groupBytes * x);
      out[4 * x] = blue;
      out[4 * x + 1] = green;
      out[4 * x + 2] = red;
      out[4 * x + 3] = kOpaque;
    }
  } else if (layout_.bits > 8) {
    deepTo(row, out, 4, {2, 1, 0});
    for (int x = 0; x < width_; ++x)
      out[4 * x + 3] = kOpaque;
    return;
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
