#pragma once

#include <memory>
#include <string>

#include "platform/AppKit/NSNib.h"
#include "platform/linux/base/Worker.h"
#include "platform/linux/ui/WindowFrames.h"
#include "platform/linux/ui/WindowList.h"

namespace platform_linux {

/// Where the resource bundle keeps layouts, style and pictures.
inline constexpr const char* kResourceFolder = "/com/verrano/quillo/CameraShot";

/// The prefix of the actions by which a layout's shortcuts reach its handlers: `action(nib.NAME)`.
inline constexpr const char* kNibActionPrefix = "nib";

/// Makes windows from layout files, which name their translation domain themselves. Main thread only. What it
/// is given must outlive every nib.
class NibLoader {
 public:
  /// `actions` are the program's own, offered to every layout beside those of its controller.
  NibLoader(WindowList& windows, WindowFrames& frames, Worker& decodeThread, platform::NSActions actions);

  /// The layout NAME.ui of the resource bundle, its controls connected to `actions`; nothing, with the reason
  /// in `whyNot`, when there is none, it is damaged or names a handler that is not there.
  [[nodiscard]] std::unique_ptr<platform::NSNib> load(const std::string& name, platform::NSActions actions,
                                                      std::string& whyNot) const;

 private:
  WindowList& windows_;
  WindowFrames& frames_;
  Worker& decodeThread_;
  const platform::NSActions commonActions_;
};

}  // namespace platform_linux
