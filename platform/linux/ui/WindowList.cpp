#include "platform/linux/ui/WindowList.h"

#include <algorithm>
#include <string>
#include <utility>

#include <gdk/wayland/gdkwayland.h>

#include "platform/linux/ui/Toplevel.h"

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

void WindowList::add(GtkWindow* window, std::function<void()> takeOff) {
  windows_.push_back(window);
  takeOff_[window] = std::move(takeOff);
}

void WindowList::remove(GtkWindow* window) {
  std::erase(windows_, window);
  takeOff_.erase(window);
  if (awaited_ == window) awaited_ = nullptr;
}

void WindowList::withdraw() {
  isWithdrawn_ = true;
  for (const auto& [window, takeOff] : takeOff_)
    takeOff();
  GList* const others = gtk_window_list_toplevels();
  for (GList* other = others; other; other = other->next)
    gtk_widget_set_visible(GTK_WIDGET(other->data), FALSE);
  g_list_free(others);
}

void WindowList::present(GtkWindow* window) {
  if (std::string token = takeActivationToken_(); !token.empty()) {
    awaited_ = window;
    awaitedToken_ = std::move(token);
  }
  // Asked again without a token, desktops would take the request for a mere call for attention, and forget
  // the token that they were given before.
  if (awaited_ == window) useActivationToken(window, awaitedToken_);
  if (gtk_window_is_active(window)) awaited_ = nullptr;
  // Also with a token, which may be old: on X11, Plasma's start menu gives every start that of its first
  // (5.27).
  presentAsAskedForNow(window);
  putBeforeOthers(window);
}

void WindowList::show(GtkWindow* window) {
  if (!isWithdrawn_) present(window);
}

void WindowList::turnedTo(GtkWindow* window) {
  if (awaited_ == window) awaited_ = nullptr;
  putBeforeOthers(window);
}

void WindowList::putBeforeOthers(GtkWindow* window) {
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
  if (!front) return;
  // On Wayland a token serves one window; any other would only be marked as calling for attention.
  if (!GDK_IS_WAYLAND_DISPLAY(gtk_widget_get_display(GTK_WIDGET(front))))
    for (GtkWindow* const window : windows_)
      if (isShown(window) && window != front) presentAsAskedForNow(window);
  present(front);
}

void WindowList::windowClosed() const {
  if (!isWithdrawn_ && !anyShown()) lastWindowClosed_();
}

}  // namespace platform_linux
