#include "tests/desktop/virtual-camera/DecodedFrame.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

// jpeglib.h uses size_t and FILE without including what declares them.
#include <jpeglib.h>

namespace virtual_camera {
namespace {

std::uint8_t rounded(double sample) {
  return static_cast<std::uint8_t>(std::clamp(sample + 0.5, 0.0, 255.0));
}

std::uint32_t word(const std::uint8_t* at) {
  return std::uint32_t{at[0]} | std::uint32_t{at[1]} << 8;
}

std::uint32_t bigEndianWord(const std::uint8_t* at) {
  return std::uint32_t{at[0]} << 8 | at[1];
}

std::uint32_t tenInThrees(const std::uint8_t* row, std::size_t index) {
  const auto* at = row + index / 3 * 4;
  return (word(at) | word(at + 2) << 16) >> 10 * (index % 3) & 1023;
}

std::uint32_t tenInString(const std::uint8_t* row, std::size_t index) {
  return bigEndianWord(row + index * 10 / 8) >> (6 - index * 10 % 8) & 1023;
}

/// The matrices solved for the primaries; all samples from 0 to 1, differences from -0.5 to 0.5.
Rgb fromYuv(double luma, double blue, double red, const LumaWeights& weights) {
  const double r = luma + 2 * (1 - weights.red) * red;
  const double b = luma + 2 * (1 - weights.blue) * blue;
  const double g = (luma - weights.red * r - weights.blue * b) / (1 - weights.red - weights.blue);
  return {rounded(255 * r), rounded(255 * g), rounded(255 * b)};
}

/// The bytes around one pixel.
class Pixel {
 public:
  Pixel(std::span<const std::uint8_t> bytes, const FrameLayout& layout, std::size_t x, std::size_t y)
      : bytes_(bytes), layout_(layout), x_(x), y_(y) {}

  const std::uint8_t* row(std::size_t plane = 0, std::size_t rows = 1) const {
    return bytes_.data() + layout_.planes[plane].offset + y_ / rows * layout_.planes[plane].stride;
  }

  Rgb primaries(std::size_t step, std::size_t red, std::size_t green, std::size_t blue) const {
    const auto* pixel = row() + step * x_;
    return {pixel[red], pixel[green], pixel[blue]};
  }
  std::array<double, 3> packed(std::size_t y, std::size_t u, std::size_t v) const {
    const auto* pair = row() + x_ / 2 * 4;
    return sample(pair[y + x_ % 2 * 2], pair[u], pair[v]);
  }
  std::array<double, 3> twoPlanes(std::size_t u, std::size_t columns, std::size_t rows) const {
    const auto* chroma = row(1, rows) + x_ / columns * 2;
    return sample(row()[x_], chroma[u], chroma[1 - u]);
  }
  std::array<double, 3> whole(std::size_t step, std::size_t y, std::size_t u, std::size_t v) const {
    const auto* pixel = row() + step * x_;
    return sample(pixel[y], pixel[u], pixel[v]);
  }
  std::array<double, 3> threePlanes(std::size_t u, std::size_t columns, std::size_t rows) const {
    return sample(row()[x_], row(u, rows)[x_ / columns], row(3 - u, rows)[x_ / columns]);
  }
  /// `most` is the largest sample.
  std::array<double, 3> wordsInThreePlanes(double most, std::size_t columns, std::size_t rows,
                                           std::uint32_t (*wordOf)(const std::uint8_t*) = word) const {
    const auto chroma = x_ / columns * 2;
    return {wordOf(row() + 2 * x_) / most, wordOf(row(1, rows) + chroma) / most,
            wordOf(row(2, rows) + chroma) / most};
  }
  std::array<double, 3> tenBits() const {
    const auto* chroma = row(1, 2) + x_ / 2 * 4;
    return {(word(row() + 2 * x_) >> 6) / 1023.0, (word(chroma) >> 6) / 1023.0,
            (word(chroma + 2) >> 6) / 1023.0};
  }
  std::array<double, 3> packedWords() const {
    const auto* pair = row() + x_ / 2 * 8;
    return {word(pair + 2 + x_ % 2 * 4) / 65535.0, word(pair) / 65535.0, word(pair + 4) / 65535.0};
  }
  /// Samples of ten bits by turns, as `tenOf` finds them in the row.
  template <typename TenOf>
  std::array<double, 3> byTurns(TenOf tenOf) const {
    const auto pair = x_ / 2 * 4;
    return {tenOf(row(), 2 * x_ + 1) / 1023.0, tenOf(row(), pair) / 1023.0, tenOf(row(), pair + 2) / 1023.0};
  }
  Rgb sixteenBits() const {
    const auto pixel = word(row() + 2 * x_);
    return {rounded((pixel >> 11) * 255 / 31.0), rounded((pixel >> 5 & 63) * 255 / 63.0),
            rounded((pixel & 31) * 255 / 31.0)};
  }
  Rgb fifteenBits() const {
    const auto pixel = word(row() + 2 * x_);
    return {rounded((pixel >> 10) * 255 / 31.0), rounded((pixel >> 5 & 31) * 255 / 31.0),
            rounded((pixel & 31) * 255 / 31.0)};
  }
  std::array<double, 3> grey() const { return sample(row()[x_], 128, 128); }
  std::array<double, 3> greyWord() const {
    return {word(row() + 2 * x_) / 65535.0, 128 / 255.0, 128 / 255.0};
  }
  std::array<double, 3> bigEndianGreyWord() const {
    return {bigEndianWord(row() + 2 * x_) / 65535.0, 128 / 255.0, 128 / 255.0};
  }

