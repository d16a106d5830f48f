#include "suite/QuilloKit/ToolController.h"

#include <utility>

namespace suite {

ToolController::ToolController(std::shared_ptr<QuilloWindowController> mainWindowController,
                               std::shared_ptr<QuilloWindowController> preferencesWindowController)
    : mainWindowController_(std::move(mainWindowController)),
      preferencesWindowController_(std::move(preferencesWindowController)) {
  const std::weak_ptr main = mainWindowController_;
  const std::weak_ptr preferences = preferencesWindowController_;
  mainWindowController_->setShowCounterpart([preferences] {
    if (const auto shown = preferences.lock()) shown->showWindow();
  });
  preferencesWindowController_->setShowCounterpart([main, preferences] {
    // The main window first: at no moment is there no window, which would end the tool.
    if (const auto shown = main.lock()) shown->showWindow();
    if (const auto left = preferences.lock(); left && left->isWindowOpen()) left->window()->orderOut();
  });
}

void ToolController::showMain() const {
  mainWindowController_->showWindow();
}

void ToolController::showPreferences() const {
  preferencesWindowController_->showWindow();
}

bool ToolController::hasVisibleWindows() const {
  // The platform brings a minimised window back before it asks.
  return mainWindowController_->isWindowOpen() || preferencesWindowController_->isWindowOpen();
}

}  // namespace suite
