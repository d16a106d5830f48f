#include "tests/picture/RawFrames.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <stdexcept>

namespace camera_shot_test {
namespace {

using picture::Frame;
using picture::PixelFormat;
using enum picture::PixelFormat;

// Written out format by format, from the formats' public descriptions and not from the code under test.

std::size_t half(std::size_t size) {
  return (size + 1) / 2;
}

struct Sampling {
  int across = 1;
  int down = 1;
};

Sampling samplingOf(PixelFormat format) {
  switch (format) {
    case YUY2:
    case UYVY:
    case YVYU:
    case VYUY:
    case NV16:
    case NV61:
    case Y42B:
    case YV16:
    case I422_10:
      return {2, 1};
    case NV12:
    case NV21:
    case I420:
    case YV12:
    case P010:
    case I420_10:
      return {2, 2};
    default:
      return {1, 1};
  }
}

std::size_t leastStride(const Frame& frame) {
  const auto width = static_cast<std::size_t>(frame.width);
  switch (frame.format) {
    case YUY2:
    case UYVY:
    case YVYU:
    case VYUY:
      return 4 * half(width);
    case P010:
    case I420_10:
    case I422_10:
    case RGB16:
    case RGB16_BE:
    case RGB15:
    case BGR15:
    case RGB12:
    case GRAY10:
    case GRAY12:
    case GRAY16:
    case GRAY16_BE:
      return 2 * width;
    case RGB:
    case BGR:
    case v308:
    case IYU2:
      return 3 * width;
    case AYUV:
    case VUYA:
    case YUVA:
    case RGBx:
    case BGRx:
    case xRGB:
    case xBGR:
    case RGBA:
    case BGRA:
    case ARGB:
    case ABGR:
      return 4 * width;
    default:
      return width;
  }
}

std::size_t chromaStride(const Frame& frame) {
  const auto width = static_cast<std::size_t>(frame.width);
  const auto stride = static_cast<std::size_t>(frame.stride);
  switch (frame.format) {
    case NV12:
    case NV21:
    case NV16:
    case NV61:
      return std::max(stride, 2 * half(width));
    case P010:
      return std::max(stride, 4 * half(width));
    case NV24:
    case NV42:
      return 2 * stride;
    case I420:
    case YV12:
    case Y42B:
    case YV16:
      return std::max(stride / 2, half(width));
    case I420_10:
    case I422_10:
      return std::max(stride / 2, 2 * half(width));
    case Y444:
    case YV24:
      return stride;
    default:
      return 0;
  }
}

std::size_t chromaRows(const Frame& frame) {
  const auto height = static_cast<std::size_t>(frame.height);
  return samplingOf(frame.format).down == 2 ? half(height) : height;
}

// Where component 0, 1 or 2 (luma and colour differences, or red, green and blue) has its sample; `x` and `y`
// count the component's own samples.
std::size_t sampleAt(const Frame& frame, int component, int sampleX, int sampleY) {
  const auto x = static_cast<std::size_t>(sampleX);
  const auto y = static_cast<std::size_t>(sampleY);
  const auto stride = static_cast<std::size_t>(frame.stride);
  const std::size_t row = y * stride;
  const std::size_t second = static_cast<std::size_t>(frame.height) * stride;
  const std::size_t chromaRow = second + y * chromaStride(frame);
  const std::size_t third = chromaRow + chromaRows(frame) * chromaStride(frame);
  const auto pick = [component](std::size_t a, std::size_t b, std::size_t c) {
    return component == 0 ? a : component == 1 ? b : c;
  };
  switch (frame.format) {
    case YUY2:
      return row + pick(2 * x, 4 * x + 1, 4 * x + 3);
    case UYVY:
      return row + pick(2 * x + 1, 4 * x, 4 * x + 2);
    case YVYU:
      return row + pick(2 * x, 4 * x + 3, 4 * x + 1);
    case VYUY:
      return row + pick(2 * x + 1, 4 * x + 2, 4 * x);
    case NV12:
    case NV16:
    case NV24:
      return pick(row + x, chromaRow + 2 * x, chromaRow + 2 * x + 1);
    case NV21:
    case NV61:
    case NV42:
      return pick(row + x, chromaRow + 2 * x + 1, chromaRow + 2 * x);
    case P010:
      return pick(row + 2 * x, chromaRow + 4 * x, chromaRow + 4 * x + 2);
    case I420:
    case Y42B:
    case Y444:
      return pick(row + x, chromaRow + x, third + x);
    case YV12:
    case YV16:
    case YV24:
      return pick(row + x, third + x, chromaRow + x);
    case I420_10:
    case I422_10:
      return pick(row + 2 * x, chromaRow + 2 * x, third + 2 * x);
    case AYUV:
      return row + 4 * x + pick(1, 2, 3);
    case VUYA:
      return row + 4 * x + pick(2, 1, 0);
    case YUVA:
      return row + 4 * x + pick(0, 1, 2);
    case v308:
      return row + 3 * x + pick(0, 1, 2);
    case IYU2:
      return row + 3 * x + pick(1, 0, 2);
    case RGB:
      return row + 3 * x + pick(0, 1, 2);
    case BGR:
      return row + 3 * x + pick(2, 1, 0);
    case RGBx:
    case RGBA:
      return row + 4 * x + pick(0, 1, 2);
    case BGRx:
    case BGRA:
      return row + 4 * x + pick(2, 1, 0);
    case xRGB:
    case ARGB:
      return row + 4 * x + pick(1, 2, 3);
    case xBGR:
    case ABGR:
      return row + 4 * x + pick(3, 2, 1);
    case RGB16:
    case RGB16_BE:
    case RGB15:
    case BGR15:
    case RGB12:
    case GRAY10:
    case GRAY12:
    case GRAY16:
    case GRAY16_BE:
      return row + 2 * x;
    case GRAY8:
      return row + x;
    case MJPG:
      break;
  }
  throw std::invalid_argument("not an uncompressed format");
}

bool isGrey(PixelFormat format) {
  return format >= GRAY8;
}

/// Red, green and blue in one word: the lowest bit and the largest number of each.
struct SharedWord {
  std::array<int, 3> shifts{};
  std::array<int, 3> largest{};
};

std::optional<SharedWord> sharedWordOf(PixelFormat format) {
  switch (format) {
    case RGB16:
    case RGB16_BE:
      return SharedWord{{11, 5, 0}, {31, 63, 31}};
    case RGB15:
      return SharedWord{{10, 5, 0}, {31, 31, 31}};
    case BGR15:
      return SharedWord{{0, 5, 10}, {31, 31, 31}};
    case RGB12:
      return SharedWord{{8, 4, 0}, {15, 15, 15}};
    default:
      return {};
  }
}

int bitsOf(PixelFormat format) {
  switch (format) {
    case P010:
    case I420_10:
    case I422_10:
    case GRAY10:
      return 10;
    case GRAY12:
      return 12;
    case GRAY16:
    case GRAY16_BE:
      return 16;
    default:
      return 8;
  }
}

int wordAt(const Frame& frame, std::size_t at) {
  const int first = frame.bytes.at(at);
  const int second = frame.bytes.at(at + 1);
  const bool isBigEndian = frame.format == RGB16_BE || frame.format == GRAY16_BE;
  return isBigEndian ? first << 8 | second : first | second << 8;
}

void storeWord(Frame& frame, std::size_t at, unsigned word) {
  const auto low = static_cast<std::uint8_t>(word);
  const auto high = static_cast<std::uint8_t>(word >> 8);
  const bool isBigEndian = frame.format == RGB16_BE || frame.format == GRAY16_BE;
  frame.bytes.at(at) = isBigEndian ? high : low;
  frame.bytes.at(at + 1) = isBigEndian ? low : high;
}

bool isFull(const Frame& frame) {
  return frame.range == picture::ColorRange::Full ||
         (frame.range == picture::ColorRange::Unstated && !isYuv(frame.format));
}

double sample(const Frame& frame, int component, int x, int y) {
  const std::size_t at = sampleAt(frame, component, x, y);
  if (bitsOf(frame.format) == 8) return frame.bytes.at(at);
  const int word = wordAt(frame, at);
  return frame.format == P010 ? word >> 6 : word & ((1 << bitsOf(frame.format)) - 1);
}

// As a fraction of black to white, or of the colour difference's span around its middle.
double lumaFraction(const Frame& frame, double value) {
  const double scale = std::pow(2, bitsOf(frame.format) - 8);
  return isFull(frame) ? value / (256 * scale - 1) : (value / scale - 16) / 219;
}

double chromaFraction(const Frame& frame, double value) {
  const double scale = std::pow(2, bitsOf(frame.format) - 8);
  return (value - 128 * scale) / (isFull(frame) ? 256 * scale - 1 : 224 * scale);
}

double interpolatedChroma(const Frame& frame, int component, int x, int y) {
  const auto [across, down] = samplingOf(frame.format);
  const int lastColumn = (frame.width - 1) / across;
  const int lastRow = (frame.height - 1) / down;
  const auto inRow = [&](int row) {
    const int column = x / across;
    const double left = sample(frame, component, column, row);
    if (across == 1 || x % 2 == 0) return left;
    return (left + sample(frame, component, std::min(column + 1, lastColumn), row)) / 2;
  };
  if (down == 1) return inRow(y);
  const int other = y % 2 == 0 ? std::max(y / 2 - 1, 0) : std::min(y / 2 + 1, lastRow);
  return 0.75 * inRow(y / 2) + 0.25 * inRow(other);
}

std::pair<double, double> redAndBlueWeight(picture::ColorMatrix matrix) {
  switch (matrix) {
    case picture::ColorMatrix::BT709:
      return {0.2126, 0.0722};
    case picture::ColorMatrix::BT2020:
      return {0.2627, 0.0593};
    case picture::ColorMatrix::FCC:
      return {0.30, 0.11};
    case picture::ColorMatrix::SMPTE240M:
      return {0.212, 0.087};
    case picture::ColorMatrix::BT601:
      break;
  }
  return {0.299, 0.114};
}

std::array<double, 3> exactYuvPixel(const Frame& frame, int x, int y) {
  const auto [redWeight, blueWeight] = redAndBlueWeight(frame.matrix);
  const double luma = lumaFraction(frame, sample(frame, 0, x, y));
  const double blueDifference = chromaFraction(frame, interpolatedChroma(frame, 1, x, y));
  const double redDifference = chromaFraction(frame, interpolatedChroma(frame, 2, x, y));
  const double red = luma + redDifference * 2 * (1 - redWeight);
  const double blue = luma + blueDifference * 2 * (1 - blueWeight);
  const double green = (luma - redWeight * red - blueWeight * blue) / (1 - redWeight - blueWeight);
  return {red, green, blue};
}

std::array<double, 3> exactFractions(const Frame& frame, int x, int y) {
  if (isYuv(frame.format)) return exactYuvPixel(frame, x, y);
  if (isGrey(frame.format)) {
    const double grey = lumaFraction(frame, sample(frame, 0, x, y));
    return {grey, grey, grey};
  }
  if (const auto shared = sharedWordOf(frame.format)) {
    const int word = wordAt(frame, sampleAt(frame, 0, x, y));
    const auto part = [&](std::size_t channel) {
      return (word >> shared->shifts[channel] & shared->largest[channel]) /
             static_cast<double>(shared->largest[channel]);
    };
    return {part(0), part(1), part(2)};
  }
  return {lumaFraction(frame, sample(frame, 0, x, y)), lumaFraction(frame, sample(frame, 1, x, y)),
          lumaFraction(frame, sample(frame, 2, x, y))};
}

void store(Frame& frame, int component, int x, int y, double value) {
  const std::size_t at = sampleAt(frame, component, x, y);
  const int bits = bitsOf(frame.format);
  const auto level = static_cast<unsigned>(std::clamp(std::lround(value), 0L, (1L << bits) - 1));
  if (bits == 8) {
    frame.bytes.at(at) = static_cast<std::uint8_t>(level);
    return;
  }
  storeWord(frame, at, frame.format == P010 ? level << 6 : level);
}

}  // namespace

bool isYuv(PixelFormat format) {
  return format >= YUY2 && format <= I422_10;
}

const char* nameOf(PixelFormat format) {
  constexpr std::array kNames = {
      "MJPG",     "YUY2",  "UYVY",  "YVYU",  "VYUY",  "NV12",    "NV21",    "NV16",   "NV61",
      "NV24",     "NV42",  "I420",  "YV12",  "Y42B",  "YV16",    "Y444",    "YV24",   "AYUV",
      "VUYA",     "YUVA",  "v308",  "IYU2",  "P010",  "I420_10", "I422_10", "RGB",    "BGR",
      "RGBx",     "BGRx",  "xRGB",  "xBGR",  "RGBA",  "BGRA",    "ARGB",    "ABGR",   "RGB16",
      "RGB16_BE", "RGB15", "BGR15", "RGB12", "GRAY8", "GRAY10",  "GRAY12",  "GRAY16", "GRAY16_BE"};
  static_assert(kNames.size() == picture::kAllPixelFormats.size());
  return kNames.at(static_cast<std::size_t>(format));
}

std::size_t frameBytes(const Frame& frame) {
  const auto stride = static_cast<std::size_t>(frame.stride);
  const std::size_t first = stride * static_cast<std::size_t>(frame.height);
  const bool threePlanes =
      (frame.format >= I420 && frame.format <= YV24) || frame.format == I420_10 || frame.format == I422_10;
  return first + chromaStride(frame) * chromaRows(frame) * (threePlanes ? 2 : 1);
}

Frame noiseFrame(PixelFormat format, int width, int height, int padding, std::uint32_t seed) {
  Frame frame;
  frame.format = format;
  frame.width = width;
  frame.height = height;
  frame.stride = static_cast<int>(leastStride(frame)) + padding;
  frame.bytes.resize(frameBytes(frame));
  std::mt19937 random(seed);
  for (auto& byte : frame.bytes)
    byte = static_cast<std::uint8_t>(random());
  return frame;
}

std::array<double, 3> exactRgb(const Frame& frame, int x, int y) {
  auto rgb = exactFractions(frame, x, y);
  if (sharedWordOf(frame.format) && frame.range == picture::ColorRange::Limited) {
    // Their levels in 8 bits first, as nothing defines a studio range of five bits.
    for (double& channel : rgb)
      channel = (std::round(255 * channel) - 16) / 219;
  }
  for (double& channel : rgb)
    channel = std::clamp(255 * channel, 0.0, 255.0);
  return rgb;
}

void paintPixel(Frame& frame, int x, int y, const std::array<double, 3>& rgb) {
  if (const auto shared = sharedWordOf(frame.format)) {
    unsigned word = 0;
    for (std::size_t channel = 0; channel < 3; ++channel)
      word |= static_cast<unsigned>(std::lround(rgb[channel] * shared->largest[channel] / 255))
              << shared->shifts[channel];
    storeWord(frame, sampleAt(frame, 0, x, y), word);
    return;
  }
  const double scale = std::pow(2, bitsOf(frame.format) - 8);
  const bool full = isFull(frame);
  const auto stored = [&](double level) {
    return full ? level / 255 * (256 * scale - 1) : (16 + level / 255 * 219) * scale;
  };
  if (!isYuv(frame.format) && !isGrey(frame.format)) {
    for (int channel = 0; channel < 3; ++channel)
      store(frame, channel, x, y, stored(rgb[static_cast<std::size_t>(channel)]));
    return;
  }
  const auto [redWeight, blueWeight] = redAndBlueWeight(frame.matrix);
  const double luma = redWeight * rgb[0] + (1 - redWeight - blueWeight) * rgb[1] + blueWeight * rgb[2];
  store(frame, 0, x, y, stored(luma));
  if (isGrey(frame.format)) return;
  const auto [across, down] = samplingOf(frame.format);
  const double span = full ? 256 * scale - 1 : 224 * scale;
  store(frame, 1, x / across, y / down, 128 * scale + (rgb[2] - luma) / 255 / (1 - blueWeight) / 2 * span);
  store(frame, 2, x / across, y / down, 128 * scale + (rgb[0] - luma) / 255 / (1 - redWeight) / 2 * span);
}

}  // namespace camera_shot_test
