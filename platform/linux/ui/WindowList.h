#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

namespace platform_linux {

/// Whether the window is on the screen; one that others cover is, a minimised one is not.
[[nodiscard]] bool isOnScreen(GtkWindow* window);

/// The program's windows, on the screen or not. Main thread only.
class WindowList {
 public:
  /// `takeActivationToken` as UserInterfaceHost says.
  WindowList(std::function<void()> lastWindowClosed, std::function<std::string()> takeActivationToken)
      : lastWindowClosed_(std::move(lastWindowClosed)),
        takeActivationToken_(std::move(takeActivationToken)) {}

  /// `takeOff` takes the window off the screen.
  void add(GtkWindow* window, std::function<void()> takeOff);
  void remove(GtkWindow* window);

  /// Shows the realised window before all others, with the keyboard where the desktop allows that: the user
  /// has just asked for it.
  void show(GtkWindow* window);
  /// The user has turned to the window, which now has the keyboard: it lies before all others.
  void turnedTo(GtkWindow* window);

  [[nodiscard]] bool anyShown() const;
  /// Brings the shown windows to the front, and leaves their order as it is. Where the desktop lets only one
  /// come, on Wayland, that is the current one.
  void activate();
  /// Of the shown windows the one before all others: that in which the user works, or is about to; null
  /// without one. A window that was just asked to the front may not have the keyboard yet.
  [[nodiscard]] GtkWindow* current() const;
  /// The end of the program: all windows leave the screen, those that the toolkit has put over them too, and
  /// none comes back. Windows tell their delegates nothing any more.
  void withdraw();
  [[nodiscard]] bool isWithdrawn() const { return isWithdrawn_; }
  /// The user closed a window: tells when it was the last one shown.
  void windowClosed() const;

 private:
  void present(GtkWindow* window);
  void putBeforeOthers(GtkWindow* window);

  const std::function<void()> lastWindowClosed_;
  const std::function<std::string()> takeActivationToken_;
  std::vector<GtkWindow*> windows_;  ///< from back to front
  std::map<GtkWindow*, std::function<void()>> takeOff_;
  bool isWithdrawn_ = false;
  /// The window for which the latest activation token was used, until it has the keyboard; then null.
  GtkWindow* awaited_ = nullptr;
  std::string awaitedToken_;
};

}  // namespace platform_linux
