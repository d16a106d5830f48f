#pragma once

#include <set>

#include <gtk/gtk.h>

#include "platform/linux/base/Handles.h"
#include "platform/linux/ui/Signals.h"

namespace platform_linux {

/// What the keyboard does in a window. One press is one action: the presses by which a held key repeats
/// itself are dropped, but for those that move the focus. Space and Return press the window's default button
/// at once, and show it pressed until they are released, unless the focus is on something that they activate
/// itself.
class KeyPresses {
 public:
  /// `window` must outlive this object.
  explicit KeyPresses(GtkWindow* window);
  KeyPresses(const KeyPresses&) = delete;
  KeyPresses& operator=(const KeyPresses&) = delete;
  ~KeyPresses();

 private:
  bool pressed(guint key, guint code, GdkModifierType modifiers);
  void released(guint code);
  void focusMoved();
  [[nodiscard]] bool pressesDefaultButton(guint key, GdkModifierType modifiers) const;
  void pressDefaultButton(guint code);
  void showReleased();

  GtkWindow* const window_;
  const GObjectRef<GtkEventController> keys_;
  SignalConnection activeSignal_;
  std::set<guint> held_;  ///< key codes
  guint pressing_ = 0;    ///< the code of the key that presses the default button; 0: none does
};

}  // namespace platform_linux
