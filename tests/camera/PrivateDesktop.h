#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace camera_test {

/// One virtual camera of the private desktop in which the test runs.
class VirtualCamera {
 public:
  VirtualCamera(std::string control, std::string dumpFolder)
      : control_(std::move(control)), dumpFolder_(std::move(dumpFolder)) {}

  /// Has the camera do something and returns when it has taken effect, with its answer. A refusal fails the
  /// test.
  std::string ask(const std::string& request) const;
  /// Has the camera, which is used or will be at once, send some frames and then no more until it is asked to
  /// resume or plugged in again. Returns when that is so.
  void stall() const;
  /// Where the frames are that the camera has delivered, byte for byte.
  const std::filesystem::path& dumpFolder() const { return dumpFolder_; }

 private:
  std::string control_;
  std::filesystem::path dumpFolder_;
};

[[nodiscard]] std::vector<std::uint8_t> contents(const std::filesystem::path& file);

/// Whether the camera has sent exactly these bytes as one of its frames.
[[nodiscard]] bool isADeliveredFrame(const std::vector<std::uint8_t>& bytes, const VirtualCamera& camera);

/// Plugs in a camera; `spec` as tests/desktop describes it, without name and dump.
VirtualCamera plugIn(const std::string& name, const std::string& spec = "");

/// Takes away all cameras that were plugged in so far, so that the next test begins without any.
void removeCameras();

/// Has the desktop's PipeWire daemon "kill", "stop" or "start", and returns when that is done.
void pipewire(const std::string& action);

}  // namespace camera_test
