#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/base/Handles.h"
#include "platform/linux/bus/ExportedInterface.h"
#include "tests/support/BusClient.h"
#include "tests/support/PrivateBus.h"

/// A session bus of the test's own, with whoever else is on it: the desktop, on a connection apart from the
/// program's.
class TrayDesktop {
 public:
  TrayDesktop() = default;
  TrayDesktop(const TrayDesktop&) = delete;
  TrayDesktop& operator=(const TrayDesktop&) = delete;

  GDBusConnection* connection() const { return client_.connection(); }

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
  const test_support::PrivateBus bus_;
  const test_support::BusClient client_{bus_.address()};
  std::unique_ptr<platform_linux::ExportedInterface> watcher_;
};
