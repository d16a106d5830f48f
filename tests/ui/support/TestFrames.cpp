#include "tests/ui/support/TestFrames.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tests/support/jpeg/JpegEncoder.h"

namespace ui_test {
namespace {

void appendRow(std::vector<std::uint8_t>& pixels, int y, int width, int height, const Painter& painter) {
  for (int x = 0; x < width; ++x) {
    const Rgb color = painter((x + 0.5) / width, (y + 0.5) / height);
    for (const int part : {color.red, color.green, color.blue})
      pixels.push_back(static_cast<std::uint8_t>(std::clamp(part, 0, 255)));
  }
}

}  // namespace

Rgb redLeftBlueRight(double x, double) {
  return x < 0.25 ? kRed : x > 0.75 ? kBlue : kGrey;
}

Rgb landscape(double x, double y) {
  const double ridge = 0.55 + 0.08 * std::sin(9 * x) + 0.03 * std::sin(23 * x + 1);
  if (y < ridge) {
    const int haze = static_cast<int>(90 * y / ridge);
    return {150 + haze, 195 + haze / 2, 245};
  }
  const int shade =
      static_cast<int>(70 * (y - ridge) / (1 - ridge) + 20 * std::sin(60 * x) * std::sin(40 * y));
  return {70 + shade, 120 + shade, 60};
}

std::shared_ptr<picture::Frame> jpegFrame(int width, int height, const Painter& painter) {
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < height; ++y)
    appendRow(pixels, y, width, height, painter);
  auto frame = std::make_shared<picture::Frame>();
  frame->width = width;
  frame->height = height;
  frame->bytes = test_support::encodeJpeg(static_cast<std::uint32_t>(width),
                                          static_cast<std::uint32_t>(height), pixels, {.lumaDown = 2});
  return frame;
}

std::shared_ptr<const platform_linux::PictureData> photoOf(std::shared_ptr<const picture::Frame> frame,
                                                           bool mirrored) {
  return std::make_shared<platform_linux::PictureData>(std::move(frame), mirrored);
}

}  // namespace ui_test
