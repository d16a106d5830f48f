#pragma once

#include <array>
#include <vector>

#include "picture/PixelLayout.h"

namespace picture {

/// Reads an uncompressed Y'CbCr frame as planes of 8-bit samples, a strip of rows at a time, for photo and
/// preview alike. Planes that are such already are used in place, others are taken apart; of samples of more
/// bits the upper eight count.
class YuvReader {
 public:
  using Planes = std::array<PlaneRows, PixelLayout::kMaximumPlanes>;
  struct Chroma {
    PlaneRows blue;
    PlaneRows red;
  };

  /// `frame` and what `planes` point to must outlive the reader. No more than `stripRows` rows are asked for
  /// at once.
  YuvReader(const Frame& frame, const Planes& planes, int stripRows);

  /// `count` rows of luma from `first` on, valid until the next call.
  [[nodiscard]] PlaneRows luma(int first, int count);
  /// The same of the colour differences, counted in their own rows.
  [[nodiscard]] Chroma chroma(int first, int count);

 private:
  struct Strip {
    std::vector<std::uint8_t> samples;
    std::size_t stride = 0;

    [[nodiscard]] PlaneRows rows() const { return {samples.data(), stride}; }
  };

  void splitPacked(int first, int count);
  /// Two pixels share their colour differences, in one plane with luma.
  [[nodiscard]] bool isPackedInPairs() const {
    return layout_.planeCount == 1 && layout_.chromaAcross == 1 && layout_.bits == 8;
  }
  /// One component of rows, sample by sample.
  void take(const PixelLayout::Component& component, int first, int count, Strip& strip) const;
  [[nodiscard]] const std::uint8_t* rowOf(std::size_t component, int row) const;

  const PixelLayout& layout_;
  Planes planes_;
  int width_;
  int chromaWidth_;
  Strip luma_, blue_, red_;  // empty where planes are used in place
  int splitFirst_ = -1;      // what the strips of a packed format hold
  int splitCount_ = 0;
};

}  // namespace picture
