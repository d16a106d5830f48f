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

/// How often the time is looked at while a still waits, so that a standstill of the machine is seen.
constexpr std::chrono::milliseconds kTimeCheck{500};

}  // namespace

StillQueue::StillQueue(CameraLoop& loop, FrameExaminer& examiner,
                       std::function<void(const std::string&)> note)
    : loop_(loop), examiner_(examiner), note_(std::move(note)), reason_(ETIMEDOUT) {}

void StillQueue::request(StillAnswer answer, bool isMirrored) {
  if (schedule_.isSilent()) return answer({}, reason_);
  waiting_.push_back({loop_.now(), std::move(answer), isMirrored});
  armTimer();
}

void StillQueue::restart() {
  schedule_.restart();
  trend_.restart();
}

bool StillQueue::wantsFrame(Purpose purpose) {
  const auto now = loop_.now();
  schedule_.frameArrived(now);
  trend_.frameArrived(now);
  reason_ = ETIMEDOUT;
  const bool isStillToCome = !waiting_.empty() || (purpose == Purpose::Still && schedule_.isYoung(now));
  return isStillToCome && !examined_ && schedule_.isExposureWorthKnowing(now);
}

void StillQueue::examine(const FramePointer& frame, Purpose purpose) {
  const auto now = loop_.now();
  const bool mayBeStill = schedule_.hasSettled(now) && !waiting_.empty();
  examined_ = mayBeStill ? waiting_.size() : 0;
  // What the frames just before have told need not be measured again.
  if (mayBeStill && (!schedule_.isYoung(now) || trend_.hasSettledBy(now)))
    return lookForDamage(frame, purpose);
  measure(frame, purpose);
}

void StillQueue::measure(const FramePointer& frame, Purpose purpose) {
  examiner_.measure(frame, [weakSelf = weak_from_this(), arrival = trend_.lastArrival(), frame,
                            purpose](const auto& exposure) {
    const auto self = weakSelf.lock();
    if (!self) return;
    const auto now = self->loop_.now();
    if (exposure) self->trend_.add(arrival, *exposure);
    if (*self->examined_ == 0) return self->endExamination();
    const bool moves = exposure && self->schedule_.isYoung(now) && !self->trend_.hasSettled();
    if (!moves) return self->lookForDamage(frame, purpose);
    self->schedule_.exposureMoves(now);
    self->endExamination();
  });
}

void StillQueue::lookForDamage(const FramePointer& frame, Purpose purpose) {
  const FrameExaminer::Still still{.isMirrored = waiting_.front().isMirrored,
                                   .isWatched = purpose == Purpose::Preview};
  examiner_.examine(frame, still, [weakSelf = weak_from_this(), frame](const FrameFinding& finding) {
    const auto self = weakSelf.lock();
    if (!self) return;
    self->judge(frame, finding);
    self->endExamination();
  });
}

void StillQueue::judge(const FramePointer& frame, const FrameFinding& finding) {
  if (*examined_ == 0) return;
  if (finding.lost == 0) return answer(*examined_, {frame, finding.file}, 0);
  if (finding.lost < best_.lost) best_ = {frame, finding.lost};
  whyNot_ = finding.whyNot;
}

// Stills that fell due meanwhile have waited for it.
void StillQueue::endExamination() {
  examined_.reset();
  if (finished_) return finishNow();
  if (!waiting_.empty()) checkDeadline();
}

void StillQueue::answer(std::size_t count, const StillPicture& picture, int error) {
  const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(count);
  std::deque<Still> answered(std::make_move_iterator(waiting_.begin()), std::make_move_iterator(end));
  waiting_.erase(waiting_.begin(), end);
  best_ = {};
  whyNot_.clear();
  // A frame under examination was meant for those that go.
  if (examined_) *examined_ -= std::min(*examined_, count);
  if (waiting_.empty())
    timer_.reset();
  else
    armTimer();
  for (auto& still : answered)
    still.answer(picture, error);
}

void StillQueue::abandon() {
  waiting_.clear();
  if (examined_) examined_ = 0;
  timer_.reset();
}

void StillQueue::finish(std::function<void()> finished) {
  finished_ = std::move(finished);
  timer_.reset();
  if (!examined_) finishNow();
}

void StillQueue::finishNow() {
  if (!waiting_.empty()) answerWithBest(1);
  abandon();
  finished_();
}

bool StillQueue::answerWithBest(std::size_t count) {
  if (best_.lost > kMostLost) return false;
  note_("only damaged pictures came; the best one was taken, of which " +
        std::to_string(std::lround(best_.lost * 100)) + " % is missing");
  auto best = std::make_shared<picture::Frame>(*best_.frame);
  best->isDamaged = true;
  answer(count, {best, nullptr}, 0);
  return true;
}

void StillQueue::armTimer() {
  if (!timer_) timer_ = loop_.timer([this] { look(); });
  const auto now = loop_.now();
  nextLook_ = std::min(schedule_.deadline(waiting_.front().since), now + kTimeCheck);
  timer_->startOnce(nextLook_ - now);
}

void StillQueue::look() {
  if (const auto late = loop_.now() - nextLook_; late > kStandstill) {
    schedule_.stoodStill(late);
    for (Still& still : waiting_)
      still.since += late;
  }
  checkDeadline();
}

void StillQueue::checkDeadline() {
  // Frames put the deadline off; the timer is not touched at each of them, it looks again when it fires.
  const std::size_t due = countDue();
  if (due == 0) return armTimer();
  // A frame that came in time is looked at to its end, however slow the machine is.
  if (examined_ && *examined_ > 0) return;
  if (answerWithBest(due)) return;
  if (!whyNot_.empty()) note_("none of the pictures that came can be used: " + whyNot_);
  schedule_.fallSilent();
  answer(waiting_.size(), {}, reason_);
}

std::size_t StillQueue::countDue() const {
  const auto now = loop_.now();
  return static_cast<std::size_t>(std::count_if(
      waiting_.begin(), waiting_.end(), [&](auto& still) { return now >= schedule_.deadline(still.since); }));
}

}  // namespace platform_linux
