#include "tests/desktop/virtual-camera/Transform.h"

#include <algorithm>

namespace virtual_camera {
namespace {

RgbPicture turnedCounterClockwise(const RgbPicture& picture) {
  RgbPicture turned(picture.height, picture.width);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x)
      std::copy_n(picture.at(x, y), 3, turned.at(y, picture.width - 1 - x));
  }
  return turned;
}

RgbPicture flipped(const RgbPicture& picture) {
  RgbPicture mirrored(picture.width, picture.height);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x)
      std::copy_n(picture.at(x, y), 3, mirrored.at(picture.width - 1 - x, y));
  }
  return mirrored;
}

}  // namespace

RgbPicture transformed(const RgbPicture& upright, Transform transform) {
  const auto number = static_cast<unsigned>(transform);
  auto picture = number >= static_cast<unsigned>(Transform::kFlipped) ? flipped(upright) : upright;
  for (unsigned turn = 0; turn < number % 4; ++turn)
    picture = turnedCounterClockwise(picture);
  return picture;
}

}  // namespace virtual_camera
