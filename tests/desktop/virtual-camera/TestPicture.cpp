#include "tests/desktop/virtual-camera/TestPicture.h"

#include <algorithm>
#include <random>

namespace virtual_camera {
namespace {

std::uint8_t shade(std::uint32_t sample, std::uint32_t light) {
  return static_cast<std::uint8_t>((sample & 0xff) * light / 255);
}

void fillRow(RgbPicture& picture, std::uint32_t y, std::uint32_t left, std::uint32_t right, Rgb colour) {
  for (auto* sample = picture.at(left, y); left < right; ++left) {
    *sample++ = colour.red;
    *sample++ = colour.green;
    *sample++ = colour.blue;
  }
}

void fill(RgbPicture& picture, Rectangle area, Rgb colour) {
  for (auto y = area.top; y < area.bottom; ++y)
    fillRow(picture, y, area.left, area.right, colour);
}

void drawBackground(RgbPicture& picture, std::uint32_t tint) {
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const auto light = 160 + 80 * y / picture.height;
    fillRow(picture, y, 0, picture.width,
            {shade(tint >> 16, light), shade(tint >> 8, light), shade(tint, light)});
  }
}

void drawLetter(RgbPicture& picture) {
  const auto unit = picture.height / 12;
  const auto left = picture.width / 2 - std::min(unit, picture.width / 2);
  const auto top = picture.height / 4;
  const auto right = [&](std::uint32_t width) { return std::min(left + width, picture.width); };
  fill(picture, {left, top, right(unit / 2), top + 4 * unit}, kLetterWhite);
  fill(picture, {left, top, right(2 * unit), top + unit / 2}, kLetterWhite);
  fill(picture, {left, top + 3 * unit / 2, right(3 * unit / 2), top + 2 * unit}, kLetterWhite);
}

void addNoise(RgbPicture& picture, int amplitude) {
  // Seeded by a constant so that every run of every camera makes the same bytes.
  std::minstd_rand random(12345);  // NOLINT(bugprone-random-generator-seed,cert-msc51-cpp)
  for (auto& sample : picture.samples) {
    const int change = static_cast<int>(random() >> 8) % (2 * amplitude + 1) - amplitude;
    sample = static_cast<std::uint8_t>(std::clamp(sample + change, 0, 255));
  }
}

}  // namespace

RgbPicture drawTestPicture(std::uint32_t width, std::uint32_t height, std::uint32_t tint, int noise) {
  RgbPicture picture(width, height);
  drawBackground(picture, tint);
  fill(picture, {0, 0, width, height / 16}, kTopGreen);
  fill(picture, {0, height - height / 16, width, height}, kBottomYellow);
  fill(picture, {0, height / 4, width / 8, 3 * height / 4}, kLeftRed);
  fill(picture, {width - width / 8, height / 4, width, 3 * height / 4}, kRightBlue);
  drawLetter(picture);
  if (noise > 0) addNoise(picture, noise);
  return picture;
}

Rectangle counterCell(std::uint32_t width, std::uint32_t height, unsigned bit) {
  const auto even = [](std::uint32_t number) { return number & ~1U; };
  const auto cell = even(width / 32);
  const auto left = even(width / 4) + (kCounterBits - 1 - bit) * cell;
  return {left, even(height * 13 / 16), left + cell, even(height * 14 / 16)};
}

void drawCounter(RgbPicture& picture, std::uint16_t count) {
  for (unsigned bit = 0; bit < kCounterBits; ++bit) {
    const auto grey = (count >> bit & 1) != 0 ? kCounterOn : kCounterOff;
    fill(picture, counterCell(picture.width, picture.height, bit), {grey, grey, grey});
  }
}

void darken(RgbPicture& picture, std::uint8_t light) {
  for (auto& sample : picture.samples)
    sample = static_cast<std::uint8_t>(sample * light / 255);
}

}  // namespace virtual_camera
