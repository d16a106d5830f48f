#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace camera_shot_bench {

using Bytes = std::vector<std::uint8_t>;

/// An 8-bit RGB picture in memory.
struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Bytes pixels;

  [[nodiscard]] std::size_t rowBytes() const { return std::size_t{width} * 3; }
};

/// A picture to measure on, and what it is counted among.
struct Sample {
  std::string name;
  /// "photo" and "clean photo" for what the targets are about; "grey", "flat", "gradient", "drawn" for the
  /// rest.
  std::string kind;
  /// What a camera would have sent; empty when the picture does not come from one.
  Bytes jpeg;
  Picture picture;
};

}  // namespace camera_shot_bench
