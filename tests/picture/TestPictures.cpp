#include "tests/picture/TestPictures.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace camera_shot_test {
namespace {

constexpr std::size_t kPixel = picture::kBytesPerPixel;

std::uint32_t grey(double level) {
  const auto value = static_cast<std::uint32_t>(std::clamp(level, 0.0, 255.0));
  return value << 16 | value << 8 | value;
}

// A smooth surface with a step across it.
double scene(std::uint32_t x, std::uint32_t y) {
  const double wave = 60 * std::sin(x * 0.013 + y * 0.007) + 30 * std::cos(x * 0.031 - y * 0.043);
  return 120 + wave + (2 * x > 3 * y ? 25 : 0);
}

}  // namespace

Picture drawPicture(std::uint32_t width, std::uint32_t height,
                    const std::function<std::uint32_t(std::uint32_t x, std::uint32_t y)>& color) {
  Picture picture{width, height, {}};
  picture.pixels.reserve(std::size_t{width} * height * kPixel);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      const std::uint32_t rgb = color(x, y);
      for (const int shift : {16, 8, 0})
        picture.pixels.push_back(static_cast<std::uint8_t>(rgb >> shift));
    }
  }
  return picture;
}

Picture flatPicture(std::uint32_t width, std::uint32_t height, std::uint32_t color) {
  return drawPicture(width, height, [color](auto, auto) { return color; });
}

Picture noisePicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
  std::mt19937 random(seed);
  return drawPicture(width, height, [&random](auto, auto) { return static_cast<std::uint32_t>(random()); });
}

Picture photoPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> noise(0, 2.5);
  return drawPicture(width, height, [&](std::uint32_t x, std::uint32_t y) {
    std::uint32_t rgb = 0;
    for (int channel = 0; channel < 3; ++channel) {
      rgb = rgb << 8 | (grey(scene(x, y) + 15 * channel + noise(random)) & 0xFF);
    }
    return rgb;
  });
}

Picture gradientPicture(std::uint32_t width, std::uint32_t height) {
  return drawPicture(width, height, [=](std::uint32_t x, std::uint32_t y) {
    return (255 * x / width) << 16 | (255 * y / height) << 8 | (255 * (x + y) / (width + height));
  });
}

Picture greyPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> noise(0, 2.5);
  return drawPicture(width, height, [&](auto x, auto y) { return grey(scene(x, y) + noise(random)); });
}

Picture drawnPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
  return drawPicture(width, height, [seed](std::uint32_t x, std::uint32_t y) {
    const std::uint32_t tile = (x / 64 * 7 + y / 32 * 13 + seed) % 5;
    const bool stroke = (x % 9 == 3 || y % 12 == 5 || (x + y) % 17 == 0) && tile > 1;
    return stroke ? 0x202020U : 0xF0E0D0U - 0x101820U * tile;
  });
}

Picture turnedClockwise(const Picture& picture) {
  Picture turned{picture.height, picture.width, Bytes(picture.pixels.size())};
  for (std::size_t y = 0; y < turned.height; ++y)
    for (std::size_t x = 0; x < turned.width; ++x)
      for (std::size_t channel = 0; channel < 3; ++channel)
        turned.pixels[(y * turned.width + x) * 3 + channel] =
            picture.pixels[((picture.height - 1 - x) * picture.width + y) * 3 + channel];
  return turned;
}

Picture mirrored(const Picture& picture) {
  return drawPicture(picture.width, picture.height, [&picture](std::uint32_t x, std::uint32_t y) {
    const std::size_t at = (std::size_t{y} * picture.width + picture.width - 1 - x) * kPixel;
    return static_cast<std::uint32_t>(picture.pixels[at] << 16 | picture.pixels[at + 1] << 8 |
                                      picture.pixels[at + 2]);
  });
}

bool PictureSource::readRows(std::span<std::uint8_t> rows) noexcept {
  const auto count = static_cast<std::uint32_t>(rows.size() / rowBytes());
  const std::size_t from = nextRow_ * rowBytes();
  nextRow_ += count;
  if (nextRow_ > failingRow_) return false;
  std::copy_n(picture_.pixels.begin() + static_cast<std::ptrdiff_t>(from), rows.size(), rows.begin());
  return true;
}

bool MemorySink::write(std::span<const std::uint8_t> written) noexcept {
  if (refused_) ++writesAfterRefusal;
  refused_ = refused_ || written.size() > capacity_ - bytes.size();
  if (!refused_) bytes.insert(bytes.end(), written.begin(), written.end());
  return !refused_;
}

Picture readAll(picture::RowSource& source, std::uint32_t rowsAtOnce) {
  Picture picture{source.width(), source.height(), Bytes(source.rowBytes() * source.height())};
  std::span<std::uint8_t> left = picture.pixels;
  while (!left.empty()) {
    const std::size_t bytes = std::min(left.size(), rowsAtOnce * source.rowBytes());
    if (!source.readRows(left.first(bytes))) return {};
    left = left.subspan(bytes);
  }
  return picture;
}

}  // namespace camera_shot_test
