#pragma once

#include <memory>
#include <string>

namespace platform {

/// Told what becomes of a window. Main thread.
class NSWindowDelegate {
 public:
  virtual ~NSWindowDelegate() = default;

  virtual void windowDidBecomeKey() {}
  /// The user closes the window by the window system's means. Answers whether it leaves the screen for that.
  virtual bool windowShouldClose() { return true; }
  /// The window came on the screen, left it, or was covered or uncovered.
  virtual void windowDidChangeOcclusionState() = 0;
};

inline constexpr unsigned NSWindowStyleMaskResizable = 8;

/// A top-level window. Main thread only.
class NSWindow {
 public:
  virtual ~NSWindow() = default;

  /// Whether the window is on the screen; one that others cover is, a minimised one is not.
  [[nodiscard]] virtual bool isVisible() const = 0;
  /// Whether the user has minimised the window.
  [[nodiscard]] virtual bool isMiniaturized() const = 0;
  /// Shows the window in front and gives it the keyboard.
  virtual void makeKeyAndOrderFront() = 0;
  /// Takes the window off the screen; it is kept.
  virtual void orderOut() = 0;
  [[nodiscard]] virtual unsigned styleMask() const = 0;
  virtual void setStyleMask(unsigned mask) = 0;
  /// Restores the position and size stored under `name`, and stores them there from now on.
  virtual void setFrameAutosaveName(const std::string& name) = 0;
  virtual void setDelegate(std::weak_ptr<NSWindowDelegate> delegate) = 0;
};

}  // namespace platform
