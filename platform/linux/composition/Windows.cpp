#include "platform/linux/composition/Windows.h"

#include <cstdlib>
#include <utility>

#include "platform/linux/desktop/DisplayOfSession.h"
#include "platform/linux/desktop/SettingsPortal.h"
#include "platform/linux/ui/UserInterfaceModule.h"

namespace platform_linux {

bool Windows::start(std::string& whyNot) {
  if (userInterface_) return true;
  // The toolkit looks for its display in the environment, and for nothing before it starts.
  for (const auto& [name, value] : displayOfSession(bus_))
    ::setenv(name.c_str(), value.c_str(), 1);
  // Asked first: it answers while the toolkit is loaded.
  const SettingsPortal portal(bus_);
  UserInterfaceHost host = host_;
  host.portalAnswers = [&portal] { return portal.answers(); };
  userInterface_ = loadUserInterface(userInterfaceModulePath(), std::move(host), whyNot);
  return userInterface_ != nullptr;
}

void Windows::chooseDirectory(const std::string& directory,
                              std::function<void(std::optional<std::string>)> completion) {
  if (userInterface_) {
    userInterface_->openPanel().chooseDirectory(directory, std::move(completion));
  } else {
    completion(std::nullopt);
  }
}

void Windows::showMessage(const std::string& message) {
  if (userInterface_) userInterface_->openPanel().showMessage(message);
}

}  // namespace platform_linux
