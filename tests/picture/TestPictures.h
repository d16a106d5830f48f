#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "picture/ByteSink.h"
#include "picture/RowSource.h"

namespace camera_shot_test {

using Bytes = std::vector<std::uint8_t>;

/// An 8-bit RGB picture in memory.
struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Bytes pixels;

  bool operator==(const Picture&) const = default;
};

/// A picture whose pixel at (x, y) is `color(x, y)`, as 0xRRGGBB.
Picture drawPicture(std::uint32_t width, std::uint32_t height,
                    const std::function<std::uint32_t(std::uint32_t x, std::uint32_t y)>& color);

Picture flatPicture(std::uint32_t width, std::uint32_t height, std::uint32_t color);
/// Every channel of every pixel at random: nothing to compress.
Picture noisePicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);
/// A smooth picture with sensor-like noise of a few levels, and edges.
Picture photoPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);
Picture gradientPicture(std::uint32_t width, std::uint32_t height);
/// A photo without colour.
Picture greyPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);
/// Rectangles and repeated small shapes in few colours, like a screenshot.
Picture drawnPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);
Picture mirrored(const Picture& picture);
/// Turned by a quarter.
Picture turnedClockwise(const Picture& picture);

/// Delivers a picture; may fail at a given row.
class PictureSource final : public picture::RowSource {
 public:
  static constexpr std::uint32_t kNever = 0xFFFFFFFF;

  explicit PictureSource(const Picture& picture, std::uint32_t failingRow = kNever)
      : picture_(picture), failingRow_(failingRow) {}

  std::uint32_t width() const noexcept override { return picture_.width; }
  std::uint32_t height() const noexcept override { return picture_.height; }
  bool readRows(std::span<std::uint8_t> rows) noexcept override;
  std::string failure() const override { return nextRow_ > failingRow_ ? "made to fail" : ""; }

 private:
  const Picture& picture_;
  std::uint32_t failingRow_;
  std::uint32_t nextRow_ = 0;
};

/// Keeps what is written; may refuse everything from a given byte on. Counts calls after a refusal.
class MemorySink final : public picture::ByteSink {
 public:
  explicit MemorySink(std::size_t capacity = static_cast<std::size_t>(-1)) : capacity_(capacity) {}

  bool write(std::span<const std::uint8_t> bytes) noexcept override;

  Bytes bytes;
  int writesAfterRefusal = 0;

 private:
  std::size_t capacity_;
  bool refused_ = false;
};

/// Everything that `source` delivers, asked for `rowsAtOnce` rows at a time; no pixels when it fails.
Picture readAll(picture::RowSource& source, std::uint32_t rowsAtOnce = 7);

}  // namespace camera_shot_test
