#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "picture/Frame.h"
#include "platform/linux/base/Worker.h"
#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/Exposure.h"
#include "platform/linux/photo/EncodedPhoto.h"

namespace platform_linux {

/// What was found out about a frame that is to become a still.
struct FrameFinding {
  double lost = 0;     ///< the share of the picture that is missing: 0 of a whole one, 1: no picture
  std::string whyNot;  ///< why it is not whole, in a few words for the log
  /// The still's file, where making it was the way to find that out.
  std::shared_ptr<const EncodedPhoto> file;
};

/// Looks into frames away from the cameras' thread, one after the other.
class FrameExaminer {
 public:
  /// How the still is wanted.
  struct Still {
    bool isMirrored = false;
    /// Somebody looks at the live picture, which must not stutter meanwhile.
    bool isWatched = false;
  };

  virtual ~FrameExaminer() = default;

  /// Measures the exposure: nothing of a frame that is damaged or no picture. Returns at once. `found` runs
  /// on the cameras' thread, on a later turn. On that thread only.
  virtual void measure(std::shared_ptr<const picture::Frame> frame,
                       std::function<void(const std::optional<Exposure>&)> found) = 0;

  /// Finds out whether the frame is whole. Otherwise as `measure`.
  virtual void examine(std::shared_ptr<const picture::Frame> frame, Still still,
                       std::function<void(const FrameFinding&)> found) = 0;
};

/// The examiner with a worker thread.
class FrameExaminerThread final : public FrameExaminer {
 public:
  /// `loop` outlives this object.
  explicit FrameExaminerThread(CameraLoop& loop) : loop_(loop) {}

  void measure(std::shared_ptr<const picture::Frame> frame,
               std::function<void(const std::optional<Exposure>&)> found) override;
  void examine(std::shared_ptr<const picture::Frame> frame, Still still,
               std::function<void(const FrameFinding&)> found) override;

 private:
  CameraLoop& loop_;
  Worker worker_;
};

}  // namespace platform_linux
