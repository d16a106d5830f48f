#include "suite/QuilloKit/CaptureDevice.h"

namespace suite {

std::vector<CaptureDevice> CaptureDevices::enumerateCameras() const {
  std::vector<CaptureDevice> cameras;
  for (const auto& device : avFoundation_.devicesWithMediaType(platform::AVMediaTypeVideo))
    cameras.push_back({device->localizedName(), device->uniqueID()});
  return cameras;
}

}  // namespace suite
