#include <algorithm>
#include <functional>
#include <random>

#include "bench/png/Scenes.h"

namespace camera_shot_bench {
namespace {

class Canvas {
 public:
  Canvas(std::uint32_t width, std::uint32_t height)
      : picture_{width, height, Bytes(std::size_t{width} * height * 3)} {}

  /// Paints a rectangle, as far as it lies on the canvas, by a colour for each of its pixels.
  void fill(std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height,
            const std::function<std::uint32_t(std::uint32_t x, std::uint32_t y)>& color) {
    for (std::uint32_t y = top; y < std::min(top + height, picture_.height); ++y) {
      for (std::uint32_t x = left; x < std::min(left + width, picture_.width); ++x) {
        set(x, y, color(x - left, y - top));
      }
    }
  }

  void fill(std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height,
            std::uint32_t color) {
    fill(left, top, width, height, [color](auto, auto) { return color; });
  }

  Picture take() { return std::move(picture_); }

 private:
  void set(std::uint32_t x, std::uint32_t y, std::uint32_t color) {
    std::uint8_t* pixel = picture_.pixels.data() + (std::size_t{y} * picture_.width + x) * 3;
    for (int channel = 0; channel < 3; ++channel)
      pixel[channel] = static_cast<std::uint8_t>(color >> (16 - 8 * channel));
  }

  Picture picture_;
};

// Words of small glyphs with grey edges, from an alphabet of forty.
void writeText(Canvas& canvas, std::mt19937& random, std::uint32_t left, std::uint32_t top,
               std::uint32_t width, std::uint32_t lines) {
  for (std::uint32_t line = 0; line < lines; ++line) {
    for (std::uint32_t x = left; x + 8 < left + width; x += 8) {
      if (random() % 6 == 0) continue;
      const std::uint32_t glyph = (static_cast<std::uint32_t>(random()) % 40 + 3) * 2654435761U;
      canvas.fill(x, top + line * 18, 7, 11, [glyph](std::uint32_t gx, std::uint32_t gy) {
        const std::uint32_t stroke = glyph >> ((gx / 2 + gy / 3 * 3) % 28) & 3;
        return stroke == 0 ? 0x303030U : stroke == 1 ? 0xA0A0A0U : 0xFAFAFAU;
      });
    }
  }
}

void drawWindow(Canvas& canvas, std::mt19937& random, std::uint32_t left, std::uint32_t top,
                std::uint32_t width, std::uint32_t height) {
  canvas.fill(left, top, width, height, 0xFAFAFAU);
  canvas.fill(left, top, width, 36, [](auto, std::uint32_t y) { return 0xE8E8E8U - 0x010101U * (y / 3); });
  canvas.fill(left, top + 36, width / 5, height - 36, 0xF0F0F4U);
  for (std::uint32_t i = 0; i < 8; ++i) {
    const std::uint32_t tint = static_cast<std::uint32_t>(random()) & 0x7F7F7F;
    canvas.fill(left + 16, top + 60 + i * 40, 24, 24,
                [tint](std::uint32_t x, std::uint32_t y) { return tint + (x * 5 << 16) + (y * 5 << 8); });
  }
  writeText(canvas, random, left + width / 5 + 20, top + 60, width - width / 5 - 60, (height - 90) / 18);
}

}  // namespace

Picture flatPicture(std::uint32_t width, std::uint32_t height, std::uint32_t color) {
  Canvas canvas(width, height);
  canvas.fill(0, 0, width, height, color);
  return canvas.take();
}

Picture gradientPicture(std::uint32_t width, std::uint32_t height) {
  Canvas canvas(width, height);
  canvas.fill(0, 0, width, height, [=](std::uint32_t x, std::uint32_t y) {
    return (40 + 180 * x / width) << 16 | (60 + 150 * y / height) << 8 |
           (230 - 100 * (x + y) / (width + height));
  });
  return canvas.take();
}

Picture screenPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
  std::mt19937 random(seed);
  Canvas canvas(width, height);
  canvas.fill(0, 0, width, height, [=](auto, std::uint32_t y) {
    return 0x204060U + (static_cast<std::uint32_t>(80 * y / height) * 0x010101U);
  });
  const std::uint32_t windows = width / 480;
  const auto below = [&random](std::uint32_t end) {
    return static_cast<std::uint32_t>(random()) % std::max(1U, end);
  };
  for (std::uint32_t i = 0; i < windows; ++i) {
    const std::uint32_t windowWidth = width / 3 + below(width / 3);
    const std::uint32_t windowHeight = height / 3 + below(height / 2);
    drawWindow(canvas, random, below(width / 2), below(height / 2), windowWidth, windowHeight);
  }
  return canvas.take();
}

}  // namespace camera_shot_bench
