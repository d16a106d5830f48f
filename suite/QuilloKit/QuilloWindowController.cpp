#include "suite/QuilloKit/QuilloWindowController.h"

#include <utility>

namespace suite {

QuilloWindowController::QuilloWindowController(platform::AppKit& appKit, std::string windowNibName)
    : appKit_(appKit), windowNibName_(std::move(windowNibName)) {}

std::shared_ptr<platform::NSWindow> QuilloWindowController::window() {
  if (!nib_) {
    nib_ = appKit_.loadNibNamed(windowNibName_, actions());
    if (nib_) windowDidLoad();
  }
  return loadedWindow();
}

bool QuilloWindowController::isWindowVisible() const {
  const auto loaded = loadedWindow();
  return loaded && loaded->isVisible();
}

bool QuilloWindowController::isWindowOpen() const {
  const auto loaded = loadedWindow();
  return loaded && (loaded->isVisible() || loaded->isMiniaturized());
}

void QuilloWindowController::showWindow() {
  if (const auto shown = window()) shown->makeKeyAndOrderFront();
}

void QuilloWindowController::showCounterpart() const {
  if (showCounterpart_) showCounterpart_();
}

void QuilloWindowController::windowDidLoad() {
  if (const auto button = outlet<platform::NSView>("preferencesButton"))
    button->setHidden(hidesPreferencesButton());
  if (const auto button = outlet<platform::NSView>("closeButton")) button->setHidden(hidesCloseButton());
}

platform::NSActions QuilloWindowController::actions() {
  return {{"preferencesButtonPressed", handler(&QuilloWindowController::showCounterpartFromHeader)}};
}

}  // namespace suite