 private:
  static std::array<double, 3> sample(double y, double u, double v) { return {y / 255, u / 255, v / 255}; }

  std::span<const std::uint8_t> bytes_;
  const FrameLayout& layout_;
  std::size_t x_;
  std::size_t y_;
};

/// Samples as parts of their range, whatever their number of bits.
std::array<double, 3> yuv(const Pixel& pixel, PixelFormat format) {
  switch (format) {
    case PixelFormat::kYuy2:
      return pixel.packed(0, 1, 3);
    case PixelFormat::kUyvy:
      return pixel.packed(1, 0, 2);
    case PixelFormat::kYvyu:
      return pixel.packed(0, 3, 1);
    case PixelFormat::kVyuy:
      return pixel.packed(1, 2, 0);
    case PixelFormat::kNv12:
      return pixel.twoPlanes(0, 2, 2);
    case PixelFormat::kNv21:
      return pixel.twoPlanes(1, 2, 2);
    case PixelFormat::kNv16:
      return pixel.twoPlanes(0, 2, 1);
    case PixelFormat::kNv61:
      return pixel.twoPlanes(1, 2, 1);
    case PixelFormat::kNv24:
      return pixel.twoPlanes(0, 1, 1);
    case PixelFormat::kI420:
      return pixel.threePlanes(1, 2, 2);
    case PixelFormat::kYv12:
      return pixel.threePlanes(2, 2, 2);
    case PixelFormat::kY42b:
      return pixel.threePlanes(1, 2, 1);
    case PixelFormat::kY444:
      return pixel.threePlanes(1, 1, 1);
    case PixelFormat::kAyuv:
      return pixel.whole(4, 1, 2, 3);
    case PixelFormat::kV308:
      return pixel.whole(3, 0, 1, 2);
    case PixelFormat::kIyu2:
      return pixel.whole(3, 1, 0, 2);
    case PixelFormat::kP010:
      return pixel.tenBits();
    case PixelFormat::kI420Ten:
      return pixel.wordsInThreePlanes(1023, 2, 2);
    case PixelFormat::kI422Ten:
      return pixel.wordsInThreePlanes(1023, 2, 1);
    case PixelFormat::kY444Ten:
      return pixel.wordsInThreePlanes(1023, 1, 1);
    case PixelFormat::kI420TenBe:
      return pixel.wordsInThreePlanes(1023, 2, 2, bigEndianWord);
    case PixelFormat::kI422Twelve:
      return pixel.wordsInThreePlanes(4095, 2, 1);
    case PixelFormat::kV216:
      return pixel.packedWords();
    case PixelFormat::kV210:
      return pixel.byTurns(tenInThrees);
    case PixelFormat::kUyvp:
      return pixel.byTurns(tenInString);
    case PixelFormat::kGray8:
      return pixel.grey();
    case PixelFormat::kGray16:
      return pixel.greyWord();
    case PixelFormat::kGray16Be:
      return pixel.bigEndianGreyWord();
    default:
      throw std::logic_error("not a YUV format");
  }
}

Rgb colour(const Pixel& pixel, PixelFormat format, const Colorimetry& colorimetry) {
  switch (format) {
    case PixelFormat::kRgb:
      return pixel.primaries(3, 0, 1, 2);
    case PixelFormat::kBgr:
      return pixel.primaries(3, 2, 1, 0);
    case PixelFormat::kRgbx:
    case PixelFormat::kRgba:
      return pixel.primaries(4, 0, 1, 2);
    case PixelFormat::kBgrx:
    case PixelFormat::kBgra:
      return pixel.primaries(4, 2, 1, 0);
    case PixelFormat::kXrgb:
    case PixelFormat::kArgb:
      return pixel.primaries(4, 1, 2, 3);
    case PixelFormat::kXbgr:
    case PixelFormat::kAbgr:
      return pixel.primaries(4, 3, 2, 1);
    case PixelFormat::kRgb16:
      return pixel.sixteenBits();
    case PixelFormat::kRgb15:
      return pixel.fifteenBits();
    default:
      break;
  }
  auto [luma, blue, red] = yuv(pixel, format);
  const auto weights = lumaWeights(colorimetry.matrix);
  if (colorimetryOf(format, colorimetry).range == Colorimetry::Range::kFull)
    return fromYuv(luma, blue - 128 / 255.0, red - 128 / 255.0, weights);
  return fromYuv((luma * 255 - 16) / 219, (blue * 255 - 128) / 224, (red * 255 - 128) / 224, weights);
}

}  // namespace

DecodedJpeg decodeJpeg(std::span<const std::uint8_t> bytes) {
  jpeg_decompress_struct decompress{};
  jpeg_error_mgr errors{};
  decompress.err = jpeg_std_error(&errors);
  errors.emit_message = [](j_common_ptr decoder, int level) {
    if (level < 0) ++decoder->err->num_warnings;
  };
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
  return {std::move(picture), errors.num_warnings};
}

RgbPicture decodeRaw(std::span<const std::uint8_t> bytes, const FrameLayout& layout,
                     const Colorimetry& colorimetry) {
  RgbPicture picture(layout.width, layout.height);
  for (std::uint32_t y = 0; y < layout.height; ++y) {
    for (std::uint32_t x = 0; x < layout.width; ++x) {
      const auto [red, green, blue] = colour(Pixel(bytes, layout, x, y), layout.format, colorimetry);
      auto* sample = picture.at(x, y);
      sample[0] = red;
      sample[1] = green;
      sample[2] = blue;
    }
  }
  return picture;
}

}  // namespace virtual_camera
