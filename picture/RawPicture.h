#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "picture/Frame.h"

namespace picture {

/// Uncompressed layouts that cameras deliver, 8 bits a sample; named as they lie in memory.
enum class RawFormat {
  kYuy2,  ///< Y U Y V, packed
  kUyvy,  ///< U Y V Y, packed
  kNv12,  ///< a plane of Y, then one of U V at half the size each way
  kI420,  ///< a plane of Y, then one of U and one of V at half the size each way
  kRgb,   ///< R G B
  kBgr,   ///< B G R
  kRgbx,  ///< R G B and a byte that means nothing
  kBgrx,  ///< B G R and a byte that means nothing
};

/// An uncompressed picture in memory that belongs to someone else. Matrix and range say nothing about RGB
/// layouts.
struct RawPicture {
  struct Plane {
    std::span<const std::uint8_t> bytes;
    /// Bytes from one row to the next.
    std::size_t stride = 0;
  };

  RawFormat format = RawFormat::kYuy2;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  /// As many as the format has; the others are empty.
  std::array<Plane, 3> planes;
  ColorMatrix matrix = ColorMatrix::BT601;
  ColorRange range = ColorRange::Limited;
  /// Whether the picture is to be delivered reversed left to right.
  bool mirrored = false;
};

}  // namespace picture
