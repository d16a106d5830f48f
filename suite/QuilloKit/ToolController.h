#pragma once

#include <memory>

#include "suite/QuilloKit/QuilloWindowController.h"

namespace suite {

/// Owns a tool's two windows and pairs them: each one's counterpart is the other. Main thread only.
class ToolController {
 public:
  ToolController(std::shared_ptr<QuilloWindowController> mainWindowController,
                 std::shared_ptr<QuilloWindowController> preferencesWindowController);

  void showMain() const;
  /// The main window stays where it is, behind.
  void showPreferences() const;
  [[nodiscard]] bool hasVisibleWindows() const;

 private:
  std::shared_ptr<QuilloWindowController> mainWindowController_;
  std::shared_ptr<QuilloWindowController> preferencesWindowController_;
};

}  // namespace suite
