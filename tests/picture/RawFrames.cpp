#include "tests/picture/RawFrames.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/picture/RawFormats.h"

namespace camera_shot_test {
namespace {

using picture::Frame;
using picture::PixelFormat;
using Packing = RawFormat::Packing;

std::size_t parts(std::size_t whole, int part) {
  return (whole + static_cast<std::size_t>(part) - 1) / static_cast<std::size_t>(part);
}

const RawFormat& formatOf(const Frame& frame) {
  return rawFormat(frame.format);
}

bool hasWords(const RawFormat& format) {
  return format.word.bytes > 0;
}

int lastPlane(const RawFormat& format) {
  return std::max(format.places[1].plane, format.places[2].plane);
}

std::size_t leastStride(const Frame& frame) {
  const auto [bytes, pixels] = formatOf(frame).group;
  return static_cast<std::size_t>(bytes) * parts(static_cast<std::size_t>(frame.width), pixels);
}

// In the first plane's proportion, but never less than a row.
std::size_t chromaStride(const Frame& frame) {
  const RawFormat& format = formatOf(frame);
  if (lastPlane(format) == 0) return 0;
  const auto step = static_cast<std::size_t>(format.places[1].step);
  const auto proportional = static_cast<std::size_t>(frame.stride) * step /
                            static_cast<std::size_t>(format.places[0].step * format.sampling.across);
  return std::max(proportional, step * parts(static_cast<std::size_t>(frame.width), format.sampling.across));
}

std::size_t chromaRows(const Frame& frame) {
  return parts(static_cast<std::size_t>(frame.height), formatOf(frame).sampling.down);
}

std::size_t rowAt(const Frame& frame, int plane, int y) {
  const auto row = static_cast<std::size_t>(y);
  const auto stride = static_cast<std::size_t>(frame.stride);
  if (plane == 0) return row * stride;
  const std::size_t before = static_cast<std::size_t>(frame.height) * stride +
                             static_cast<std::size_t>(plane - 1) * chromaRows(frame) * chromaStride(frame);
  return before + row * chromaStride(frame);
}

// The lowest bit of byte `i` in a word of so many bytes.
std::size_t placeInWord(const RawFormat& format, std::size_t bytes, std::size_t i) {
  return 8 * (format.isBigEndian ? bytes - 1 - i : i);
}

unsigned wordAt(const Frame& frame, std::size_t at, std::size_t bytes) {
  unsigned word = 0;
  for (std::size_t i = 0; i < bytes; ++i)
    word |= static_cast<unsigned>(frame.bytes.at(at + i)) << placeInWord(formatOf(frame), bytes, i);
  return word;
}

void storeWord(Frame& frame, std::size_t at, std::size_t bytes, unsigned word) {
  for (std::size_t i = 0; i < bytes; ++i)
    frame.bytes.at(at + i) = static_cast<std::uint8_t>(word >> placeInWord(formatOf(frame), bytes, i));
}

/// A bit of a frame.
struct BitPlace {
  std::size_t byte;
  std::size_t bit;
};

// Where the bit `bit`, 0 being the lowest, of that sample of ten bits lies, `index` counting the row's
// samples.
BitPlace placeOfBit(Packing packing, std::size_t row, std::size_t index, unsigned bit) {
  if (packing == Packing::Threes) {
    const std::size_t place = index % 3 * 10 + bit;
    return {row + index / 3 * 4 + place / 8, place % 8};
  }
  const std::size_t place = index * 10 + 9 - bit;
  return {row + place / 8, 7 - place % 8};
}

unsigned packedSample(const Frame& frame, std::size_t row, std::size_t index) {
  unsigned sample = 0;
  for (unsigned bit = 0; bit < 10; ++bit) {
    const auto [byte, place] = placeOfBit(formatOf(frame).packing, row, index, bit);
    sample |= (frame.bytes.at(byte) >> place & 1U) << bit;
  }
  return sample;
}

void storePackedSample(Frame& frame, std::size_t row, std::size_t index, unsigned level) {
  for (unsigned bit = 0; bit < 10; ++bit) {
    const auto [byte, place] = placeOfBit(formatOf(frame).packing, row, index, bit);
    const auto cleared = frame.bytes.at(byte) & ~(1U << place);
    frame.bytes.at(byte) = static_cast<std::uint8_t>(cleared | (level >> bit & 1U) << place);
  }
}

std::size_t bytesOfSample(const RawFormat& format) {
  return format.bits > 8 ? 2 : 1;
}

/// A sample's row, and where it lies in it.
struct SamplePlace {
  std::size_t row;
  std::size_t at;
};

// `x` and `y` count the component's own samples.
SamplePlace placeOf(const Frame& frame, int component, int x, int y) {
  const auto [plane, offset, step] = formatOf(frame).places[static_cast<std::size_t>(component)];
  return {rowAt(frame, plane, y), static_cast<std::size_t>(offset + step * x)};
}

bool isFull(const Frame& frame) {
  return frame.range == picture::ColorRange::Full ||
         (frame.range == picture::ColorRange::Unstated && !isYuv(frame.format));
}

double sample(const Frame& frame, int component, int x, int y) {
  const RawFormat& format = formatOf(frame);
  const auto [row, at] = placeOf(frame, component, x, y);
  if (format.packing != Packing::Whole) return packedSample(frame, row, at);
  const unsigned word = wordAt(frame, row + at, bytesOfSample(format));
  return word >> format.unusedBits & ((1U << format.bits) - 1);
}

// As a fraction of black to white, or of the colour difference's span around its middle.
double lumaFraction(const Frame& frame, double value) {
  const double scale = std::pow(2, formatOf(frame).bits - 8);
  return isFull(frame) ? value / (256 * scale - 1) : (value / scale - 16) / 219;
}

double chromaFraction(const Frame& frame, double value) {
  const double scale = std::pow(2, formatOf(frame).bits - 8);
  return (value - 128 * scale) / (isFull(frame) ? 256 * scale - 1 : 224 * scale);
}

double interpolatedChroma(const Frame& frame, int component, int x, int y) {
  const int across = formatOf(frame).sampling.across;
  const int down = formatOf(frame).sampling.down;
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
  const RawFormat& format = formatOf(frame);
  if (format.model == RawFormat::Model::Grey) {
    const double grey = lumaFraction(frame, sample(frame, 0, x, y));
    return {grey, grey, grey};
  }
  if (hasWords(format)) {
    const auto [row, at] = placeOf(frame, 0, x, y);
    const auto word = static_cast<int>(wordAt(frame, row + at, static_cast<std::size_t>(format.word.bytes)));
    const auto part = [&](std::size_t channel) {
      return (word >> format.word.shifts[channel] & format.word.largest[channel]) /
             static_cast<double>(format.word.largest[channel]);
    };
    return {part(0), part(1), part(2)};
  }
  return {lumaFraction(frame, sample(frame, 0, x, y)), lumaFraction(frame, sample(frame, 1, x, y)),
          lumaFraction(frame, sample(frame, 2, x, y))};
}

void store(Frame& frame, int component, int x, int y, double value) {
  const RawFormat& format = formatOf(frame);
  const auto level = static_cast<unsigned>(std::clamp(std::lround(value), 0L, (1L << format.bits) - 1));
  const auto [row, at] = placeOf(frame, component, x, y);
  if (format.packing != Packing::Whole) return storePackedSample(frame, row, at, level);
  storeWord(frame, row + at, bytesOfSample(format), level << format.unusedBits);
}

}  // namespace

bool isYuv(PixelFormat format) {
  return rawFormat(format).model == RawFormat::Model::Yuv;
}

std::vector<PixelFormat> rawFormats() {
  std::vector<PixelFormat> formats(picture::kAllPixelFormats.begin(), picture::kAllPixelFormats.end());
  std::erase(formats, PixelFormat::MJPG);
  return formats;
}

const char* nameOf(PixelFormat format) {
  return rawFormat(format).name;
}

std::size_t frameBytes(const Frame& frame) {
  const std::size_t first = static_cast<std::size_t>(frame.stride) * static_cast<std::size_t>(frame.height);
  return first +
         chromaStride(frame) * chromaRows(frame) * static_cast<std::size_t>(lastPlane(formatOf(frame)));
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
  if (hasWords(formatOf(frame)) && frame.range == picture::ColorRange::Limited) {
    // Their levels in 8 bits first, as nothing defines a studio range of five bits.
    for (double& channel : rgb)
      channel = (std::round(255 * channel) - 16) / 219;
  }
  for (double& channel : rgb)
    channel = std::clamp(255 * channel, 0.0, 255.0);
  return rgb;
}

void paintPixel(Frame& frame, int x, int y, const std::array<double, 3>& rgb) {
  const RawFormat& format = formatOf(frame);
  if (hasWords(format)) {
    unsigned word = 0;
    for (std::size_t channel = 0; channel < 3; ++channel)
      word |= static_cast<unsigned>(std::lround(rgb[channel] * format.word.largest[channel] / 255))
              << format.word.shifts[channel];
    const auto [row, at] = placeOf(frame, 0, x, y);
    return storeWord(frame, row + at, static_cast<std::size_t>(format.word.bytes), word);
  }
  const double scale = std::pow(2, formatOf(frame).bits - 8);
  const bool full = isFull(frame);
  const auto stored = [&](double level) {
    return full ? level / 255 * (256 * scale - 1) : (16 + level / 255 * 219) * scale;
  };
  if (format.model == RawFormat::Model::Rgb) {
    for (int channel = 0; channel < 3; ++channel)
      store(frame, channel, x, y, stored(rgb[static_cast<std::size_t>(channel)]));
    return;
  }
  const auto [redWeight, blueWeight] = redAndBlueWeight(frame.matrix);
  const double luma = redWeight * rgb[0] + (1 - redWeight - blueWeight) * rgb[1] + blueWeight * rgb[2];
  store(frame, 0, x, y, stored(luma));
  if (format.model == RawFormat::Model::Grey) return;
  const auto [across, down] = formatOf(frame).sampling;
  const double span = full ? 256 * scale - 1 : 224 * scale;
  store(frame, 1, x / across, y / down, 128 * scale + (rgb[2] - luma) / 255 / (1 - blueWeight) / 2 * span);
  store(frame, 2, x / across, y / down, 128 * scale + (rgb[0] - luma) / 255 / (1 - redWeight) / 2 * span);
}

}  // namespace camera_shot_test
