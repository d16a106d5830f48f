#include "platform/linux/camera/Exposure.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "picture/PreviewDecoder.h"

namespace platform_linux {
namespace {

constexpr std::chrono::milliseconds kWindow{100};
/// Enough frames for an answer before that: many cameras adjust at every second frame only.
constexpr std::size_t kFewestSamples = 3;
/// Changes below this are noise, mains light that beats with the frame rate, or movement in the picture.
constexpr double kLevels = 3;
constexpr double kShare = 0.03;
/// The picture is decoded at about this size; small enough to cost little, large enough to average well.
constexpr picture::PixelSize kMeasured{64, 48};

/// A covered sensor's noise reaches further, even averaged.
constexpr int kFlatLevels = 2;
/// What black is in pictures of limited range that are taken for those of full range.
constexpr std::uint8_t kBlack = 16;

struct Channel {
  std::uint64_t sum = 0;
  std::uint8_t least = 255;
  std::uint8_t most = 0;

  void add(std::uint8_t value) {
    sum += value;
    least = std::min(least, value);
    most = std::max(most, value);
  }
  [[nodiscard]] bool isFlat() const { return most - least <= kFlatLevels; }
  [[nodiscard]] bool isBlack() const { return isFlat() && most <= kBlack; }
};

// Whether two means differ by less than that; `part` of it for frames that are closer than the window.
bool isNear(double a, double b, double part) {
  return std::abs(a - b) <= part * std::max(kLevels, kShare * std::max(a, b));
}

}  // namespace

std::optional<Exposure> exposureOf(const picture::Frame& frame) {
  picture::PixelBufferPool pool;
  const auto decoded = picture::decodeForView(frame, {.view = kMeasured}, pool);
  if (!decoded || decoded->pixels->size() < 4) return {};
  Channel red;
  Channel green;
  Channel blue;
  const auto& bytes = *decoded->pixels;
  for (std::size_t i = 0; i + 3 < bytes.size(); i += 4) {
    blue.add(bytes[i]);
    green.add(bytes[i + 1]);
    red.add(bytes[i + 2]);
  }
  const auto pixels = static_cast<double>(bytes.size() / 4);
  return Exposure{static_cast<double>(red.sum) / pixels, static_cast<double>(green.sum) / pixels,
                  static_cast<double>(blue.sum) / pixels, red.isBlack() && green.isFlat() && blue.isBlack()};
}

void ExposureTrend::frameArrived(Time time) {
  if (!first_) first_ = time;
  last_ = {time, last_.number + 1};
}

ExposureTrend::Time::duration ExposureTrend::between(const Sample& before, const Sample& after) const {
  const auto average = (last_.time - *first_) / std::max<std::int64_t>(last_.number, 1);
  return std::min(after.arrival.time - before.arrival.time,
                  (after.arrival.number - before.arrival.number) * average);
}

void ExposureTrend::add(const Arrival& arrival, const Exposure& exposure) {
  samples_.push_back({arrival, exposure});
  while (samples_.size() > 1 && between(samples_[1], samples_.back()) >= kWindow)
    samples_.pop_front();
}

bool ExposureTrend::hasSettled() const {
  if (samples_.size() < 2) return false;
  const std::chrono::duration<double> span = between(samples_.front(), samples_.back());
  const double part = std::min(1.0, span / kWindow);
  if (part < 1 && samples_.size() < kFewestSamples) return false;
  const Exposure& before = samples_.front().exposure;
  const Exposure& now = samples_.back().exposure;
  if (now.isBlank) return false;
  return isNear(before.red, now.red, part) && isNear(before.green, now.green, part) &&
         isNear(before.blue, now.blue, part);
}

bool ExposureTrend::hasSettledBy(Time now) const {
  return hasSettled() && now - samples_.back().arrival.time <= kWindow;
}

}  // namespace platform_linux
