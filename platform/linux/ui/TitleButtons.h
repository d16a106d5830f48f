#pragma once

#include <adwaita.h>

#include "platform/linux/ui/Signals.h"

namespace platform_linux {

/// A header bar whose close button is the layout's own: it stands where the desktop's close button would
/// stand, with the desktop's other window buttons beside it, and moves with the user's setting.
class TitleButtons {
 public:
  /// `group` holds `controls` and `closeButton`; it and `opposite` lie in `header`. All must outlive this
  /// object.
  TitleButtons(AdwHeaderBar* header, GtkBox* group, GtkWindowControls* controls, GtkWidget* closeButton,
               GtkWidget* opposite);

 private:
  void arrange();

  AdwHeaderBar* const header_;
  GtkBox* const group_;
  GtkWindowControls* const controls_;
  GtkWidget* const closeButton_;
  GtkWidget* const opposite_;
  SignalConnection layoutChanged_;
};

}  // namespace platform_linux
