#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Foundation/MainQueue.h"
#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/FrameSource.h"
#include "platform/linux/camera/pipewire/CameraRegistry.h"
#include "platform/linux/camera/pipewire/PipeWireConnection.h"
#include "platform/linux/camera/pipewire/PipeWireStream.h"
#include "platform/linux/camera/pipewire/PortalAccess.h"
#include "platform/linux/camera/pipewire/SocketAccess.h"

namespace platform_linux {

/// The cameras of the PipeWire daemon.
class PipeWireFrameSource final : public FrameSource,
                                  public std::enable_shared_from_this<PipeWireFrameSource>,
                                  public PipeWireConnection::Client,
                                  public CameraRegistry::Client,
                                  public PipeWireStream::Owner {
 public:
  /// Connects as soon as it is started: the cameras are known by the time somebody asks.
  PipeWireFrameSource();
  /// In a sandbox: nothing is known and nobody asked before the first question for the cameras or for
  /// permission to use them. Queue and portal's bus outlive this object. `patience`: how long after the
  /// user's yes the cameras are waited for.
  PipeWireFrameSource(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
                      std::chrono::milliseconds patience = kFirstEnumeration);
  PipeWireFrameSource(const PipeWireFrameSource&) = delete;
  PipeWireFrameSource& operator=(const PipeWireFrameSource&) = delete;
  ~PipeWireFrameSource() override;

  void start(CameraLoop& loop, FrameSource::Client& client) override;
  void stop() override;
  [[nodiscard]] std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode& mode,
                                                  FrameStream::Client& client) override;
  [[nodiscard]] CameraAccess& access() override;

  // For the portal's answer; thread-safe, after `start`:

  /// What runs on the loop's thread each time when the client has been told all cameras.
  using Told = std::function<void(bool areThereCameras)>;
  /// Starts to connect and returns. Once only, this or the next.
  void connect(Told told = {});
  /// The same with sockets that somebody else opens: for each attempt, now and whenever the daemon was lost,
  /// `askForSocket` runs on the loop's thread, and `connectTo` is to follow.
  void connectThrough(std::function<void()> askForSocket, Told told);
  /// A connected socket of the daemon, or none.
  void connectTo(FileDescriptor socket);

 private:
  void connected() override;
  void disconnected() override;
  void synced(int sequence) override;
  void camerasChanged(CameraCensus census) override;
  void cameraFailed(std::uint64_t serial, int error) override;
  void linkFailed(std::uint32_t user, int error) override;
  [[nodiscard]] bool isDaemonLost() const override { return connection_->isLost(); }
  void streamGoes(PipeWireStream& stream) override;
  void tell(CameraCensus census);

  SocketAccess socketAccess_;
  platform::MainQueue* mainQueue_ = nullptr;    // in a sandbox only
  std::shared_ptr<CameraPortal> portal_;        // in a sandbox only
  std::chrono::milliseconds patience_{};        // in a sandbox only
  std::shared_ptr<PortalAccess> portalAccess_;  // in a sandbox only, once started
  CameraLoop* loop_ = nullptr;
  FrameSource::Client* client_ = nullptr;
  // The rest belongs to the loop's thread.
  std::optional<PipeWireConnection> connection_;
  std::optional<CameraRegistry> registry_;
  Told told_;
  std::set<PipeWireStream*> streams_;
};

}  // namespace platform_linux
