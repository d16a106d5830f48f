#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "picture/Frame.h"
#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/Exposure.h"
#include "platform/linux/camera/FrameExaminer.h"
#include "platform/linux/camera/StillSchedule.h"

namespace platform_linux {

/// A still's picture.
struct StillPicture {
  std::shared_ptr<const picture::Frame> frame;
  std::shared_ptr<const EncodedPhoto> file;  ///< where it has been made of the frame already
};

/// Called once, on the cameras' thread, which it must not hold: with a picture, or with none (its frame is
/// null) and an `errno`.
using StillAnswer = std::function<void(const StillPicture& picture, int error)>;

/// The stills of one session that wait for their picture. Each gets the next whole frame of a settled camera.
/// Frames are examined while others still come: a damaged one is passed over for the next.
///
/// When only damaged ones have come within the limit, the best of them is the picture as long as at least
/// half of it is there, and `note` says so: on a bad cable the user who asked for a photo is better served
/// with what the preview shows, too, than with nothing. Of less than half nobody could tell what it shows.
///
/// On the cameras' thread only.
class StillQueue : public std::enable_shared_from_this<StillQueue> {
 public:
  /// Loop and examiner outlive the queue. `note` takes a line for the log.
  StillQueue(CameraLoop& loop, FrameExaminer& examiner, std::function<void(const std::string&)> note);
  StillQueue(const StillQueue&) = delete;
  StillQueue& operator=(const StillQueue&) = delete;
  ~StillQueue() = default;

  /// `isMirrored`: how the picture is wanted, which is known to the one that makes its file.
  void request(StillAnswer answer, bool isMirrored);
  [[nodiscard]] bool isEmpty() const { return waiting_.empty(); }

  /// The camera runs anew: its exposure has to settle again. What waits, waits on.
  void restart();
  /// The run that begins is another attempt, as the one before brought nothing: what waits has more time.
  void waitForAnotherStart() { schedule_.startedAgain(loop_.now()); }
  /// Whether the run has lasted long enough for stills.
  [[nodiscard]] bool hasSettled() const { return schedule_.hasSettled(loop_.now()); }
  /// Why no frames come, until one does: what stills fail with that nothing came for.
  void setReason(int error) { reason_ = error; }
  [[nodiscard]] int reason() const { return reason_; }

  /// What the session runs for: one that nobody watches runs for a still, which is asked for sooner or later.
  enum class Purpose { Preview, Still };

  /// A frame has arrived; whether a copy of it is to be passed to `examine`. Where a still is to come, that
  /// is also the case shortly before the run is old enough for it: whether the exposure moves is known by
  /// then.
  [[nodiscard]] bool wantsFrame(Purpose purpose);
  /// With the purpose that it was wanted for.
  void examine(const std::shared_ptr<const picture::Frame>& frame, Purpose purpose);

  /// All stills fail with `error`.
  void fail(int error) { answer(waiting_.size(), {}, error); }
  /// All stills go without an answer, and no timer stays.
  void abandon();
  /// No frame follows any more: stills that have got none go without an answer. Those whose frame is being
  /// examined get it; if it is damaged, the one that waits longest gets the best. `finished` runs when none
  /// is left, perhaps before this returns.
  void finish(std::function<void()> finished);

 private:
  struct Still {
    CameraLoop::Time since;
    StillAnswer answer;
    bool isMirrored = false;
  };
  struct Damaged {
    std::shared_ptr<const picture::Frame> frame;
    double lost = 1;
  };

  using FramePointer = std::shared_ptr<const picture::Frame>;

  void measure(const FramePointer& frame, Purpose purpose);
  void lookForDamage(const FramePointer& frame, Purpose purpose);
  void judge(const FramePointer& frame, const FrameFinding& finding);
  void endExamination();
  void answer(std::size_t count, const StillPicture& picture, int error);
  /// The least damaged frame that has come for the still that waits longest is the picture of the first
  /// `count`, where most of it is there.
  bool answerWithBest(std::size_t count);
  void finishNow();
  void armTimer();
  void look();
  void checkDeadline();
  /// How many of the stills are to wait no longer.
  [[nodiscard]] std::size_t countDue() const;

  CameraLoop& loop_;
  FrameExaminer& examiner_;
  const std::function<void(const std::string&)> note_;
  StillSchedule schedule_;
  ExposureTrend trend_;
  std::unique_ptr<CameraLoop::Timer> timer_;
  CameraLoop::Time nextLook_;  // while the timer runs
  std::deque<Still> waiting_;
  std::optional<std::size_t> examined_;  // how many of them the frame under examination is for
  Damaged best_;                         // of the frames for the still that waits longest
  std::string whyNot_;                   // why the last of them is not whole
  std::function<void()> finished_;       // set when no frame follows any more
  int reason_;
};

}  // namespace platform_linux
