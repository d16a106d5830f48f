#include "tests/desktop/virtual-camera/FrameEncoder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

// jpeglib.h uses size_t and FILE without including what declares them.
#include <jpeglib.h>

namespace virtual_camera {
namespace {

struct Yuv {
  std::uint8_t luma = 0;
  std::uint8_t blueDifference = 0;
  std::uint8_t redDifference = 0;
};

/// The weights of red and blue in luma; ITU-R BT.601-7 and BT.709-6.
struct Matrix {
  double red;
  double blue;
};
constexpr Matrix kBt601{0.299, 0.114};
constexpr Matrix kBt709{0.2126, 0.0722};

Matrix matrixFor(std::uint32_t height) {
  return height <= 576 ? kBt601 : kBt709;
}

std::uint8_t rounded(double sample) {
  return static_cast<std::uint8_t>(std::clamp(sample + 0.5, 0.0, 255.0));
}

struct Mean {
  double red = 0;
  double green = 0;
  double blue = 0;
};

Mean mean(const RgbPicture& picture, std::uint32_t x, std::uint32_t y, std::uint32_t columns,
          std::uint32_t rows) {
  Mean sum;
  for (auto row = y; row < y + rows; ++row) {
    for (auto column = x; column < x + columns; ++column) {
      const auto* sample = picture.at(column, row);
      sum.red += sample[0];
      sum.green += sample[1];
      sum.blue += sample[2];
    }
  }
  const double count = columns * rows;
  return {sum.red / count, sum.green / count, sum.blue / count};
}

Yuv toYuv(Mean colour, Matrix matrix) {
  const double luma =
      matrix.red * colour.red + (1 - matrix.red - matrix.blue) * colour.green + matrix.blue * colour.blue;
  return {rounded(16 + luma * 219 / 255),
          rounded(128 + (colour.blue - luma) / (2 * (1 - matrix.blue)) * 224 / 255),
          rounded(128 + (colour.red - luma) / (2 * (1 - matrix.red)) * 224 / 255)};
}

void encodeYuy2(const RgbPicture& picture, const FrameLayout& layout, Bytes& frame) {
  const auto matrix = matrixFor(picture.height);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    auto* out = frame.data() + y * layout.stride;
    for (std::uint32_t x = 0; x < picture.width; x += 2) {
      const auto both = toYuv(mean(picture, x, y, 2, 1), matrix);
      *out++ = toYuv(mean(picture, x, y, 1, 1), matrix).luma;
      *out++ = both.blueDifference;
      *out++ = toYuv(mean(picture, x + 1, y, 1, 1), matrix).luma;
      *out++ = both.redDifference;
    }
  }
}

void encodeNv12(const RgbPicture& picture, const FrameLayout& layout, Bytes& frame) {
  const auto matrix = matrixFor(picture.height);
  auto* luma = frame.data();
  auto* chroma = frame.data() + layout.stride * picture.height;
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x)
      *luma++ = toYuv(mean(picture, x, y, 1, 1), matrix).luma;
  }
  for (std::uint32_t y = 0; y < picture.height; y += 2) {
    for (std::uint32_t x = 0; x < picture.width; x += 2) {
      const auto four = toYuv(mean(picture, x, y, 2, 2), matrix);
      *chroma++ = four.blueDifference;
      *chroma++ = four.redDifference;
    }
  }
}

void encodeRgb(const RgbPicture& picture, const FrameLayout& layout, Bytes& frame) {
  for (std::uint32_t y = 0; y < picture.height; ++y)
    std::memcpy(frame.data() + y * layout.stride, picture.at(0, y), std::size_t{3} * picture.width);
}

void encodeBgrx(const RgbPicture& picture, const FrameLayout& layout, Bytes& frame) {
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    auto* out = frame.data() + y * layout.stride;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      const auto* sample = picture.at(x, y);
      *out++ = sample[2];
      *out++ = sample[1];
      *out++ = sample[0];
      *out++ = 0xff;
    }
  }
}

