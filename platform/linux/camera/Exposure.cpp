#include "platform/linux/camera/Exposure.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "picture/PreviewDecoder.h"

namespace platform_linux {
namespace {

constexpr std::chrono::milliseconds kWindow{100};
/// Changes below this are noise, mains light that beats with the frame rate, or movement in the picture.
constexpr double kLevels = 3;
constexpr double kShare = 0.03;
/// The picture is decoded at about this size; small enough to cost little, large enough to average well.
constexpr picture::PixelSize kMeasured{64, 48};

bool isNear(double a, double b) {
  return std::abs(a - b) <= std::max(kLevels, kShare * std::max(a, b));
}

}  // namespace

std::optional<Exposure> exposureOf(const picture::Frame& frame) {
  picture::PixelBufferPool pool;
  const auto decoded = picture::decodeForView(frame, {.view = kMeasured}, pool);
  if (!decoded || decoded->pixels->size() < 4) return {};
  std::uint64_t red = 0;
  std::uint64_t green = 0;
  std::uint64_t blue = 0;
  const auto& bytes = *decoded->pixels;
  for (std::size_t i = 0; i + 3 < bytes.size(); i += 4) {
    blue += bytes[i];
    green += bytes[i + 1];
    red += bytes[i + 2];
  }
  const auto pixels = static_cast<double>(bytes.size() / 4);
  return Exposure{static_cast<double>(red) / pixels, static_cast<double>(green) / pixels,
                  static_cast<double>(blue) / pixels};
}

void ExposureTrend::add(Time time, const Exposure& exposure) {
  samples_.push_back({time, exposure});
  while (samples_.size() > 1 && time - samples_[1].time >= kWindow)
    samples_.pop_front();
}

bool ExposureTrend::hasSettled() const {
  if (samples_.size() < 2) return false;
  const Exposure& before = samples_.front().exposure;
  const Exposure& now = samples_.back().exposure;
  return isNear(before.red, now.red) && isNear(before.green, now.green) && isNear(before.blue, now.blue);
}

}  // namespace platform_linux
