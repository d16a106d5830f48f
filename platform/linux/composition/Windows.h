#pragma once

#include <memory>
#include <string>

#include "platform/AppKit/NSOpenPanel.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/ui/UserInterface.h"

namespace platform_linux {

/// The program's windows, absent until they are wanted: a run without windows never loads the toolkit. Main
/// thread only.
class Windows : public platform::NSOpenPanel {
 public:
  /// `host` but for `portalAnswers`. `bus` outlives this.
  Windows(const SessionBus& bus, UserInterfaceHost host) : bus_(bus), host_(std::move(host)) {}

  /// Connects to the display. False, with the reason for the user in `whyNot`, where that cannot be had; a
  /// later try may succeed. Once it has, nothing happens.
  bool start(std::string& whyNot);

  /// Null before a successful `start`.
  [[nodiscard]] UserInterface* get() const { return userInterface_.get(); }

  void chooseDirectory(const std::string& directory,
                       std::function<void(std::optional<std::string>)> completion) override;
  void showMessage(const std::string& message) override;

 private:
  const SessionBus& bus_;
  const UserInterfaceHost host_;
  std::unique_ptr<UserInterface> userInterface_;
};

}  // namespace platform_linux
