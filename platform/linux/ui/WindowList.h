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

  /// From now on the window lies before all others: it was asked to the front, or the user has turned to it.
  void broughtToFront(GtkWindow* window);

  bool anyShown() const;
  /// Brings the shown windows to the front, and leaves their order as it is.
  void activate() const;
  /// Of the shown windows the one before all others: that in which the user works, or is about to; null
  /// without one. A window that was just asked to the front may not have the keyboard yet.
  GtkWindow* current() const;
  /// The user closed a window: tells when it was the last one shown.
  void windowClosed() const;

 private:
  const std::function<void()> lastWindowClosed_;
  std::vector<GtkWindow*> windows_;  ///< from back to front
};

}  // namespace platform_linux
