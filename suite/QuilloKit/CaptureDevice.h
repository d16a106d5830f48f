#pragma once

#include <string>
#include <vector>

#include "platform/AVFoundation/AVFoundation.h"

namespace suite {

/// One camera of the list that the suite's tools offer.
struct CaptureDevice {
  std::string name;      ///< the title shown
  std::string uniqueId;  ///< the device's identity, what a choice is stored as

  bool operator==(const CaptureDevice&) const = default;
};

/// The suite's camera list. Main thread only.
class CaptureDevices {
 public:
  explicit CaptureDevices(platform::AVFoundation& avFoundation) : avFoundation_(avFoundation) {}

  /// The cameras present now, asked for afresh, in the order in which they appeared.
  [[nodiscard]] std::vector<CaptureDevice> enumerateCameras() const;

 private:
  platform::AVFoundation& avFoundation_;
};

}  // namespace suite
