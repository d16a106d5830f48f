#include "picture/RawRowSource.h"

#include <algorithm>

#include <libyuv.h>

namespace picture {
namespace {

bool isRgb(RawFormat format) {
  return format == RawFormat::kRgb || format == RawFormat::kBgr || format == RawFormat::kRgbx ||
         format == RawFormat::kBgrx;
}

bool isPlanar(RawFormat format) {
  return format == RawFormat::kNv12 || format == RawFormat::kI420;
}

std::uint32_t halved(std::uint32_t size) {
  return (size + 1) / 2;
}

// The bytes and rows that a plane must have; no rows for a plane that the format does not have.
struct PlaneSize {
  std::size_t rowBytes = 0;
  std::size_t rows = 0;
};

PlaneSize planeSize(const RawPicture& picture, std::size_t plane) {
  const std::size_t width = picture.width;
  const PlaneSize whole{width, picture.height};
  const PlaneSize quarter{halved(picture.width), halved(picture.height)};
  switch (picture.format) {
    case RawFormat::kYuy2:
    case RawFormat::kUyvy:
      return plane == 0 ? PlaneSize{std::size_t{4} * halved(picture.width), picture.height} : PlaneSize{};
    case RawFormat::kNv12:
      if (plane == 0) return whole;
      return plane == 1 ? PlaneSize{2 * quarter.rowBytes, quarter.rows} : PlaneSize{};
    case RawFormat::kI420:
      return plane == 0 ? whole : quarter;
    case RawFormat::kRgb:
    case RawFormat::kBgr:
      return plane == 0 ? PlaneSize{3 * width, picture.height} : PlaneSize{};
    case RawFormat::kRgbx:
    case RawFormat::kBgrx:
      return plane == 0 ? PlaneSize{4 * width, picture.height} : PlaneSize{};
  }
  return {};
}

bool holds(const RawPicture::Plane& plane, PlaneSize size) {
  if (size.rows == 0) return true;
  if (plane.stride < size.rowBytes || plane.bytes.size() < size.rowBytes) return false;
  return (plane.bytes.size() - size.rowBytes) / plane.stride >= size.rows - 1;
}

}  // namespace

std::unique_ptr<RawRowSource> RawRowSource::open(const RawPicture& picture, std::string& failure) {
  if (!isAcceptablePictureSize(picture.width, picture.height)) {
    failure = "Picture size is zero or too large";
    return nullptr;
  }
  for (std::size_t plane = 0; plane < picture.planes.size(); ++plane) {
    if (holds(picture.planes[plane], planeSize(picture, plane))) continue;
    failure = "Plane " + std::to_string(plane) + " is too small";
    return nullptr;
  }
  return std::unique_ptr<RawRowSource>(new RawRowSource(picture));
}

RawRowSource::RawRowSource(const RawPicture& picture)
    : picture_(picture), matrix_(picture.matrix, picture.range) {
  if (picture.mirrored) unmirrored_.resize(rowBytes());
  if (isRgb(picture.format)) return;
  for (Row* row : {&luma_, &blueChroma_, &redChroma_, &red_, &green_, &blue_})
    row->resize(picture.width);
  for (Row* row : {&halfBlue_, &halfRed_, &farBlue_, &farRed_})
    row->resize(halved(picture.width));
}

bool RawRowSource::readRows(std::span<std::uint8_t> rows) noexcept {
  const auto stride = static_cast<int>(rowBytes());
  for (; !rows.empty(); rows = rows.subspan(rowBytes())) {
    if (unmirrored_.empty()) {
      readRow(nextRow_++, rows.data());
    } else {
      readRow(nextRow_++, unmirrored_.data());
      libyuv::RGB24Mirror(unmirrored_.data(), stride, rows.data(), stride, static_cast<int>(width()), 1);
    }
  }
  return true;
}

void RawRowSource::readRow(std::uint32_t y, std::uint8_t* out) noexcept {
  if (isRgb(picture_.format)) {
    readRgbRow(planeRow(0, y), out);
  } else {
    convertYuvRow(y, out);
  }
}

// libyuv names layouts by words, so its ARGB is B G R x in memory, its RGB24 is B G R and its RAW is R G B.
void RawRowSource::readRgbRow(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  const auto pixels = static_cast<int>(width());
  if (picture_.format == RawFormat::kRgb) {
    std::copy_n(row, rowBytes(), out);
  } else if (picture_.format == RawFormat::kBgr) {
    libyuv::RAWToRGB24(row, 3 * pixels, out, 3 * pixels, pixels, 1);
  } else if (picture_.format == RawFormat::kRgbx) {
    libyuv::ARGBToRGB24(row, 4 * pixels, out, 3 * pixels, pixels, 1);
  } else {
    libyuv::ARGBToRAW(row, 4 * pixels, out, 3 * pixels, pixels, 1);
  }
}

// Not libyuv's own conversion: its 7-bit coefficients miss saturated blues of limited-range BT.709 by 15
// levels.
void RawRowSource::convertYuvRow(std::uint32_t y, std::uint8_t* out) noexcept {
  const std::uint8_t* luma = nullptr;
  if (isPlanar(picture_.format)) {
    luma = planeRow(0, y);
    blendPlanarChroma(y);
  } else {
    luma = splitPackedRow(y);
  }
  const std::size_t pixels = width();
  widenChroma(halfBlue_.data(), pixels, blueChroma_.data());
  widenChroma(halfRed_.data(), pixels, redChroma_.data());
  matrix_.convert(luma, blueChroma_.data(), redChroma_.data(), pixels, red_.data(), green_.data(),
                  blue_.data());
  const auto stride = static_cast<int>(pixels);
  libyuv::MergeRGBPlane(red_.data(), stride, green_.data(), stride, blue_.data(), stride, out, 3 * stride,
                        stride, 1);
}

const std::uint8_t* RawRowSource::splitPackedRow(std::uint32_t y) noexcept {
  const auto pixels = static_cast<int>(width());
  const auto half = static_cast<int>(halved(width()));
  const auto split = picture_.format == RawFormat::kYuy2 ? &libyuv::YUY2ToI422 : &libyuv::UYVYToI422;
  split(planeRow(0, y), 4 * half, luma_.data(), pixels, halfBlue_.data(), half, halfRed_.data(), half, pixels,
        1);
  return luma_.data();
}

// Chroma rows lie midway between two luma rows, so each luma row is a quarter of the way to the next chroma
// row.
void RawRowSource::blendPlanarChroma(std::uint32_t y) noexcept {
  const std::uint32_t nearRow = y / 2;
  const std::uint32_t last = halved(height()) - 1;
  const std::uint32_t farRow = y % 2 == 0 ? nearRow - std::min(nearRow, 1U) : std::min(nearRow + 1, last);
  fetchChroma(nearRow, halfBlue_, halfRed_);
  fetchChroma(farRow, farBlue_, farRed_);
  blendChroma(halfBlue_.data(), farBlue_.data(), halfBlue_.size(), halfBlue_.data());
  blendChroma(halfRed_.data(), farRed_.data(), halfRed_.size(), halfRed_.data());
}

void RawRowSource::fetchChroma(std::uint32_t chromaRow, Row& blue, Row& red) const noexcept {
  if (picture_.format == RawFormat::kI420) {
    std::copy_n(planeRow(1, chromaRow), blue.size(), blue.data());
    std::copy_n(planeRow(2, chromaRow), red.size(), red.data());
    return;
  }
  const auto half = static_cast<int>(blue.size());
  libyuv::SplitUVPlane(planeRow(1, chromaRow), 2 * half, blue.data(), half, red.data(), half, half, 1);
}

const std::uint8_t* RawRowSource::planeRow(std::size_t plane, std::uint32_t row) const noexcept {
  return picture_.planes[plane].bytes.data() + row * picture_.planes[plane].stride;
}

}  // namespace picture
