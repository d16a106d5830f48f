#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/AppKit/AppKit.h"
#include "platform/AppKit/NSWindow.h"

namespace suite {

/// The base of every tool's window controllers: loads its window from the layout of its name at the first
/// request for it, and knows the other window of the pair. Main thread only; held by a shared_ptr.
class QuilloWindowController : public platform::NSWindowDelegate,
                               public std::enable_shared_from_this<QuilloWindowController> {
 public:
  QuilloWindowController(platform::AppKit& appKit, std::string windowNibName);

  /// The window, loaded when it is first asked for; nothing while it cannot be loaded (no display yet, no
  /// such layout).
  std::shared_ptr<platform::NSWindow> window();
  /// Whether the window is on the screen. Asking loads nothing, so a run without windows stays one.
  [[nodiscard]] bool isWindowVisible() const;
  /// Whether the user has the window open: on the screen or minimised. Asking loads nothing.
  [[nodiscard]] bool isWindowOpen() const;

  /// Loads the window if need be and brings it to the front.
  void showWindow();
  /// Shows the other window of the pair, as `setShowCounterpart` said.
  void showCounterpart() const;
  void setShowCounterpart(std::function<void()> show) { showCounterpart_ = std::move(show); }

  /// Whether the header goes without its button for the preferences.
  [[nodiscard]] virtual bool hidesPreferencesButton() const { return false; }
  /// Whether the header goes without its close button.
  [[nodiscard]] virtual bool hidesCloseButton() const { return false; }

 protected:
  /// The window, if it has been loaded.
  [[nodiscard]] std::shared_ptr<platform::NSWindow> loadedWindow() const {
    return nib_ ? nib_->window() : nullptr;
  }
  /// Called once, when the window has been loaded. Overrides call the base first.
  virtual void windowDidLoad();
  /// The handlers of the layout's controls. Overrides add theirs to the base's.
  virtual platform::NSActions actions();

  /// The view that the layout calls `name`, or nothing when it has none of that kind and name.
  template <class View>
  [[nodiscard]] std::shared_ptr<View> outlet(const std::string& name) const {
    return nib_ ? std::dynamic_pointer_cast<View>(nib_->view(name)) : nullptr;
  }

  /// A handler that calls `member` on this controller as long as it lives.
  template <class Controller>
  std::function<void()> handler(void (Controller::*member)()) {
    return [weak = weak_from_this(), member] {
      if (const auto self = std::static_pointer_cast<Controller>(weak.lock())) (self.get()->*member)();
    };
  }

 private:
  void showCounterpartFromHeader() { showCounterpart(); }

  platform::AppKit& appKit_;
  const std::string windowNibName_;
  std::unique_ptr<platform::NSNib> nib_;
  std::function<void()> showCounterpart_;
};

}  // namespace suite
