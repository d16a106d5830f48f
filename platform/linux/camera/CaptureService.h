#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/linux/base/DeliveryWorker.h"
#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/pipewire/CameraRegistry.h"
#include "platform/linux/camera/pipewire/CaptureLoop.h"
#include "platform/linux/camera/pipewire/PipeWireConnection.h"

namespace platform_linux {

class CaptureFlow;

/// What all sessions share: the loop, the connection with the cameras behind it, and the worker for outcomes.
/// Sessions may outlive its `shutDown`: they then deliver nothing.
class CaptureService final : public PipeWireConnection::Client, public CameraRegistry::Client {
 public:
  /// Not connected yet; from then on `list` is kept up to date.
  CaptureService(platform::MainQueue& mainQueue, std::shared_ptr<CameraList> list);
  ~CaptureService() override;

  /// What runs on the loop's thread each time when `list` has been told all cameras or that there are none.
  using Told = std::function<void(bool areThereCameras)>;
  /// Starts to connect and returns. Once only, this or the next; thread-safe.
  void connect(Told told = {});
  /// The same with sockets that somebody else opens: for each attempt, now and whenever the daemon was lost,
  /// `askForSocket` runs on the loop's thread, and `connectTo` is to follow.
  void connectThrough(std::function<void()> askForSocket, Told told);
  /// A connected socket of the daemon, or none. Thread-safe.
  void connectTo(FileDescriptor socket);

  /// Stops all sessions without another outcome; an outcome that is being delivered is waited for. Main
  /// thread only, after the main loop has ended.
  void shutDown();

  /// Thread-safe.
  [[nodiscard]] CaptureLoop& loop() { return loop_; }
  [[nodiscard]] DeliveryWorker& worker() { return worker_; }

  // On the loop's thread only:

  /// The camera as it is plugged in now: the very one, else the one of the same name, when it was plugged in
  /// anew.
  [[nodiscard]] const Camera* find(const Camera& camera) const;
  [[nodiscard]] pw_core* core() const { return connection_->core(); }
  [[nodiscard]] bool isConnectionLost() const { return connection_->isLost(); }

  /// Until it is removed, `flow` is kept alive, so that its stream ends on this thread, and hears when its
  /// camera fails or leaves.
  void add(std::shared_ptr<CaptureFlow> flow) { flows_.insert(std::move(flow)); }
  void remove(const std::shared_ptr<CaptureFlow>& flow) { flows_.erase(flow); }

 private:
  void connected() override;
  void disconnected() override;
  void synced(int sequence) override;
  void camerasChanged(std::vector<Camera> cameras) override;
  void cameraFailed(std::uint64_t serial, int error) override;
  [[nodiscard]] bool isPresent(std::uint64_t serial) const;
  void tellCameras();

  std::shared_ptr<CameraList> list_;
  DeliveryWorker worker_;
  CaptureLoop loop_;
  // The rest belongs to the loop's thread while that runs.
  std::optional<PipeWireConnection> connection_;
  std::optional<CameraRegistry> registry_;
  Told told_;
  std::vector<Camera> cameras_;
  std::set<std::shared_ptr<CaptureFlow>> flows_;
};

}  // namespace platform_linux
