#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace virtual_camera {

struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
};

/// Left and top belong to the rectangle, right and bottom do not. Pixels.
struct Rectangle {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t right = 0;
  std::uint32_t bottom = 0;
};

/// A picture of packed 8-bit RGB samples, rows without padding.
struct RgbPicture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> samples;

  RgbPicture(std::uint32_t pictureWidth, std::uint32_t pictureHeight)
      : width(pictureWidth), height(pictureHeight), samples(std::size_t{3} * pictureWidth * pictureHeight) {}
  std::uint8_t* at(std::uint32_t x, std::uint32_t y) { return &samples[3 * (std::size_t{y} * width + x)]; }
  const std::uint8_t* at(std::uint32_t x, std::uint32_t y) const {
    return &samples[3 * (std::size_t{y} * width + x)];
  }
};

constexpr Rgb kLeftRed{210, 30, 30};
constexpr Rgb kRightBlue{30, 30, 210};
constexpr Rgb kTopGreen{30, 160, 30};
constexpr Rgb kBottomYellow{220, 210, 40};
constexpr Rgb kLetterWhite{245, 245, 245};

/// Grey levels of the counter's cells: a set bit and a clear one.
constexpr std::uint8_t kCounterOn = 235;
constexpr std::uint8_t kCounterOff = 16;
constexpr unsigned kCounterBits = 16;

/// A picture in which a mirrored or turned copy is seen at once: a red block at the left edge, a blue one at
/// the right, a green bar above, a yellow one below and a white letter F in the middle, on a shaded
/// background of `tint` (0xRRGGBB). `noise` is the largest change of a sample; the same noise in every
/// picture.
RgbPicture drawTestPicture(std::uint32_t width, std::uint32_t height, std::uint32_t tint, int noise);

/// The place of one bit of the frame counter; bit 15 is the leftmost. Edges are even, as chroma samples need.
Rectangle counterCell(std::uint32_t width, std::uint32_t height, unsigned bit);

void drawCounter(RgbPicture& picture, std::uint16_t count);

/// What a camera sees before its exposure has settled: so many 255ths of the light.
void darken(RgbPicture& picture, std::uint8_t light);

}  // namespace virtual_camera
