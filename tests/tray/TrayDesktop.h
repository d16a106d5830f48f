#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/base/Handles.h"
#include "platform/linux/bus/ExportedInterface.h"

/// A session bus of the test's own, with whoever else is on it: the desktop, on a connection apart from the
/// program's.
class TrayDesktop {
 public:
  /// Starts the bus and points the environment to it.
  TrayDesktop();
  TrayDesktop(const TrayDesktop&) = delete;
  TrayDesktop& operator=(const TrayDesktop&) = delete;
  ~TrayDesktop();

  GDBusConnection* connection() const { return connection_.get(); }

  /// Starts a tray: whoever registers with it is in `registered`.
  void startTray();
  void stopTray();
  std::vector<std::string> registered;

  /// What `service` answers, after turns of the main loop for both sides; null for an error. `arguments`
  /// floating, or null.
  platform_linux::GVariantHandle call(const std::string& service, const char* path, const char* interface,
                                      const char* method, GVariant* arguments = nullptr);
  /// A property's value.
  platform_linux::GVariantHandle property(const std::string& service, const char* path, const char* interface,
                                          const char* name);

  /// Collects the signals `signal` that anybody sends, their arguments printed.
  void listen(const char* signal);
  std::vector<std::string> heard;

 private:
  platform_linux::GObjectRef<GTestDBus> bus_;
  platform_linux::GObjectRef<GDBusConnection> connection_;
  std::unique_ptr<platform_linux::ExportedInterface> watcher_;
};

/// Turns the main loop until `condition` holds; answers false when it does not within ten seconds.
bool turnsUntil(const std::function<bool()>& condition);
