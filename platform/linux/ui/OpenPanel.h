#pragma once

#include <memory>
#include <string>

#include <gtk/gtk.h>

#include "platform/AppKit/NSOpenPanel.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/ui/Signals.h"
#include "platform/linux/ui/WindowList.h"

namespace platform_linux {

/// The path of a folder; the address of one that has none because it is elsewhere, on a server or a phone.
[[nodiscard]] std::string nameOfFolder(GFile* folder);

/// The desktop's own folder chooser, over the window that the user works in. While it is open a further
/// request brings it to the front and completes without a folder.
class OpenPanel : public platform::NSOpenPanel {
 public:
  /// `windows` must outlive the panel.
  explicit OpenPanel(const WindowList& windows) : windows_(windows) {}
  ~OpenPanel() override;

  void chooseDirectory(const std::string& directory,
                       std::function<void(std::optional<std::string>)> completion) override;
  void showMessage(const std::string& message) override;

  /// Takes the chooser away without a word to whoever waits for its folder.
  void dismiss();

 private:
  void answered(int response);

  const WindowList& windows_;
  GObjectRef<GtkFileChooserNative> chooser_;  ///< while it is open
  gulong responseSignal_ = 0;
  std::function<void(std::optional<std::string>)> completion_;
};

}  // namespace platform_linux
