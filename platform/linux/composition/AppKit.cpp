#include "platform/linux/composition/AppKit.h"

#include <utility>

#include "platform/linux/desktop/Sound.h"
#include "platform/linux/photo/BitmapImageRep.h"

namespace platform_linux {

std::shared_ptr<platform::NSBitmapImageRep> AppKit::imageRepWithData(
    const std::shared_ptr<platform::NSData>& data) {
  return BitmapImageRep::imageRepWithData(data, log_, &thumbnails_);
}

std::shared_ptr<platform::NSImage> AppKit::imageNamed(const std::string& name) {
  return windows_.get() ? windows_.get()->imageNamed(name) : nullptr;
}

std::unique_ptr<platform::NSNib> AppKit::loadNibNamed(const std::string& name, platform::NSActions actions) {
  if (windows_.get()) return windows_.get()->loadNibNamed(name, std::move(actions));
  log_.log("Cannot show " + name + ": there is no display.");
  return nullptr;
}

std::shared_ptr<platform::NSSound> AppKit::soundWithContentsOfFile(const std::string& file, bool) {
  if (!file.ends_with("/Grab.aif")) return nullptr;
  return std::make_shared<Sound>(sounds_, EventSound{{"camera-shutter"}});
}

}  // namespace platform_linux
