#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>

#include "platform/linux/base/Handles.h"

namespace camera_shot_tests {

/// Turns the main loop until `done` says so; whether it did within `limit`.
bool waitUntil(const std::function<bool()>& done, std::chrono::seconds limit = std::chrono::seconds(20));

/// Waits for the end of a process that need not be ours; whether it came within twenty seconds.
bool waitForEnd(pid_t process);

/// Waits until a process has no children; whether that came within twenty seconds.
bool waitUntilChildless(pid_t process);

/// A folder that is removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// A connection of the test's own, on which it plays the programs that the code under test meets: to the bus
/// at `address`.
class BusClient {
 public:
  explicit BusClient(const std::string& address);
  ~BusClient();

  GDBusConnection* connection() const { return connection_.get(); }
  /// Calls the bus and waits for its answer: its value, or null.
  platform_linux::GVariantHandle ask(const char* method, GVariant* arguments) const;
  bool hasOwner(const std::string& name) const;
  /// Waits until nobody owns the name, turning the main loop; whether that came within twenty seconds.
  bool waitUntilUnowned(const std::string& name) const;
  /// The process that owns the name; 0 for none.
  pid_t processOf(const std::string& name) const;

 private:
  const platform_linux::GObjectRef<GDBusConnection> connection_;
};

/// A session bus with nothing on it, which becomes this process's (DBUS_SESSION_BUS_ADDRESS).
class TestBus {
 public:
  TestBus();
  TestBus(const TestBus&) = delete;
  TestBus& operator=(const TestBus&) = delete;
  ~TestBus();

  /// Lets the bus start `program` when somebody calls `name`.
  void addService(const std::string& name, const std::string& program);
  const std::string& address() const { return address_; }
  /// What is sent to the bus waits until it goes on, and is then read in the order of the sending.
  void pause() const;
  void resume() const;
  /// Ends the bus.
  void stop();

 private:
  const TemporaryFolder folder_;
  std::string address_;
  GPid process_ = 0;
};

}  // namespace camera_shot_tests
