#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/AppKit/NSView.h"
#include "platform/AppKit/NSWindow.h"

namespace platform {

/// What a layout's controls send: the handler's name in the layout, and the handler.
using NSActions = std::map<std::string, std::function<void()>>;

/// The objects of one window layout; keeps them alive. Main thread only.
class NSNib {
 public:
  virtual ~NSNib() = default;

  [[nodiscard]] virtual std::shared_ptr<NSWindow> window() const = 0;
  /// The view that the layout calls `outlet`; nothing when it has none of that name. The kind of view
  /// (NSButton, …) is asked for with a dynamic cast.
  [[nodiscard]] virtual std::shared_ptr<NSView> view(const std::string& outlet) const = 0;
};

}  // namespace platform
