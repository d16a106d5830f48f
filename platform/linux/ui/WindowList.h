#pragma once

#include <functional>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

namespace platform_linux {

/// Whether the window is on the screen; one that others cover is, a minimised one is not.
bool isOnScreen(GtkWindow* window);

/// The program's windows, on the screen or not. Main thread only.
class WindowList {
 public:
  explicit WindowList(std::function<void()> lastWindowClosed)
      : lastWindowClosed_(std::move(lastWindowClosed)) {}

  void add(GtkWindow* window) { windows_.push_back(window); }
  void remove(GtkWindow* window) { std::erase(windows_, window); }

  bool anyShown() const;
  /// Brings the shown windows to the front, that which has the keyboard last.
  void activate() const;
  /// The window that the user works in: the one with the keyboard, else any shown; null without one.
  GtkWindow* current() const;
  /// The user closed a window: tells when it was the last one shown.
  void windowClosed() const;

 private:
  const std::function<void()> lastWindowClosed_;
  std::vector<GtkWindow*> windows_;
};

}  // namespace platform_linux
