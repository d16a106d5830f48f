#pragma once

#include <functional>
#include <string>

#include "platform/linux/base/GLibHandles.h"

namespace platform_linux {

/// How long the program waits for the bus itself, in milliseconds. A healthy bus answers in less than one.
inline constexpr int kBusPatience = 1000;

/// The connection to the session's message bus that the whole program shares, or none: no bus, a dead address
/// and a bus that never answers are all the same to the rest of the program, which goes on without. Main
/// thread only.
class SessionBus {
 public:
  /// Connects, waiting for the bus one second at most; on a healthy one it takes about two milliseconds.
  /// Never starts a bus.
  SessionBus();

  /// Null without a bus. After the bus died calls on it fail at once.
  GDBusConnection* connection() const { return connection_.get(); }

  /// Calls the bus itself (`org.freedesktop.DBus`), waiting one second at most. Null when there is no answer
  /// of the type `replyType`.
  GVariantHandle callBus(const char* method, GVariant* arguments, const char* replyType) const;

  /// One call to any service; a floating `arguments` is taken over.
  struct Call {
    std::string name;  ///< whom to call; started when it does not run and the bus knows how
    std::string path;
    std::string interface;
    std::string method;
    GVariant* arguments;
    int patience = kBusPatience;  ///< in milliseconds
  };
  /// Calls without waiting. `done` runs once, on a later turn of the main loop, with the reply (null on
  /// failure) and the failure (null on success); without a bus it runs before this returns. It must bear that
  /// its owner has gone.
  void call(const Call& call, std::function<void(GVariant* reply, const GError* error)> done) const;

 private:
  GObjectHandle<GDBusConnection> connection_;
};

}  // namespace platform_linux
