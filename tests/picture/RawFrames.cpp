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
    case I422_10BE:
    case I422_12:
    case I422_12BE:
    case v210:
    case UYVP:
    case v216:
      return {2, 1};
    case NV12:
    case NV21:
    case I420:
    case YV12:
    case P010:
    case P010_BE:
    case I420_10:
    case I420_10BE:
    case I420_12:
    case I420_12BE:
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
    case v210:
      return 16 * ((width + 5) / 6);
    case UYVP:
      return 5 * half(width);
    case v216:
      return 8 * half(width);
    case AYUV64:
    case ARGB64:
      return 8 * width;
    case P010:
    case P010_BE:
    case I420_10:
    case I422_10:
    case Y444_10:
    case I420_12:
    case I422_12:
    case Y444_12:
    case I420_10BE:
    case I422_10BE:
    case Y444_10BE:
    case I420_12BE:
    case I422_12BE:
    case Y444_12BE:
    case RGB16:
    case RGB16_BE:
    case RGB15:
    case BGR15:
    case RGB12:
    case GRAY10:
    case GRAY12:
    case GRAY14:
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
    case xRGB_210:
    case xBGR_210:
    case RGBx_102:
    case BGRx_102:
    case r210:
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
    case P010_BE:
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
    case I420_12:
    case I422_12:
    case I420_10BE:
    case I422_10BE:
    case I420_12BE:
    case I422_12BE:
      return std::max(stride / 2, 2 * half(width));
    case Y444:
    case YV24:
    case Y444_10:
    case Y444_12:
    case Y444_10BE:
    case Y444_12BE:
      return stride;
    default:
      return 0;
  }
}

std::size_t chromaRows(const Frame& frame) {
  const auto height = static_cast<std::size_t>(frame.height);
  return samplingOf(frame.format).down == 2 ? half(height) : height;
}

/// Samples of ten bits that lie closer than in words of two bytes; blue difference, luma, red difference and
/// luma by turns.
bool isStringOfTens(PixelFormat format) {
  return format == v210 || format == UYVP;
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
    case P010_BE:
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
    case Y444_10:
    case I420_12:
    case I422_12:
    case Y444_12:
    case I420_10BE:
    case I422_10BE:
    case Y444_10BE:
    case I420_12BE:
    case I422_12BE:
    case Y444_12BE:
      return pick(row + 2 * x, chromaRow + 2 * x, third + 2 * x);
    case v216:
      return row + pick(4 * x + 2, 8 * x, 8 * x + 4);
    case AYUV64:
    case ARGB64:
      return row + 8 * x + pick(2, 4, 6);
    case xRGB_210:
    case xBGR_210:
    case RGBx_102:
    case BGRx_102:
    case r210:
      return row + 4 * x;
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
    case GRAY14:
    case GRAY16:
    case GRAY16_BE:
      return row + 2 * x;
    case GRAY8:
      return row + x;
    case MJPG:
    case v210:
    case UYVP:
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
    case xRGB_210:
    case r210:
      return SharedWord{{20, 10, 0}, {1023, 1023, 1023}};
    case xBGR_210:
      return SharedWord{{0, 10, 20}, {1023, 1023, 1023}};
    case RGBx_102:
      return SharedWord{{22, 12, 2}, {1023, 1023, 1023}};
    case BGRx_102:
      return SharedWord{{2, 12, 22}, {1023, 1023, 1023}};
    default:
      return {};
  }
}

int bitsOf(PixelFormat format) {
  switch (format) {
    case P010:
    case P010_BE:
    case I420_10:
    case I422_10:
    case Y444_10:
    case I420_10BE:
    case I422_10BE:
    case Y444_10BE:
    case v210:
    case UYVP:
    case GRAY10:
      return 10;
    case I420_12:
    case I422_12:
    case Y444_12:
    case I420_12BE:
    case I422_12BE:
    case Y444_12BE:
    case GRAY12:
      return 12;
    case GRAY14:
      return 14;
    case v216:
    case AYUV64:
    case ARGB64:
    case GRAY16:
    case GRAY16_BE:
      return 16;
    default:
      return 8;
  }
}

bool isBigEndian(PixelFormat format) {
  switch (format) {
    case RGB16_BE:
    case GRAY16_BE:
    case P010_BE:
    case I420_10BE:
    case I422_10BE:
    case Y444_10BE:
    case I420_12BE:
    case I422_12BE:
    case Y444_12BE:
    case r210:
      return true;
    default:
      return false;
  }
}

std::size_t bytesOfWord(PixelFormat format) {
  return format >= xRGB_210 && format <= r210 ? 4 : 2;
}

// The lowest bit of byte `i` in the word.
std::size_t placeInWord(PixelFormat format, std::size_t i) {
  return 8 * (isBigEndian(format) ? bytesOfWord(format) - 1 - i : i);
}

int wordAt(const Frame& frame, std::size_t at) {
  unsigned word = 0;
  for (std::size_t i = 0; i < bytesOfWord(frame.format); ++i)
    word |= static_cast<unsigned>(frame.bytes.at(at + i)) << placeInWord(frame.format, i);
  return static_cast<int>(word);
}

