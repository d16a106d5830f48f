#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/bus/ExportedInterface.h"

namespace platform_linux {

/// A flat menu that never changes, as the desktop's tray reads it over `com.canonical.dbusmenu`. Main thread
/// only.
class TrayMenu {
 public:
  struct Entry {
    std::string label;  ///< an underscore precedes its mnemonic
    std::function<void()> onClick;
  };

  /// Without a connection nothing is offered.
  TrayMenu(GDBusConnection* connection, std::string path, std::vector<Entry> entries);

 private:
  using Action = std::function<void()>;

  void handle(IncomingCall call) const;
  /// The reply, a floating tuple, of a method that only tells what the menu is like.
  [[nodiscard]] GVariant* told(const std::string& method, GVariant* arguments) const;
  /// What the clicks among these events (a(isvu)) are to do.
  [[nodiscard]] std::vector<Action> actionsOf(GVariant* events) const;
  [[nodiscard]] GVariant* layout(int parent, int depth) const;
  [[nodiscard]] GVariant* propertiesOf(GVariant* identifiers) const;
  [[nodiscard]] GVariant* properties(int identifier) const;
  [[nodiscard]] GVariant* property(int identifier, const char* name) const;
  [[nodiscard]] bool has(int identifier) const;
  [[nodiscard]] Action actionOf(int identifier, const char* event) const;

  const std::vector<Entry> entries_;
  ExportedInterface interface_;
};

}  // namespace platform_linux
