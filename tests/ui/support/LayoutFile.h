#pragma once

#include <set>
#include <string>

namespace ui_test {

/// What a layout of the resource bundle names.
struct LayoutFile {
  /// Throws when there is no such layout.
  explicit LayoutFile(const std::string& name);

  std::set<std::string> domains;  ///< of translation
  std::set<std::string> ids;
  std::set<std::string> handlers;         ///< of signals
  std::set<std::string> shortcutActions;  ///< the handlers of shortcuts
};

}  // namespace ui_test
