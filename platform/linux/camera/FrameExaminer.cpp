#include "platform/linux/camera/FrameExaminer.h"

#include <algorithm>
#include <utility>

#include "picture/FrameHealth.h"
#include "platform/linux/base/ThreadPriority.h"

namespace platform_linux {
namespace {

/// What a damaged frame has lost at least: never so little that it passes for a whole one.
constexpr double kLeastLost = 0.001;

double lostShare(const picture::FrameHealth& health) {
  if (health.isWhole()) return 0;
  if (health.condition == picture::FrameCondition::NotAPicture) return 1;
  return std::max(health.lostPart, kLeastLost);
}

FrameFinding findingOf(const picture::Frame& frame, bool isMirrored) {
  auto result = picture::PngResult::Written;
  // An uncompressed frame need not be decoded to be known to be whole: its file is made where it goes.
  if (frame.format == picture::PixelFormat::MJPG)
    if (auto file = encodePhoto(frame, isMirrored, result)) return {0, {}, std::move(file)};
  auto health = picture::examineFrame(frame);
  const double lost = lostShare(health);
  return {result == picture::PngResult::SourceFailed ? std::max(lost, kLeastLost) : lost,
          std::move(health.whyNot), nullptr};
}

}  // namespace

void FrameExaminerThread::measure(std::shared_ptr<const picture::Frame> frame,
                                  std::function<void(const std::optional<Exposure>&)> found) {
  worker_.post([this, frame = std::move(frame), found = std::move(found)] {
    loop_.post([found, exposure = exposureOf(*frame)] { found(exposure); });
  });
}

void FrameExaminerThread::examine(std::shared_ptr<const picture::Frame> frame, Still still,
                                  std::function<void(const FrameFinding&)> found) {
  worker_.post([this, frame = std::move(frame), still, found = std::move(found)] {
    if (still.isWatched) lowerThreadPriority();
    loop_.post([found, finding = findingOf(*frame, still.isMirrored)] { found(finding); });
  });
}

}  // namespace platform_linux
