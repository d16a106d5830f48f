#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/Foundation/NSError.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// Finds out whether the desktop can show the application's notifications: whether a shell takes them, or the
/// notification helper and a service behind it run or can be started. No service is started for the question.
/// `completion` runs on a later turn of the main loop, within twice the bus's patience; its error says that
/// there is no session bus. `bus` outlives the main loop's last turn. Main thread only.
void findNotificationService(
    const SessionBus& bus, const std::string& applicationId,
    std::function<void(bool found, const std::optional<platform::NSError>& error)> completion);

}  // namespace platform_linux