void storeWord(Frame& frame, std::size_t at, unsigned word) {
  for (std::size_t i = 0; i < bytesOfWord(frame.format); ++i)
    frame.bytes.at(at + i) = static_cast<std::uint8_t>(word >> placeInWord(frame.format, i));
}

// Bit by bit: where the bit `bit` of that sample, 0 being its lowest, lies in the frame, as a byte and a bit.
std::pair<std::size_t, unsigned> placeOfBit(const Frame& frame, int component, int x, int y, unsigned bit) {
  const auto column = static_cast<std::size_t>(x);
  const std::size_t index = component == 0 ? 2 * column + 1 : 4 * column + (component == 1 ? 0 : 2);
  const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.stride);
  if (frame.format == v210) {
    const std::size_t place = index % 3 * 10 + bit;
    return {row + index / 3 * 4 + place / 8, place % 8};
  }
  const std::size_t place = index * 10 + 9 - bit;
  return {row + place / 8, 7 - place % 8};
}

int stringSample(const Frame& frame, int component, int x, int y) {
  unsigned sample = 0;
  for (unsigned bit = 0; bit < 10; ++bit) {
    const auto [byte, place] = placeOfBit(frame, component, x, y, bit);
    sample |= (frame.bytes.at(byte) >> place & 1U) << bit;
  }
  return static_cast<int>(sample);
}

void storeStringSample(Frame& frame, int component, int x, int y, unsigned level) {
  for (unsigned bit = 0; bit < 10; ++bit) {
    const auto [byte, place] = placeOfBit(frame, component, x, y, bit);
    const auto cleared = frame.bytes.at(byte) & ~(1U << place);
    frame.bytes.at(byte) = static_cast<std::uint8_t>(cleared | (level >> bit & 1U) << place);
  }
}

bool isInUpperBits(PixelFormat format) {
  return format == P010 || format == P010_BE;
}

bool isFull(const Frame& frame) {
  return frame.range == picture::ColorRange::Full ||
         (frame.range == picture::ColorRange::Unstated && !isYuv(frame.format));
}

double sample(const Frame& frame, int component, int x, int y) {
  if (isStringOfTens(frame.format)) return stringSample(frame, component, x, y);
  const std::size_t at = sampleAt(frame, component, x, y);
  if (bitsOf(frame.format) == 8) return frame.bytes.at(at);
  const int word = wordAt(frame, at);
  return isInUpperBits(frame.format) ? word >> 6 : word & ((1 << bitsOf(frame.format)) - 1);
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
  const int bits = bitsOf(frame.format);
  const auto level = static_cast<unsigned>(std::clamp(std::lround(value), 0L, (1L << bits) - 1));
  if (isStringOfTens(frame.format)) return storeStringSample(frame, component, x, y, level);
  const std::size_t at = sampleAt(frame, component, x, y);
  if (bits == 8) {
    frame.bytes.at(at) = static_cast<std::uint8_t>(level);
    return;
  }
  storeWord(frame, at, isInUpperBits(frame.format) ? level << 6 : level);
}

}  // namespace

bool isYuv(PixelFormat format) {
  return format >= YUY2 && format <= AYUV64;
}

const char* nameOf(PixelFormat format) {
  constexpr std::array kNames = {
      "MJPG",      "YUY2",      "UYVY",      "YVYU",      "VYUY",    "NV12",    "NV21",      "NV16",
      "NV61",      "NV24",      "NV42",      "I420",      "YV12",    "Y42B",    "YV16",      "Y444",
      "YV24",      "AYUV",      "VUYA",      "YUVA",      "v308",    "IYU2",    "P010",      "I420_10",
      "I422_10",   "Y444_10",   "I420_12",   "I422_12",   "Y444_12", "P010_BE", "I420_10BE", "I422_10BE",
      "Y444_10BE", "I420_12BE", "I422_12BE", "Y444_12BE", "v210",    "UYVP",    "v216",      "AYUV64",
      "RGB",       "BGR",       "RGBx",      "BGRx",      "xRGB",    "xBGR",    "RGBA",      "BGRA",
      "ARGB",      "ABGR",      "RGB16",     "RGB16_BE",  "RGB15",   "BGR15",   "RGB12",     "xRGB_210",
      "xBGR_210",  "RGBx_102",  "BGRx_102",  "r210",      "ARGB64",  "GRAY8",   "GRAY10",    "GRAY12",
      "GRAY14",    "GRAY16",    "GRAY16_BE"};
  static_assert(kNames.size() == picture::kAllPixelFormats.size());
  return kNames.at(static_cast<std::size_t>(format));
}

std::size_t frameBytes(const Frame& frame) {
  const auto stride = static_cast<std::size_t>(frame.stride);
  const std::size_t first = stride * static_cast<std::size_t>(frame.height);
  const bool threePlanes = (frame.format >= I420 && frame.format <= YV24) ||
                           (frame.format >= I420_10 && frame.format <= Y444_12BE && frame.format != P010_BE);
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
