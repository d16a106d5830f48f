#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/Foundation/NSError.h"

namespace platform_linux {

/// Finds out whether the desktop can show the application's notifications: whether a shell takes them, or the
/// notification helper and a service behind it run or can be started. No service is started for the question.
/// `completion` runs on a later turn of the main loop, within kBusConnectionLimit and twice kBusCallLimit;
/// its error says why there is no session bus. Main thread only.
void findNotificationService(
    const std::string& applicationId,
    std::function<void(bool found, const std::optional<platform::NSError>& error)> completion);

}  // namespace platform_linux
