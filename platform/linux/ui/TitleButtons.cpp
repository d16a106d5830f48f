#include "platform/linux/ui/TitleButtons.h"

#include <memory>
#include <sstream>
#include <string>

#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

/// What the setting says: "left,side:right,side", the parts being button names.
std::string decorationLayout(GtkSettings* settings) {
  char* text = nullptr;
  g_object_get(settings, "gtk-decoration-layout", &text, nullptr);
  const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
  return text ? text : "";
}

/// Of one side's buttons those that are neither ours nor an icon or menu, which the picture has no room for.
std::string otherButtons(const std::string& side) {
  std::istringstream names(side);
  std::string others;
  for (std::string name; std::getline(names, name, ',');)
    if (name == "minimize" || name == "maximize") others += (others.empty() ? "" : ",") + name;
  return others;
}

void place(AdwHeaderBar* header, GtkWidget* widget, bool atStart) {
  const auto kept = GObjectRef<GtkWidget>::share(widget);
  adw_header_bar_remove(header, widget);
  if (atStart)
    adw_header_bar_pack_start(header, widget);
  else
    adw_header_bar_pack_end(header, widget);
}

}  // namespace

TitleButtons::TitleButtons(AdwHeaderBar* header, GtkBox* group, GtkWindowControls* controls,
                           GtkWidget* closeButton, GtkWidget* opposite)
    : header_(header),
      group_(group),
      controls_(controls),
      closeButton_(closeButton),
      opposite_(opposite),
      layoutChanged_(gtk_widget_get_settings(GTK_WIDGET(header)), "notify::gtk-decoration-layout",
                     [this] { arrange(); }) {
  arrange();
}

void TitleButtons::arrange() {
  const std::string layout = decorationLayout(gtk_widget_get_settings(GTK_WIDGET(header_)));
  const auto colon = layout.find(':');
  const std::string start = layout.substr(0, colon);
  const std::string end = colon == std::string::npos ? "" : layout.substr(colon + 1);
  const bool atStart = start.find("close") != std::string::npos;
  const std::string others = otherButtons(atStart ? start : end);
  gtk_window_controls_set_side(controls_, atStart ? GTK_PACK_START : GTK_PACK_END);
  gtk_window_controls_set_decoration_layout(controls_, (atStart ? others + ":" : ":" + others).c_str());
  gtk_box_reorder_child_after(group_, closeButton_, atStart ? nullptr : GTK_WIDGET(controls_));
  place(header_, GTK_WIDGET(group_), atStart);
  place(header_, opposite_, !atStart);
}

}  // namespace platform_linux
