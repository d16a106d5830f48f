#pragma once

#include <memory>

#include "platform/AVFoundation/AVCaptureConnection.h"
#include "platform/QuartzCore/CALayer.h"

namespace platform {

/// The layer that shows a session's live picture, aspect kept, by default. Main thread only. Keeps its
/// session alive.
class AVCaptureVideoPreviewLayer : public virtual CALayer {
 public:
  /// The session's way to this layer; nothing while the session has no input.
  [[nodiscard]] virtual std::shared_ptr<AVCaptureConnection> connection() const = 0;
};

}  // namespace platform
