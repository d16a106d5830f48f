#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/linux/camera/FrameSource.h"

namespace platform_linux {

/// Two ways to the machine's cameras as one: the usual one, and another for when nobody serves that or it
/// knows no camera. The other is not even begun before it is needed; it may be started on any thread.
///
/// A device of which the usual way cannot tell what it offers is a camera of the other one, beside the usual
/// way's own.
///
/// A camera of which the usual way could not bring a picture (EIO) is opened by the other way next time, if
/// it knows the camera's device. Not for other errors: that a camera is in use or refused holds for both.
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
  class TriedStream;

  void camerasChanged(const FrameSource& source, CameraCensus census) override;
  void choose();
  /// The usual source's, and the other's of what that cannot read.
  [[nodiscard]] CameraCensus usualAndUnread() const;
  void startOther();
  [[nodiscard]] std::unique_ptr<FrameStream> openUsual(const Camera& camera, const CameraMode& mode,
                                                       FrameStream::Client& client);
  /// As the other source knows it.
  [[nodiscard]] std::optional<Camera> otherCameraAt(const std::string& place) const;
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
  std::set<std::uint64_t> unserved_;  // serials of the usual source's cameras that it brings no picture of
  int otherStreams_ = 0;
};

}  // namespace platform_linux
