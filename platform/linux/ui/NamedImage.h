#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/AppKit/NSView.h"

namespace platform_linux {

/// A picture of the application's resources, by its name in the icon theme, which has it in several sizes.
class NamedImage : public platform::NSImage {
 public:
  explicit NamedImage(std::string iconName) : iconName_(std::move(iconName)) {}

  const std::string& iconName() const { return iconName_; }

  /// The icon name of `image`; null when it has none.
  static const char* iconNameOf(const std::shared_ptr<platform::NSImage>& image) {
    const auto* const named = dynamic_cast<const NamedImage*>(image.get());
    return named ? named->iconName().c_str() : nullptr;
  }

 private:
  const std::string iconName_;
};

}  // namespace platform_linux
