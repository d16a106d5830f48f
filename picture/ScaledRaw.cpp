#include "picture/ScaledRaw.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <libyuv.h>

#include "picture/RgbReader.h"
#include "picture/YuvReader.h"

namespace picture {
namespace {

/// Rows made at a time, so that the full-size pixels of a large frame stay in the processor's cache.
constexpr int kStripRows = PixelRows::kStripRows;

/// The library's factors have eight bits: saturated blue in limited range comes out too dark, by up to 9
/// levels of BT.709 and 12 of BT.2020. It knows neither FCC nor SMPTE 240M; the nearest matrix gives their
/// colours to within 3 levels. For a preview that will do.
const libyuv::YuvConstants* constantsOf(const Frame& frame) {
  const bool full = rangeOf(frame) == ColorRange::Full;
  switch (frame.matrix) {
    case ColorMatrix::BT709:
    case ColorMatrix::SMPTE240M:
      return full ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
    case ColorMatrix::BT2020:
      return full ? &libyuv::kYuvV2020Constants : &libyuv::kYuv2020Constants;
    case ColorMatrix::BT601:
    case ColorMatrix::FCC:
      break;
  }
  return full ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

/// Rows of the frame as full-size pixels, a strip at a time.
class BgraReader {
 public:
  BgraReader(const Frame& frame, const YuvReader::Planes& planes)
      : frame_(frame),
        layout_(PixelLayout::of(frame.format)),
        planes_(planes),
        yuv_(frame, planes, kStripRows),
        rgb_(frame) {}

  /// Converts `rows` rows, no more than a strip, from the even row `first` on.
  void read(int first, int rows, std::uint8_t* out, int outStride) {
    if (layout_.model == ColorModel::Yuv) {
      layout_.planeCount == 2 && layout_.bits == 8 && layout_.chromaDown == 1
          ? readPairs(first, rows, out, outStride)
          : readPlanes(first, rows, out, outStride);
      return;
    }
    for (int row = 0; row < rows; ++row)
      rgb_.readBgra(planes_[0].row(static_cast<std::size_t>(first + row)),
                    out + static_cast<std::ptrdiff_t>(row) * outStride);
  }

 private:
  /// The library reads NV12 and NV21 themselves: nothing is to be taken apart.
  void readPairs(int first, int rows, std::uint8_t* out, int outStride) {
    const auto convert =
        layout_.format == PixelFormat::NV12 ? libyuv::NV12ToARGBMatrix : libyuv::NV21ToARGBMatrix;
    convert(planes_[0].row(static_cast<std::size_t>(first)), static_cast<int>(planes_[0].stride),
            planes_[1].row(static_cast<std::size_t>(first) / 2), static_cast<int>(planes_[1].stride), out,
            outStride, constantsOf(frame_), frame_.width, rows);
  }

  void readPlanes(int first, int rows, std::uint8_t* out, int outStride) {
    const int down = layout_.chromaDown;
    const PlaneRows luma = yuv_.luma(first, rows);
    const auto [blue, red] = yuv_.chroma(first >> down, ((rows - 1) >> down) + 1);
    const auto convert = layout_.chromaAcross == 0 ? libyuv::I444ToARGBMatrix
                         : down == 0               ? libyuv::I422ToARGBMatrix
                                                   : libyuv::I420ToARGBMatrix;
    convert(luma.data, static_cast<int>(luma.stride), blue.data, static_cast<int>(blue.stride), red.data,
            static_cast<int>(red.stride), out, outStride, constantsOf(frame_), frame_.width, rows);
  }

  const Frame& frame_;
  const PixelLayout& layout_;
  YuvReader::Planes planes_;
  YuvReader yuv_;
  RgbReader rgb_;
};

int factorFor(PixelSize picture, PixelSize covered) {
  return std::max(1, std::min(picture.width / covered.width, picture.height / covered.height));
}

}  // namespace

PixelSize scaledRawSize(PixelSize picture, PixelSize covered) {
  const int factor = factorFor(picture, covered);
  return {picture.width / factor, picture.height / factor};
}

bool decodeScaledRaw(const Frame& frame, PixelRows& rows) {
  std::string whyNot;
  const auto planes = planesOf(frame, whyNot);
  if (!planes) return false;
  const PixelSize size = rows.size();
  const int factor = factorFor({frame.width, frame.height}, size);
  const int fullStride = frame.width * 4;
  BgraReader reader(frame, *planes);
  // As high as a strip of the picture: the rows that one row of it averages lie in it together.
  std::vector<std::uint8_t> full(factor > 1 ? static_cast<std::size_t>(fullStride) * kStripRows * factor : 0);
  for (int row = 0; row < size.height; row += kStripRows) {
    const int stripRows = std::min(kStripRows, size.height - row);
    if (factor == 1) {
      reader.read(row, stripRows, rows.strip(row), rows.stride());
    } else {
      for (int fullRow = 0; fullRow < stripRows * factor; fullRow += kStripRows)
        reader.read(row * factor + fullRow, std::min(kStripRows, stripRows * factor - fullRow),
                    full.data() + static_cast<std::size_t>(fullRow) * fullStride, fullStride);
      libyuv::ARGBScale(full.data(), fullStride, size.width * factor, stripRows * factor, rows.strip(row),
                        rows.stride(), size.width, stripRows, libyuv::kFilterBox);
    }
    rows.written(row, stripRows);
  }
  return true;
}

}  // namespace picture
