#include "tests/ui/support/TestFrames.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include <jpeglib.h>

namespace ui_test {
namespace {

std::vector<std::uint8_t> row(int y, int width, int height, const Painter& painter) {
  std::vector<std::uint8_t> pixels;
  for (int x = 0; x < width; ++x) {
    const Rgb color = painter((x + 0.5) / width, (y + 0.5) / height);
    for (const int part : {color.red, color.green, color.blue})
      pixels.push_back(static_cast<std::uint8_t>(std::clamp(part, 0, 255)));
  }
  return pixels;
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
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &bytes, &size);
  encoder.image_width = static_cast<unsigned>(width);
  encoder.image_height = static_cast<unsigned>(height);
  encoder.input_components = 3;
  encoder.in_color_space = JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, 90, TRUE);
  jpeg_start_compress(&encoder, TRUE);
  for (int y = 0; y < height; ++y) {
    auto pixels = row(y, width, height, painter);
    JSAMPROW line = pixels.data();
    jpeg_write_scanlines(&encoder, &line, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  auto frame = std::make_shared<picture::Frame>();
  frame->width = width;
  frame->height = height;
  frame->bytes.assign(bytes, bytes + size);
  std::free(bytes);
  return frame;
}

std::shared_ptr<picture::Frame> withoutHuffmanTables(const picture::Frame& frame) {
  constexpr std::uint8_t kHuffmanTables = 0xC4;
  constexpr std::uint8_t kStartOfScan = 0xDA;
  auto stripped = std::make_shared<picture::Frame>(frame);
  auto& bytes = stripped->bytes;
  for (std::size_t at = 2; at + 3 < bytes.size() && bytes[at + 1] != kStartOfScan;) {
    const std::size_t length = 2 + std::size_t{bytes[at + 2]} * 256 + bytes[at + 3];
    const auto segment = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    if (bytes[at + 1] == kHuffmanTables)
      bytes.erase(segment, segment + static_cast<std::ptrdiff_t>(length));
    else
      at += length;
  }
  return stripped;
}

std::shared_ptr<const platform_linux::PictureData> photoOf(std::shared_ptr<const picture::Frame> frame,
                                                           bool mirrored) {
  return std::make_shared<platform_linux::PictureData>(std::move(frame), mirrored);
}

}  // namespace ui_test
