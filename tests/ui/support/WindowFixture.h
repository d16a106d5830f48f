#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/ui/MainLoop.h"
#include "tests/ui/support/TestWindows.h"

namespace ui_test {

inline const std::string kPreferencesTitle = "Preferences";
inline const std::vector<std::string> kPreferencesHandlers{"onVideoSelect", "onPreviewChanged",
                                                           "onOutputLocationChanged", "onDoneClicked"};

/// Notes what it is told of its window.
class RecordingDelegate : public platform::NSWindowDelegate {
 public:
  void windowDidBecomeKey() override { ++becameKey; }
  void windowDidChangeOcclusionState() override { visible.push_back(window && window->isVisible()); }

  std::shared_ptr<platform::NSWindow> window;
  int becameKey = 0;
  std::vector<bool> visible;  ///< what the window answers at each call
};

/// The preview's window, not yet on the screen; what its controls send stands in `calls_`.
class WindowTest : public testing::Test {
 protected:
  void SetUp() override { open(); }

  void open() {
    preview_ = ui_->loadNibNamed(
        "PreviewWindowController",
        recording({"shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed"}));
    ASSERT_TRUE(preview_);
    window_ = preview_->window();
    delegate_->window = window_;
    window_->setDelegate(delegate_);
  }

  void close() {
    delegate_->window = nullptr;
    window_ = nullptr;
    preview_ = nullptr;
  }

  platform::NSActions recording(const std::vector<std::string>& handlers) {
    platform::NSActions actions;
    for (const auto& handler : handlers)
      actions[handler] = [this, handler] { calls_.push_back(handler); };
    return actions;
  }

  GtkWindow* gtkWindow() { return toplevelWithTitle("Camera Shot"); }

  void show() {
    window_->makeKeyAndOrderFront();
    ASSERT_TRUE(
        runUntil([this] { return gtk_window_is_active(gtkWindow()) && !delegate_->visible.empty(); }));
  }

  /// Whatever was due has happened when this returns.
  void settle() {
    bool done = false;
    platform_linux::postToMainLoop([&done] { done = true; });
    ASSERT_TRUE(runUntil([&done] { return done; }));
  }

  bool waitForCalls(std::size_t count) {
    return runUntil([this, count] { return calls_.size() >= count; });
  }

  TestUserInterface ui_;
  std::unique_ptr<platform::NSNib> preview_;
  std::shared_ptr<platform::NSWindow> window_;
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
  std::vector<std::string> calls_;
};

}  // namespace ui_test
