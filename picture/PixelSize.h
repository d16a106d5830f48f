#pragma once

namespace picture {

struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
};

}  // namespace picture
