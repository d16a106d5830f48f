#include "tests/desktop/virtual-camera/DecodedFrame.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

// jpeglib.h uses size_t and FILE without including what declares them.
#include <jpeglib.h>

namespace virtual_camera {
namespace {

std::uint8_t rounded(double sample) {
  return static_cast<std::uint8_t>(std::clamp(sample + 0.5, 0.0, 255.0));
}

Rgb fromYuv(double y, double u, double v, std::uint32_t height) {
  const double luma = (y - 16) / 219 * 255;
  const double blue = (u - 128) / 224 * 255;
  const double red = (v - 128) / 224 * 255;
  // ITU-R BT.601-7 and BT.709-6, solved for the primaries.
  if (height <= 576)
    return {rounded(luma + 1.402 * red), rounded(luma - 0.344136 * blue - 0.714136 * red),
            rounded(luma + 1.772 * blue)};
  return {rounded(luma + 1.5748 * red), rounded(luma - 0.187324 * blue - 0.468124 * red),
          rounded(luma + 1.8556 * blue)};
}

Rgb pixel(std::span<const std::uint8_t> bytes, const FrameLayout& layout, std::size_t x, std::size_t y) {
  const auto* row = bytes.data() + y * layout.stride;
  switch (layout.format) {
    case PixelFormat::kYuy2: {
      const auto* pair = row + x / 2 * 4;
      return fromYuv(row[2 * x], pair[1], pair[3], layout.height);
    }
    case PixelFormat::kNv12: {
      const auto* chroma = bytes.data() + (layout.height + y / 2) * layout.stride + x / 2 * 2;
      return fromYuv(row[x], chroma[0], chroma[1], layout.height);
    }
    case PixelFormat::kRgb:
      return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
    case PixelFormat::kBgrx:
      return {row[4 * x + 2], row[4 * x + 1], row[4 * x]};
    case PixelFormat::kMjpg:
      break;
  }
  throw std::logic_error("not a raw format");
}

}  // namespace

RgbPicture decodeJpeg(std::span<const std::uint8_t> bytes) {
  jpeg_decompress_struct decompress{};
  jpeg_error_mgr errors{};
  decompress.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decompress);
  jpeg_mem_src(&decompress, bytes.data(), bytes.size());
  jpeg_read_header(&decompress, TRUE);
  decompress.out_color_space = JCS_RGB;
  jpeg_start_decompress(&decompress);
  RgbPicture picture(decompress.output_width, decompress.output_height);
  while (decompress.output_scanline < decompress.output_height) {
    JSAMPROW row = picture.at(0, decompress.output_scanline);
    jpeg_read_scanlines(&decompress, &row, 1);
  }
  jpeg_finish_decompress(&decompress);
  jpeg_destroy_decompress(&decompress);
  if (errors.num_warnings > 0) throw std::runtime_error("damaged JPEG");
  return picture;
}

RgbPicture decodeRaw(std::span<const std::uint8_t> bytes, const FrameLayout& layout) {
  RgbPicture picture(layout.width, layout.height);
  for (std::uint32_t y = 0; y < layout.height; ++y) {
    for (std::uint32_t x = 0; x < layout.width; ++x) {
      const auto colour = pixel(bytes, layout, x, y);
      auto* sample = picture.at(x, y);
      sample[0] = colour.red;
      sample[1] = colour.green;
      sample[2] = colour.blue;
    }
  }
  return picture;
}

}  // namespace virtual_camera
