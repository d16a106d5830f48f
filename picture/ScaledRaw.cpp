#include "picture/ScaledRaw.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <libyuv.h>

namespace picture {
namespace {

/// Rows made at a time, so that the full-size pixels of a large frame stay in the processor's cache.
constexpr int kStripRows = PixelRows::kStripRows;

/// The library's factors have eight bits: saturated blue of BT.709 in limited range comes out up to 9 levels
/// too dark. For a preview that will do.
const libyuv::YuvConstants* constantsOf(const Frame& frame) {
  if (frame.matrix == ColorMatrix::BT709)
    return frame.range == ColorRange::Full ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
  return frame.range == ColorRange::Full ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

/// The least stride of the first plane.
std::size_t rowBytes(const Frame& frame) {
  const auto width = static_cast<std::size_t>(frame.width);
  switch (frame.format) {
    case PixelFormat::YUY2:
    case PixelFormat::UYVY:
      return (width + 1) / 2 * 4;
    case PixelFormat::NV12:
    case PixelFormat::I420:
      return width;
    case PixelFormat::RGB:
    case PixelFormat::BGR:
      return width * 3;
    case PixelFormat::RGBx:
    case PixelFormat::BGRx:
      return width * 4;
    case PixelFormat::MJPG:
      break;
  }
  return 0;
}

bool isComplete(const Frame& frame) {
  const std::size_t least = rowBytes(frame);
  const auto stride = static_cast<std::size_t>(std::max(frame.stride, 0));
  if (least == 0 || stride < least) return false;
  const auto height = static_cast<std::size_t>(frame.height);
  const std::size_t chromaRows = (height + 1) / 2;
  const auto width = static_cast<std::size_t>(frame.width);
  switch (frame.format) {
    case PixelFormat::NV12:
      return stride >= (width + 1) / 2 * 2 && frame.bytes.size() >= stride * (height + chromaRows);
    case PixelFormat::I420:
      return stride / 2 >= (width + 1) / 2 &&
             frame.bytes.size() >= stride * height + stride / 2 * 2 * chromaRows;
    default:
      return frame.bytes.size() >= stride * (height - 1) + least;
  }
}

/// Packed 4:2:2 has no conversion with a choice of colour matrix: it is taken apart into planes first.
class PackedRows {
 public:
  explicit PackedRows(const Frame& frame)
      : lumaStride_((frame.width + 1) / 2 * 2),
        luma_(static_cast<std::size_t>(lumaStride_) * kStripRows),
        u_(luma_.size() / 2),
        v_(luma_.size() / 2) {}

  void convert(const Frame& frame, const std::uint8_t* source, int rows, std::uint8_t* out, int outStride) {
    const int chromaStride = lumaStride_ / 2;
    const auto split = frame.format == PixelFormat::YUY2 ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
    split(source, frame.stride, luma_.data(), lumaStride_, u_.data(), chromaStride, v_.data(), chromaStride,
          frame.width, rows);
    libyuv::I422ToARGBMatrix(luma_.data(), lumaStride_, u_.data(), chromaStride, v_.data(), chromaStride, out,
                             outStride, constantsOf(frame), frame.width, rows);
  }

 private:
  int lumaStride_;
  std::vector<std::uint8_t> luma_;
  std::vector<std::uint8_t> u_;
  std::vector<std::uint8_t> v_;
};

void copyOpaque(const std::uint8_t* source, int sourceStride, std::uint8_t* out, int outStride, int width,
                int rows) {
  for (int row = 0; row < rows; ++row) {
    const std::uint8_t* from = source + static_cast<std::ptrdiff_t>(row) * sourceStride;
    std::uint8_t* to = out + static_cast<std::ptrdiff_t>(row) * outStride;
    for (int x = 0; x < width; ++x, from += 4, to += 4) {
      to[0] = from[0];
      to[1] = from[1];
      to[2] = from[2];
      to[3] = 255;
    }
  }
}

/// Converts `rows` rows from the even row `first` on into full-size pixels.
void convertRows(const Frame& frame, int first, int rows, PackedRows& packed, std::uint8_t* out,
                 int outStride) {
  const std::uint8_t* const bytes = frame.bytes.data();
  const std::ptrdiff_t stride = frame.stride;
  const std::uint8_t* const source = bytes + first * stride;
  const std::uint8_t* const chroma = bytes + frame.height * stride;
  switch (frame.format) {
    case PixelFormat::YUY2:
    case PixelFormat::UYVY:
      packed.convert(frame, source, rows, out, outStride);
      break;
    case PixelFormat::NV12:
      libyuv::NV12ToARGBMatrix(source, frame.stride, chroma + first / 2 * stride, frame.stride, out,
                               outStride, constantsOf(frame), frame.width, rows);
      break;
    case PixelFormat::I420: {
      const std::ptrdiff_t half = stride / 2;
      const std::uint8_t* const v = chroma + half * ((frame.height + 1) / 2);
      libyuv::I420ToARGBMatrix(source, frame.stride, chroma + first / 2 * half, static_cast<int>(half),
                               v + first / 2 * half, static_cast<int>(half), out, outStride,
                               constantsOf(frame), frame.width, rows);
      break;
    }
    // The library names packed formats by their order in a little-endian word: its ARGB is our blue, green,
    // red, 255.
    case PixelFormat::RGB:
      libyuv::RAWToARGB(source, frame.stride, out, outStride, frame.width, rows);
      break;
    case PixelFormat::BGR:
      libyuv::RGB24ToARGB(source, frame.stride, out, outStride, frame.width, rows);
      break;
    case PixelFormat::RGBx:
      libyuv::ABGRToARGB(source, frame.stride, out, outStride, frame.width, rows);
      copyOpaque(out, outStride, out, outStride, frame.width, rows);
      break;
    case PixelFormat::BGRx:
      copyOpaque(source, frame.stride, out, outStride, frame.width, rows);
      break;
    case PixelFormat::MJPG:
      break;
  }
}

int factorFor(PixelSize picture, PixelSize covered) {
  return std::max(1, std::min(picture.width / covered.width, picture.height / covered.height));
}

}  // namespace

PixelSize scaledRawSize(PixelSize picture, PixelSize covered) {
  const int factor = factorFor(picture, covered);
  return {picture.width / factor, picture.height / factor};
}

bool decodeScaledRaw(const Frame& frame, PixelRows& rows) {
  if (!isComplete(frame)) return false;
  const PixelSize size = rows.size();
  const int factor = factorFor({frame.width, frame.height}, size);
  const int fullStride = frame.width * 4;
  PackedRows packed(frame);
  // As high as a strip of the picture: the rows that one row of it averages lie in it together.
  std::vector<std::uint8_t> full(factor > 1 ? static_cast<std::size_t>(fullStride) * kStripRows * factor : 0);
  for (int row = 0; row < size.height; row += kStripRows) {
    const int stripRows = std::min(kStripRows, size.height - row);
    if (factor == 1) {
      convertRows(frame, row, stripRows, packed, rows.strip(row), rows.stride());
    } else {
      for (int fullRow = 0; fullRow < stripRows * factor; fullRow += kStripRows)
        convertRows(frame, row * factor + fullRow, std::min(kStripRows, stripRows * factor - fullRow), packed,
                    full.data() + static_cast<std::size_t>(fullRow) * fullStride, fullStride);
      libyuv::ARGBScale(full.data(), fullStride, size.width * factor, stripRows * factor, rows.strip(row),
                        rows.stride(), size.width, stripRows, libyuv::kFilterBox);
    }
    rows.written(row, stripRows);
  }
  return true;
}

}  // namespace picture
