#pragma once

#include "platform/AppKit/AppKit.h"
#include "platform/Foundation/NSLog.h"
#include "platform/linux/composition/Windows.h"
#include "platform/linux/desktop/SoundProcess.h"
#include "platform/linux/photo/SavedThumbnails.h"

namespace platform_linux {

/// The framework's class operations, each by the service that has it.
class AppKit : public platform::AppKit {
 public:
  /// They outlive this.
  AppKit(const Windows& windows, SoundProcess& sounds, SavedThumbnails& thumbnails, platform::NSLog& log)
      : windows_(windows), sounds_(sounds), thumbnails_(thumbnails), log_(log) {}

  std::shared_ptr<platform::NSBitmapImageRep> imageRepWithData(
      const std::shared_ptr<platform::NSData>& data) override;
  std::shared_ptr<platform::NSImage> imageNamed(const std::string& name) override;
  std::unique_ptr<platform::NSNib> loadNibNamed(const std::string& name,
                                                platform::NSActions actions) override;
  /// The file that stands for a shutter is "camera-shutter" of the user's sound theme; no other is known.
  std::shared_ptr<platform::NSSound> soundWithContentsOfFile(const std::string& file,
                                                             bool byReference) override;

 private:
  const Windows& windows_;
  SoundProcess& sounds_;
  SavedThumbnails& thumbnails_;
  platform::NSLog& log_;
};

}  // namespace platform_linux
