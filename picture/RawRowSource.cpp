#include "picture/RawRowSource.h"

#include <algorithm>

#include <libyuv.h>

#include "picture/SampleWords.h"

namespace picture {

std::unique_ptr<RawRowSource> RawRowSource::open(const Frame& frame, std::string& whyNot) {
  const auto planes = planesOf(frame, whyNot);
  if (!planes) return nullptr;
  return std::unique_ptr<RawRowSource>(new RawRowSource(frame, *planes));
}

RawRowSource::RawRowSource(const Frame& frame, const YuvReader::Planes& planes)
    : frame_(frame),
      layout_(PixelLayout::of(frame.format)),
      planes_(planes),
      yuv_(frame, planes, 1),
      rgb_(frame),
      matrix_(frame.matrix, rangeOf(frame), layout_.model == ColorModel::Yuv ? layout_.bits : 8) {
  if (layout_.model != ColorModel::Yuv) return;
  const auto pixels = static_cast<std::size_t>(frame.width);
  const std::size_t chroma = ((pixels - 1) >> layout_.chromaAcross) + 1;
  for (Row* row : {&red_, &green_, &blue_})
    row->resize(pixels);
  for (WideRow* row : {&blueChroma_, &redChroma_})
    row->resize(pixels);
  for (Row* row : {&nearBlue_, &nearRed_})
    row->resize(chroma);
  for (WideRow* row : {&halfBlue_, &halfRed_})
    row->resize(chroma);
  if (layout_.bits <= 8) return;
  deepLuma_.resize(pixels);
  deepNear_.resize(chroma);
  deepFar_.resize(chroma);
}

bool RawRowSource::readRows(std::span<std::uint8_t> rows) noexcept {
  for (; !rows.empty(); rows = rows.subspan(rowBytes()), ++nextRow_) {
    if (layout_.model == ColorModel::Yuv) {
      readYuvRow(nextRow_, rows.data());
    } else {
      rgb_.readRgb(planes_[0].row(static_cast<std::size_t>(nextRow_)), rows.data());
    }
  }
  return true;
}

// Not libyuv's own conversion: its 7-bit coefficients miss saturated blues of limited-range BT.709 by 15
// levels.
void RawRowSource::readYuvRow(int y, std::uint8_t* out) noexcept {
  const std::size_t pixels = red_.size();
  const bool deep = layout_.bits > 8;
  const int nearRow = y >> layout_.chromaDown;
  deep ? blendDeepChromaRows(nearRow, farChromaRow(y)) : blendChromaRows(nearRow, farChromaRow(y));
  const auto widen = layout_.chromaAcross == 0 ? scaleChroma : widenChroma;
  widen(halfBlue_.data(), pixels, blueChroma_.data());
  widen(halfRed_.data(), pixels, redChroma_.data());
  if (deep) {
    unpackDeep(0, y, deepLuma_);
    matrix_.convert(deepLuma_.data(), blueChroma_.data(), redChroma_.data(), pixels, red_.data(),
                    green_.data(), blue_.data());
  } else {
    matrix_.convert(yuv_.luma(y, 1).data, blueChroma_.data(), redChroma_.data(), pixels, red_.data(),
                    green_.data(), blue_.data());
  }
  libyuv::MergeRGBPlane(red_.data(), 0, green_.data(), 0, blue_.data(), 0, out, 0, static_cast<int>(pixels),
                        1);
}

// A chroma row that serves two luma rows lies midway between them, so that each is a quarter of the way to
// the next chroma row.
int RawRowSource::farChromaRow(int y) const noexcept {
  if (layout_.chromaDown == 0) return y;
  const int last = (frame_.height - 1) / 2;
  return y % 2 == 0 ? std::max(y / 2 - 1, 0) : std::min(y / 2 + 1, last);
}

void RawRowSource::blendChromaRows(int near, int far) noexcept {
  YuvReader::Chroma nearRows = yuv_.chroma(near, 1);
  YuvReader::Chroma farRows = nearRows;
  if (near != far) {
    if (layout_.planeCount == 2) {  // which the next call overwrites
      std::copy_n(nearRows.blue.data, nearBlue_.size(), nearBlue_.data());
      std::copy_n(nearRows.red.data, nearRed_.size(), nearRed_.data());
      nearRows = {{nearBlue_.data()}, {nearRed_.data()}};
    }
    farRows = yuv_.chroma(far, 1);
  }
  blendChroma(nearRows.blue.data, farRows.blue.data, halfBlue_.size(), halfBlue_.data());
  blendChroma(nearRows.red.data, farRows.red.data, halfRed_.size(), halfRed_.data());
}

void RawRowSource::blendDeepChromaRows(int near, int far) noexcept {
  for (const auto& [component, half] : {std::pair{1U, &halfBlue_}, {2U, &halfRed_}}) {
    unpackDeep(component, near, deepNear_);
    unpackDeep(component, far, deepFar_);
    blendChroma(deepNear_.data(), deepFar_.data(), half->size(), half->data());
  }
}

void RawRowSource::unpackDeep(std::size_t component, int row, WideRow& out) const noexcept {
  const auto& place = layout_.components[component];
  readSamples(planes_[place.plane].row(static_cast<std::size_t>(row)), place, out.size(), layout_,
              matrix_.bits(), out.data());
}

}  // namespace picture
