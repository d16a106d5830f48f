#pragma once

#include <memory>

#include "platform/QuartzCore/CALayer.h"

namespace platform {

/// An interface of ours over the framework: its class operations, gathered. Main thread only.
class QuartzCore {
 public:
  virtual ~QuartzCore() = default;

  /// A new plain layer: no contents, an empty frame.
  virtual std::shared_ptr<CALayer> layer() = 0;
};

}  // namespace platform
