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
  ExportedInterface::Answer call(const std::string& method, GVariant* arguments) const;
  ExportedInterface::Answer eventGroup(GVariant* arguments) const;
  GVariant* layout(int parent, int depth) const;
  GVariant* propertiesOf(GVariant* identifiers) const;
  GVariant* properties(int identifier) const;
  GVariant* property(int identifier, const char* name) const;
  bool has(int identifier) const;
  std::function<void()> actionOf(int identifier, const char* event) const;

  const std::vector<Entry> entries_;
  ExportedInterface interface_;
};

}  // namespace platform_linux