void fillCell(std::uint8_t* frame, const FrameLayout& layout, Rectangle cell, std::uint8_t grey) {
  const auto luma = rounded(16 + grey * 219.0 / 255);
  const std::size_t columns = cell.right - cell.left;
  for (std::size_t y = cell.top; y < cell.bottom; ++y) {
    auto* row = frame + y * layout.stride;
    switch (layout.format) {
      case PixelFormat::kYuy2:
        for (auto x = cell.left; x < cell.right; ++x) {
          row[2 * x] = luma;
          row[2 * x + 1] = 128;
        }
        break;
      case PixelFormat::kNv12:
        std::memset(row + cell.left, luma, columns);
        if (y % 2 == 0)
          std::memset(frame + (layout.height + y / 2) * layout.stride + cell.left, 128, columns);
        break;
      case PixelFormat::kRgb:
        std::memset(row + std::size_t{3} * cell.left, grey, 3 * columns);
        break;
      case PixelFormat::kBgrx:
        std::memset(row + std::size_t{4} * cell.left, grey, 4 * columns);
        break;
      case PixelFormat::kMjpg:
        break;
    }
  }
}

}  // namespace

FrameLayout frameLayout(PixelFormat format, std::uint32_t width, std::uint32_t height) {
  const std::size_t pixels = std::size_t{width} * height;
  switch (format) {
    case PixelFormat::kMjpg:
      return {format, width, height, 0, 2 * pixels};
    case PixelFormat::kYuy2:
      return {format, width, height, std::size_t{2} * width, 2 * pixels};
    case PixelFormat::kNv12:
      return {format, width, height, width, pixels * 3 / 2};
    case PixelFormat::kRgb:
      break;
    case PixelFormat::kBgrx:
      return {format, width, height, std::size_t{4} * width, 4 * pixels};
  }
  const std::size_t stride = (std::size_t{3} * width + 3) / 4 * 4;
  return {format, width, height, stride, stride * height};
}

Bytes encodeJpeg(const RgbPicture& picture, int quality) {
  jpeg_compress_struct compress{};
  jpeg_error_mgr errors{};
  compress.err = jpeg_std_error(&errors);
  jpeg_create_compress(&compress);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&compress, &memory, &size);
  compress.image_width = picture.width;
  compress.image_height = picture.height;
  compress.input_components = 3;
  compress.in_color_space = JCS_RGB;
  jpeg_set_defaults(&compress);
  jpeg_set_quality(&compress, quality, TRUE);
  compress.comp_info[0].h_samp_factor = 2;
  compress.comp_info[0].v_samp_factor = 1;
  jpeg_start_compress(&compress, TRUE);
  while (compress.next_scanline < compress.image_height) {
    // libjpeg reads the rows only, but asks for them without const.
    JSAMPROW row = const_cast<JSAMPROW>(picture.at(0, compress.next_scanline));
    jpeg_write_scanlines(&compress, &row, 1);
  }
  jpeg_finish_compress(&compress);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owned(memory, &std::free);
  jpeg_destroy_compress(&compress);
  return {memory, memory + size};
}

Bytes encodeRaw(const RgbPicture& picture, const FrameLayout& layout) {
  Bytes frame(layout.size);
  switch (layout.format) {
    case PixelFormat::kYuy2:
      encodeYuy2(picture, layout, frame);
      break;
    case PixelFormat::kNv12:
      encodeNv12(picture, layout, frame);
      break;
    case PixelFormat::kRgb:
      encodeRgb(picture, layout, frame);
      break;
    case PixelFormat::kBgrx:
      encodeBgrx(picture, layout, frame);
      break;
    case PixelFormat::kMjpg:
      break;
  }
  return frame;
}

void drawCounterRaw(std::uint8_t* frame, const FrameLayout& layout, std::uint16_t count) {
  for (unsigned bit = 0; bit < kCounterBits; ++bit) {
    const auto grey = (count >> bit & 1) != 0 ? kCounterOn : kCounterOff;
    fillCell(frame, layout, counterCell(layout.width, layout.height, bit), grey);
  }
}

}  // namespace virtual_camera
