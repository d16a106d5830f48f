#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtk/gtk.h>

#include "platform/AppKit/NSWindow.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/ui/KeyPresses.h"
#include "platform/linux/ui/MainLoop.h"
#include "platform/linux/ui/Signals.h"
#include "platform/linux/ui/WindowFrames.h"
#include "platform/linux/ui/WindowList.h"

namespace platform_linux {

/// A GtkWindow. The delegate is told on a turn of the main loop of its own. When the user closes the window
/// it is taken off the screen and kept. Goes with its last owner.
class Window : public platform::NSWindow {
 public:
  /// `windows` and `frames` must outlive the window.
  Window(GtkWindow* window, WindowList& windows, WindowFrames& frames);
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  ~Window() override;

  [[nodiscard]] bool isVisible() const override { return isOnScreen(window_.get()); }
  [[nodiscard]] bool isMiniaturized() const override;
  void makeKeyAndOrderFront() override;
  void orderOut() override;
  [[nodiscard]] unsigned styleMask() const override;
  void setStyleMask(unsigned mask) override;
  void setFrameAutosaveName(const std::string& name) override;
  void setDelegate(std::weak_ptr<platform::NSWindowDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }

 private:
  /// Whom to tell; nobody once the program ends.
  [[nodiscard]] std::shared_ptr<platform::NSWindowDelegate> delegate() const;
  void mapped();
  void unmapped();
  void closedByUser();
  void tellOcclusion();
  void tellKey();
  void saveFrame();

  const GObjectRef<GtkWindow> window_;
  WindowList& windows_;
  WindowFrames& frames_;
  std::string frameName_;
  std::optional<WindowFrame::Position> positionToRestore_;
  std::weak_ptr<platform::NSWindowDelegate> delegate_;
  bool toldVisible_ = false;
  bool toldSeen_ = false;
  DeferredCall tellOcclusion_;
  DeferredCall tellClosed_;
  std::optional<KeyPresses> keys_;
  SignalConnection mapSignal_;
  SignalConnection unmapSignal_;
  SignalConnection closeSignal_;
  SignalConnection activeSignal_;
  SignalConnection stateSignal_;  ///< while mapped
};

}  // namespace platform_linux
