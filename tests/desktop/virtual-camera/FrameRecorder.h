#pragma once

#include <cstdint>
#include <fstream>
#include <span>
#include <string>

#include "tests/desktop/virtual-camera/CameraSpec.h"

namespace virtual_camera {

/// Writes down what was delivered, so that a test can compare a photo with what the camera sent.
class FrameRecorder {
 public:
  /// Creates the log file and the dump folder that `spec` names. Throws std::runtime_error.
  explicit FrameRecorder(const CameraSpec& spec);

  /// One line "sequence size crc32" and one file "sequence.format". On disk when the call returns.
  void record(std::uint64_t sequence, PixelFormat format, std::span<const std::uint8_t> bytes);

 private:
  std::ofstream log_;
  std::string dump_;
};

}  // namespace virtual_camera
