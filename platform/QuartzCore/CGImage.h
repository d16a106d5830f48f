#pragma once

namespace platform {

/// A picture that layers can show. What it is made of is the platform's business; it may be decoded only when
/// it is drawn, off the main thread. Immutable; thread-safe.
class CGImage {
 public:
  virtual ~CGImage() = default;
};

}  // namespace platform
