#include "platform/linux/camera/FrameExaminer.h"

#include <algorithm>
#include <utility>

#include "picture/FrameHealth.h"

namespace platform_linux {
namespace {

/// What a damaged frame has lost at least: never so little that it passes for a whole one.
constexpr double kLeastLost = 0.001;

double lostShare(const picture::Frame& frame) {
  const auto health = picture::examineFrame(frame);
  if (health.isWhole()) return 0;
  if (health.condition == picture::FrameCondition::NotAPicture) return 1;
  return std::max(health.lostPart, kLeastLost);
}

}  // namespace

FrameFinding FrameExaminerThread::find(const picture::Frame& frame, Question question) {
  FrameFinding finding;
  if (question != Question::Exposure) finding.lost = lostShare(frame);
  if (question != Question::Whole) finding.exposure = exposureOf(frame);
  return finding;
}

void FrameExaminerThread::examine(std::shared_ptr<const picture::Frame> frame, Question question,
                                  std::function<void(const FrameFinding&)> found) {
  worker_.post([this, frame = std::move(frame), question, found = std::move(found)] {
    loop_.post([found, finding = find(*frame, question)] { found(finding); });
  });
}

}  // namespace platform_linux
