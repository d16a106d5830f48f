#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "platform/linux/desktop/GioPointers.h"

namespace platform_linux {

/// What a method call goes to.
struct BusMethod {
  std::string busName;
  std::string objectPath;
  std::string interfaceName;
  std::string method;
};

/// `reply` or `error`, whichever there is; both belong to the caller and last until the handler returns.
using BusReplyHandler = std::function<void(GVariant* reply, const GError* error)>;
/// `connection` or `error`; as above.
using BusConnectionHandler = std::function<void(GDBusConnection* connection, const GError* error)>;

/// A local bus answers within milliseconds; one that has not let us in by then will not.
inline constexpr std::chrono::milliseconds kBusConnectionLimit{5000};
/// Enough for a service that has to be started from a cold disk first.
inline constexpr std::chrono::milliseconds kBusCallLimit{10000};

/// Connects to the session's bus, or takes the connection that the process already has, and tells `handler`
/// on a later turn of the main loop, within kBusConnectionLimit. Losing the bus later does not end the
/// process. Main thread only.
void connectToSessionBus(BusConnectionHandler handler);

/// Calls a method, starting the service where the bus can, and tells `handler` on a later turn of the main
/// loop, within `limit`. `arguments` may be floating, or null for none; a reply of another type than
/// `replyType` is an error. Main thread only.
void callBusMethod(GDBusConnection* connection, const BusMethod& method, GVariant* arguments,
                   const char* replyType, BusReplyHandler handler,
                   std::chrono::milliseconds limit = kBusCallLimit);

/// A method of the bus itself.
BusMethod busDaemonMethod(const std::string& method);

/// Whether the far side itself answered with an error. Otherwise nothing is known about what became of the
/// call.
bool wasRefused(const GError* error);

}  // namespace platform_linux
