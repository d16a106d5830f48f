#include "platform/linux/composition/ToolPresence.h"

#include "platform/linux/application/Bundle.h"

namespace platform_linux {

ToolPresence::ToolPresence(const SessionBus& bus, const std::string& identifier,
                           const platform::NSBundle& texts, const ToolActions& actions,
                           const ToolPresenceHost& host)
    : icon_(bus, {identifier, installationPrefix() + "/share/icons"}, texts,
            {.onClick = actions.onClickMenuIcon,
             .onTakePhoto = actions.onClickMenuIcon,
             .onPreferences = actions.onPreferences,
             .onQuit = actions.onQuit,
             .onActivationToken = host.setActivationToken}),
      interface_(bus, identifier, {actions.onClickMenuIcon, host.launch}) {}

void ToolPresence::setStatus(int status) {
  icon_.setStatus(status == 1 ? StatusNotifierItem::Status::Active : StatusNotifierItem::Status::Passive);
  interface_.setStatus(status);
}

}  // namespace platform_linux
