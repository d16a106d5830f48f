#include "platform/linux/camera/StillQueue.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <utility>

namespace platform_linux {
namespace {

/// A picture of which more is lost is none.
constexpr double kMostLost = 0.5;

}  // namespace

StillQueue::StillQueue(CameraLoop& loop, FrameExaminer& examiner,
                       std::function<void(const std::string&)> note)
    : loop_(loop), examiner_(examiner), note_(std::move(note)), reason_(ETIMEDOUT) {}

void StillQueue::request(StillAnswer answer) {
  if (schedule_.isSilent()) return answer(nullptr, reason_);
  waiting_.push_back({loop_.now(), std::move(answer)});
  armTimer();
}

void StillQueue::restart() {
  schedule_.restart();
  trend_.restart();
}

bool StillQueue::wantsFrame(Purpose purpose) {
  const auto now = loop_.now();
  schedule_.frameArrived(now);
  reason_ = ETIMEDOUT;
  const bool isStillToCome = !waiting_.empty() || (purpose == Purpose::Still && schedule_.isYoung(now));
  return isStillToCome && !examined_ && schedule_.isExposureWorthKnowing(now);
}

void StillQueue::examine(std::shared_ptr<const picture::Frame> frame) {
  const auto now = loop_.now();
  const bool mayBeStill = schedule_.hasSettled(now) && !waiting_.empty();
  auto question = schedule_.isYoung(now) ? FrameExaminer::Question::Both : FrameExaminer::Question::Whole;
  if (!mayBeStill) question = FrameExaminer::Question::Exposure;
  examined_ = mayBeStill ? waiting_.size() : 0;
  examiner_.examine(frame, question, [weakSelf = weak_from_this(), now, frame](const FrameFinding& finding) {
    const auto self = weakSelf.lock();
    if (!self) return;
    if (finding.exposure) self->trend_.add(now, *finding.exposure);
    self->judge(frame, finding);
    self->examined_.reset();
  });
}

void StillQueue::judge(const std::shared_ptr<const picture::Frame>& frame, const FrameFinding& finding) {
  const std::size_t count = std::min(*examined_, waiting_.size());
  if (count == 0) return;
  if (finding.lost > 0) {
    if (finding.lost < best_.lost) best_ = {frame, finding.lost};
    return;
  }
  const auto now = loop_.now();
  if (finding.exposure && schedule_.isYoung(now) && !trend_.hasSettled()) return schedule_.exposureMoves(now);
  answer(count, frame, 0);
}

void StillQueue::answer(std::size_t count, const std::shared_ptr<const picture::Frame>& frame, int error) {
  const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(count);
  std::deque<Still> answered(std::make_move_iterator(waiting_.begin()), std::make_move_iterator(end));
  waiting_.erase(waiting_.begin(), end);
  best_ = {};
  // A frame under examination was meant for those that go.
  if (examined_) *examined_ -= std::min(*examined_, count);
  if (waiting_.empty())
    timer_.reset();
  else
    armTimer();
  for (auto& still : answered)
    still.answer(frame, error);
}

void StillQueue::abandon() {
  waiting_.clear();
  timer_.reset();
}

void StillQueue::armTimer() {
  if (!timer_) timer_ = loop_.timer([this] { checkDeadline(); });
  timer_->startOnce(schedule_.deadline(waiting_.front().since) - loop_.now());
}

void StillQueue::checkDeadline() {
  // Frames put the deadline off; the timer is not touched at each of them, it looks again when it fires.
  const std::size_t due = countDue();
  if (due == 0) return armTimer();
  if (best_.lost <= kMostLost) {
    note_("only damaged pictures came; the best one was taken, of which " +
          std::to_string(std::lround(best_.lost * 100)) + " % is missing");
    auto best = std::make_shared<picture::Frame>(*best_.frame);
    best->isDamaged = true;
    return answer(due, best, 0);
  }
  schedule_.fallSilent();
  answer(waiting_.size(), nullptr, reason_);
}

std::size_t StillQueue::countDue() const {
  const auto now = loop_.now();
  return static_cast<std::size_t>(std::count_if(
      waiting_.begin(), waiting_.end(), [&](auto& still) { return now >= schedule_.deadline(still.since); }));
}

}  // namespace platform_linux
