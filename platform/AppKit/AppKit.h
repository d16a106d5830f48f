#pragma once

#include <memory>
#include <string>

#include "platform/AppKit/NSBitmapImageRep.h"
#include "platform/AppKit/NSNib.h"
#include "platform/AppKit/NSSound.h"
#include "platform/AppKit/NSView.h"
#include "platform/Foundation/NSData.h"

namespace platform {

/// An interface of ours over the framework: its class operations, gathered. Main thread only, unless an
/// operation says more.
class AppKit {
 public:
  virtual ~AppKit() = default;

  /// The picture in `data`, or nothing when `data` is empty or is no picture. Damage deeper inside may show
  /// only when the pixels are used: writing them then fails. Thread-safe.
  virtual std::shared_ptr<NSBitmapImageRep> imageRepWithData(const std::shared_ptr<NSData>& data) = 0;

  /// The application's picture of that name, or nothing.
  virtual std::shared_ptr<NSImage> imageNamed(const std::string& name) = 0;

  /// Loads the window layout of that name and connects its controls to `actions`; nothing when there is no
  /// such layout or no display, which is logged.
  virtual std::unique_ptr<NSNib> loadNibNamed(const std::string& name, NSActions actions) = 0;

  /// The sound that `file` names, ready to play; nothing where the system has none. `byReference`: the file
  /// is read when it is played.
  virtual std::shared_ptr<NSSound> soundWithContentsOfFile(const std::string& file, bool byReference) = 0;
};

}  // namespace platform
