#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "picture/Frame.h"
#include "platform/linux/photo/PictureData.h"

namespace ui_test {

struct Rgb {
  int red = 0;
  int green = 0;
  int blue = 0;
};

inline constexpr Rgb kRed{210, 30, 30};
inline constexpr Rgb kBlue{30, 30, 210};
inline constexpr Rgb kGrey{128, 128, 128};

/// What a picture shows at a place, both coordinates from 0 to 1.
using Painter = std::function<Rgb(double x, double y)>;

/// Red in the left quarter, blue in the right one, grey between.
Rgb redLeftBlueRight(double x, double y);
/// A landscape with a bright sky: what stands over it must stay legible.
Rgb landscape(double x, double y);

/// The picture as a camera's JPEG frame.
std::shared_ptr<picture::Frame> jpegFrame(int width, int height, const Painter& painter);

/// A photo around a frame.
std::shared_ptr<const platform_linux::PictureData> photoOf(std::shared_ptr<const picture::Frame> frame,
                                                           bool mirrored);

}  // namespace ui_test
