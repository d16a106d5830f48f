#pragma once

#include <memory>
#include <optional>

#include "platform/linux/camera/FrameSource.h"

namespace platform_linux {

/// Two ways to the machine's cameras as one: the usual one, and another for when nobody serves that or it
/// knows no camera. The other is not even begun before it is needed; it may be started on any thread.
class FrameSourceChoice final : public FrameSource, private FrameSource::Client {
 public:
  FrameSourceChoice(std::shared_ptr<FrameSource> usual, std::shared_ptr<FrameSource> other);
  FrameSourceChoice(const FrameSourceChoice&) = delete;
  FrameSourceChoice& operator=(const FrameSourceChoice&) = delete;
  ~FrameSourceChoice() override;

  void start(CameraLoop& loop, FrameSource::Client& client) override;
  void stop() override;
  [[nodiscard]] std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode& mode,
                                                  FrameStream::Client& client) override;
  [[nodiscard]] CameraAccess& access() override;

 private:
  class Access;
  class OtherStream;

  void camerasChanged(const FrameSource& source, CameraCensus census) override;
  void choose();
  void otherStreamGoes();

  const std::shared_ptr<FrameSource> usual_;
  const std::shared_ptr<FrameSource> other_;
  const std::unique_ptr<Access> access_;
  CameraLoop* loop_ = nullptr;
  FrameSource::Client* client_ = nullptr;
  // The rest belongs to the loop's thread.
  std::optional<CameraCensus> usualCensus_;
  std::optional<CameraCensus> otherCensus_;
  bool isOtherStarted_ = false;
  bool isOtherChosen_ = false;
  int otherStreams_ = 0;
};

}  // namespace platform_linux
