#include "platform/linux/ui/WindowList.h"

#include <algorithm>

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

bool WindowList::anyShown() const {
  return std::any_of(windows_.begin(), windows_.end(), isShown);
}

GtkWindow* WindowList::current() const {
  const auto active = std::find_if(windows_.begin(), windows_.end(), gtk_window_is_active);
  if (active != windows_.end()) return *active;
  const auto shown = std::find_if(windows_.begin(), windows_.end(), isShown);
  return shown != windows_.end() ? *shown : nullptr;
}

void WindowList::activate() const {
  GtkWindow* const last = current();
  for (GtkWindow* const window : windows_)
    if (isShown(window) && window != last) gtk_window_present(window);
  if (last) gtk_window_present(last);
}

void WindowList::windowClosed() const {
  if (!anyShown()) lastWindowClosed_();
}

}  // namespace platform_linux
