#pragma once

namespace platform_linux {

struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
};

}  // namespace platform_linux
