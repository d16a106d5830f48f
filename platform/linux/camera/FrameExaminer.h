#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "picture/Frame.h"
#include "platform/linux/base/Worker.h"
#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/Exposure.h"

namespace platform_linux {

/// What was found out about a frame.
struct FrameFinding {
  double lost = 0;  ///< the share of the picture that is missing: 0 of a whole one, 1: no picture
  std::optional<Exposure> exposure;  ///< where it was asked for and the frame is a picture
};

/// Looks into frames away from the cameras' thread, one after the other.
class FrameExaminer {
 public:
  enum class Question { Whole, Exposure, Both };

  virtual ~FrameExaminer() = default;

  /// Returns at once. `found` runs on the cameras' thread, on a later turn. On that thread only.
  virtual void examine(std::shared_ptr<const picture::Frame> frame, Question question,
                       std::function<void(const FrameFinding&)> found) = 0;
};

/// The examiner with a worker thread.
class FrameExaminerThread final : public FrameExaminer {
 public:
  /// `loop` outlives this object.
  explicit FrameExaminerThread(CameraLoop& loop) : loop_(loop) {}

  void examine(std::shared_ptr<const picture::Frame> frame, Question question,
               std::function<void(const FrameFinding&)> found) override;

  /// What the worker does. Thread-safe.
  [[nodiscard]] static FrameFinding find(const picture::Frame& frame, Question question);

 private:
  CameraLoop& loop_;
  Worker worker_;
};

}  // namespace platform_linux
