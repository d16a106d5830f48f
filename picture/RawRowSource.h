#pragma once

#include <memory>
#include <string>
#include <vector>

#include "picture/RgbReader.h"
#include "picture/RowSource.h"
#include "picture/YuvReader.h"
#include "picture/YuvRow.h"

namespace picture {

/// The rows of an uncompressed frame, every channel within half a level of the conversion that the
/// recommendations define. Samples of colour difference lie on the even pixels of a row and midway between
/// two rows, and are interpolated in between.
class RawRowSource final : public RowSource {
 public:
  /// Null when the frame is no such picture, see planesOf, and `whyNot` then says why. The frame must
  /// outlive the source.
  [[nodiscard]] static std::unique_ptr<RawRowSource> open(const Frame& frame, std::string& whyNot);

  [[nodiscard]] std::uint32_t width() const noexcept override {
    return static_cast<std::uint32_t>(frame_.width);
  }
  [[nodiscard]] std::uint32_t height() const noexcept override {
    return static_cast<std::uint32_t>(frame_.height);
  }
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  /// Nothing can fail once the picture is open.
  [[nodiscard]] std::string failure() const override { return {}; }

 private:
  using Row = std::vector<std::uint8_t>;
  using WideRow = std::vector<std::uint16_t>;

  RawRowSource(const Frame& frame, const YuvReader::Planes& planes);

  void readYuvRow(int y, std::uint8_t* out) noexcept;
  [[nodiscard]] int farChromaRow(int y) const noexcept;
  void blendChromaRows(int near, int far) noexcept;
  void blendDeepChromaRows(int near, int far) noexcept;
  void unpackDeep(std::size_t component, int row, WideRow& out) const noexcept;

  const Frame& frame_;
  const PixelLayout& layout_;
  YuvReader::Planes planes_;
  YuvReader yuv_;
  RgbReader rgb_;
  YuvMatrix matrix_;
  int nextRow_ = 0;
  // Rows in between; empty for other models.
  WideRow deepLuma_, deepNear_, deepFar_;  // samples of 10 bits
  Row nearBlue_, nearRed_;                 // the chroma of the nearer row, while the farther one is fetched
  WideRow halfBlue_, halfRed_;             // at the width of chroma, in quarters
  WideRow blueChroma_, redChroma_;         // at the width of luma, in eighths
  Row red_, green_, blue_;
};

}  // namespace picture
