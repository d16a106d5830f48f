#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/linux/base/Handles.h"

namespace platform_linux {

/// How long the program waits for the bus itself. A healthy bus answers in less than a millisecond.
inline constexpr std::chrono::milliseconds kBusPatience{1000};

/// The connection to the session's message bus that the whole program shares, or none: no bus, a dead address
/// and a bus that never answers are all the same to the rest of the program, which goes on without. Main
/// thread only.
class SessionBus {
 public:
  /// Connects, which takes about two milliseconds on a healthy bus. Never starts a bus. `patience`: how long
  /// at most the bus is waited for, now and at each call that states nothing else.
  explicit SessionBus(std::chrono::milliseconds patience = kBusPatience);

  /// Null without a bus. After the bus died calls on it fail at once.
  [[nodiscard]] GDBusConnection* connection() const { return connection_.get(); }

  /// Calls the bus itself (`org.freedesktop.DBus`) and waits for its answer. Null when there is none of the
  /// type `replyType`.
  [[nodiscard]] GVariantHandle callBus(const char* method, GVariant* arguments, const char* replyType) const;

  /// One call to any service; a floating `arguments` is taken over.
  struct Call {
    std::string name;  ///< whom to call; started when it does not run and the bus knows how
    std::string path;
    std::string interface;
    std::string method;
    GVariant* arguments;
    std::optional<std::chrono::milliseconds> patience = {};  ///< none: as long as for the bus itself
    GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NONE;  ///< G_DBUS_CALL_FLAGS_NO_AUTO_START: not to be started
  };
  /// A call to the bus itself. `arguments` floating.
  [[nodiscard]] static Call toBus(const std::string& method, GVariant* arguments);
  /// Calls without waiting. `done` runs once, on a later turn of the main loop, with the reply (null on
  /// failure) and the failure (null on success); without a bus it runs before this returns. It may run after
  /// its owner is destroyed.
  void call(const Call& call, std::function<void(GVariant* reply, const GError* error)> done) const;

 private:
  const std::chrono::milliseconds patience_;
  GObjectRef<GDBusConnection> connection_;
};

/// Whether a call failed because its answer did not come in time. The service may yet do what it was asked,
/// so asking another one as well might do it twice.
[[nodiscard]] bool isLate(const GError* error);

/// Whether a reply, which may be null, is of this type.
[[nodiscard]] bool hasType(GVariant* reply, const char* type);

}  // namespace platform_linux
