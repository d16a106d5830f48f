#include "platform/linux/ui/WindowList.h"

#include <algorithm>
#include <string>

#include "platform/linux/ui/ActivationToken.h"
#include "platform/linux/ui/ToplevelState.h"

namespace platform_linux {
namespace {

/// A minimised window is shown too: the user has not closed it.
bool isShown(GtkWindow* window) {
  return gtk_widget_get_mapped(GTK_WIDGET(window));
}

}  // namespace

bool isOnScreen(GtkWindow* window) {
  return isShown(window) && !isMinimized(gtk_native_get_surface(GTK_NATIVE(window)));
}

void WindowList::bringToFront(GtkWindow* window) {
  const std::string token = takeActivationToken_();
  if (!token.empty()) useActivationToken(window, token);
  gtk_window_present(window);
  turnedTo(window);
}

void WindowList::turnedTo(GtkWindow* window) {
  const auto place = std::find(windows_.begin(), windows_.end(), window);
  if (place != windows_.end()) std::rotate(place, place + 1, windows_.end());
}

bool WindowList::anyShown() const {
  return std::any_of(windows_.begin(), windows_.end(), isShown);
}

GtkWindow* WindowList::current() const {
  const auto front = std::find_if(windows_.rbegin(), windows_.rend(), isShown);
  return front != windows_.rend() ? *front : nullptr;
}

void WindowList::activate() {
  GtkWindow* const front = current();
  for (GtkWindow* const window : windows_)
    if (isShown(window) && window != front) gtk_window_present(window);
  if (front) bringToFront(front);
}

void WindowList::windowClosed() const {
  if (!anyShown()) lastWindowClosed_();
}

}  // namespace platform_linux
