#pragma once

#include <string>
#include <sys/types.h>

#include "platform/linux/base/Handles.h"

namespace test_support {

/// A connection of the test's own, on which it plays the programs that the code under test meets: to the bus
/// at `address`. Throws std::runtime_error when nobody listens there.
class BusClient {
 public:
  explicit BusClient(const std::string& address);
  BusClient(const BusClient&) = delete;
  BusClient& operator=(const BusClient&) = delete;
  ~BusClient();

  GDBusConnection* connection() const { return connection_.get(); }
  /// Calls the bus and waits for its answer: its value, or null. `arguments` floating, or null.
  platform_linux::GVariantHandle ask(const char* method, GVariant* arguments) const;
  bool hasOwner(const std::string& name) const;
  /// Waits until nobody owns the name, turning the main loop; whether that came in time.
  bool waitUntilUnowned(const std::string& name) const;
  /// The process that owns the name; 0 for none.
  pid_t processOf(const std::string& name) const;

 private:
  const platform_linux::GObjectRef<GDBusConnection> connection_;
};

}  // namespace test_support
