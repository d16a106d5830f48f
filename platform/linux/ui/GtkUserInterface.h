#pragma once

#include <memory>
#include <string>

#include "platform/linux/base/Worker.h"
#include "platform/linux/ui/DisplayWatch.h"
#include "platform/linux/ui/NibLoader.h"
#include "platform/linux/ui/OpenPanel.h"
#include "platform/linux/ui/UserInterface.h"

namespace platform_linux {

/// The windows on GTK 4 and libadwaita.
class GtkUserInterface : public UserInterface {
 public:
  /// Connects to the display; nothing, with the reason in `whyNot`, where there is none.
  [[nodiscard]] static std::unique_ptr<GtkUserInterface> make(UserInterfaceHost host, std::string& whyNot);

  std::unique_ptr<platform::NSNib> loadNibNamed(const std::string& name,
                                                platform::NSActions actions) override;
  std::shared_ptr<platform::NSImage> imageNamed(const std::string& name) override;
  platform::NSOpenPanel& openPanel() override { return openPanel_; }
  void activate() override { windows_.activate(); }
  [[nodiscard]] bool hasVisibleWindows() const override { return windows_.anyShown(); }
  void withdraw() override;

 private:
  explicit GtkUserInterface(UserInterfaceHost host);

  DisplayWatch displayWatch_;
  Worker decodeThread_;
  WindowFrames frames_;
  WindowList windows_;
  OpenPanel openPanel_;
  NibLoader nibs_;
};

}  // namespace platform_linux
