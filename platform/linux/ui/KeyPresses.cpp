#include "platform/linux/ui/KeyPresses.h"

#include <array>

#include <gdk/x11/gdkx.h>

namespace platform_linux {
namespace {

/// Keys that may repeat themselves: they only move the focus or the place in a list.
bool isNavigation(guint key) {
  switch (key) {
    case GDK_KEY_Tab:
    case GDK_KEY_ISO_Left_Tab:
    case GDK_KEY_KP_Tab:
      return true;
    default:
      return (key >= GDK_KEY_Home && key <= GDK_KEY_End) || (key >= GDK_KEY_KP_Home && key <= GDK_KEY_KP_End);
  }
}

bool isSpaceOrReturn(guint key) {
  return key == GDK_KEY_space || key == GDK_KEY_KP_Space || key == GDK_KEY_Return ||
         key == GDK_KEY_KP_Enter || key == GDK_KEY_ISO_Enter;
}

/// The keys that are down, as the X server tells. Wayland tells of none: there a key that was pressed in
/// another window does not repeat itself in this one.
std::set<guint> keysThatAreDown(GtkWindow* window) {
  std::set<guint> codes;
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkDisplay* const display = gtk_widget_get_display(GTK_WIDGET(window));
  if (!GDK_IS_X11_DISPLAY(display)) return codes;
  std::array<char, 32> keys{};  // a bit a key
  XQueryKeymap(gdk_x11_display_get_xdisplay(display), keys.data());
  G_GNUC_END_IGNORE_DEPRECATIONS
  constexpr guint kBits = 8;
  for (guint code = 0; code < keys.size() * kBits; ++code)
    if (static_cast<unsigned char>(keys[code / kBits]) >> code % kBits & 1U) codes.insert(code);
  return codes;
}

}  // namespace

KeyPresses::KeyPresses(GtkWindow* window)
    : window_(window),
      keys_(GObjectRef<GtkEventController>::adopt(gtk_event_controller_key_new())),
      activeSignal_(window, "notify::is-active", [this] { focusMoved(); }) {
  gtk_event_controller_set_propagation_phase(keys_.get(), GTK_PHASE_CAPTURE);
  g_signal_connect(keys_.get(), "key-pressed",
                   G_CALLBACK(+[](GtkEventControllerKey*, guint key, guint code, GdkModifierType modifiers,
                                  gpointer self) noexcept -> gboolean {
                     return static_cast<KeyPresses*>(self)->pressed(key, code, modifiers);
                   }),
                   this);
  g_signal_connect(
      keys_.get(), "key-released",
      G_CALLBACK(+[](GtkEventControllerKey*, guint, guint code, GdkModifierType, gpointer self) noexcept {
        static_cast<KeyPresses*>(self)->released(code);
      }),
      this);
  gtk_widget_add_controller(GTK_WIDGET(window), GTK_EVENT_CONTROLLER(g_object_ref(keys_.get())));
}

KeyPresses::~KeyPresses() {
  gtk_widget_remove_controller(GTK_WIDGET(window_), keys_.get());
}

bool KeyPresses::pressed(guint key, guint code, GdkModifierType modifiers) {
  const bool isRepeat = !held_.insert(code).second;
  if (isRepeat) return !isNavigation(key);
  if (!pressesDefaultButton(key, modifiers)) return false;
  pressDefaultButton(code);
  return true;
}

void KeyPresses::released(guint code) {
  held_.erase(code);
  if (code == pressing_) showReleased();
}

void KeyPresses::focusMoved() {
  showReleased();
  // Keys are released in the window that has the keyboard then; and a key that was pressed in another one
  // goes on repeating itself in this one.
  held_ = gtk_window_is_active(window_) ? keysThatAreDown(window_) : std::set<guint>();
}

bool KeyPresses::pressesDefaultButton(guint key, GdkModifierType modifiers) const {
  GtkWidget* const button = gtk_window_get_default_widget(window_);
  if (!button || !isSpaceOrReturn(key) || (modifiers & gtk_accelerator_get_default_mod_mask()) != 0)
    return false;
  GtkWidget* const focus = gtk_window_get_focus(window_);
  return !focus || focus == button || gtk_widget_class_get_activate_signal(GTK_WIDGET_GET_CLASS(focus)) == 0;
}

void KeyPresses::pressDefaultButton(guint code) {
  GtkWidget* const button = gtk_window_get_default_widget(window_);
  if (!gtk_widget_is_sensitive(button)) return;
  pressing_ = code;
  gtk_widget_set_state_flags(button, GTK_STATE_FLAG_ACTIVE, FALSE);
  g_signal_emit_by_name(button, "clicked");
}

void KeyPresses::showReleased() {
  pressing_ = 0;
  GtkWidget* const button = gtk_window_get_default_widget(window_);
  if (button) gtk_widget_unset_state_flags(button, GTK_STATE_FLAG_ACTIVE);
}

}  // namespace platform_linux
