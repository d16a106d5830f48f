#include "platform/linux/ui/GtkUserInterface.h"

#include <malloc.h>
#include <mutex>
#include <optional>
#include <utility>

#include <adwaita.h>

#include "platform/linux/ui/GraphicsProcessor.h"
#include "platform/linux/ui/ToolkitWithoutPortal.h"
#include "platform/linux/ui/View.h"
// Generated as C.
extern "C" {
#include "resources/CameraShotResources.h"
}

namespace platform_linux {
namespace {

std::string resource(const std::string& path) {
  return std::string(kResourceFolder) + "/" + path;
}

bool connectToDisplay(const std::string& applicationId) {
  // Before the toolkit starts: the desktop knows the windows by it.
  g_set_prgname(applicationId.c_str());
  // Looks for a display the first time only, and answers true from then on: the display is what counts.
  gtk_init_check();
  if (!gdk_display_get_default()) gdk_display_open(nullptr);
  return gdk_display_get_default() != nullptr;
}

/// Pictures that GTK draws by itself are allocated and freed each time: by default each goes back to the
/// system and is cleared anew. A 4K picture is 32 MB, the largest that malloc can be told to keep.
void keepPictureMemory() {
  constexpr int kKeptBytes = 32 * 1024 * 1024;
  mallopt(M_MMAP_THRESHOLD, kKeptBytes);
  mallopt(M_TRIM_THRESHOLD, kKeptBytes);
}

/// For the display, which stays for the rest of the process.
void setUpDisplay() {
  cameraShotResources_register_resource();
  GdkDisplay* const display = gdk_display_get_default();
  if (!hasGraphicsProcessor()) keepPictureMemory();
  const auto style = GObjectRef<GtkCssProvider>::adopt(gtk_css_provider_new());
  gtk_css_provider_load_from_resource(style.get(), resource("style.css").c_str());
  gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(style.get()),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  gtk_icon_theme_add_resource_path(gtk_icon_theme_get_for_display(display), resource("icons").c_str());
}

/// A window over `parent` with the keys that ours know. It closes itself, and is then destroyed by the
/// toolkit.
void showShortcuts(GtkWindow* parent) {
  const auto builder =
      GObjectRef<GtkBuilder>::adopt(gtk_builder_new_from_resource(resource("Shortcuts.ui").c_str()));
  GtkWindow* const window = GTK_WINDOW(gtk_builder_get_object(builder.get(), "window"));
  gtk_window_set_transient_for(window, parent);
  gtk_window_present(window);
}

}  // namespace

std::unique_ptr<GtkUserInterface> GtkUserInterface::make(UserInterfaceHost host, std::string& whyNot) {
  std::optional<ToolkitWithoutPortal> withoutPortal;
  if (!host.portalAnswers()) {
    g_message("The desktop's portal does not answer: windows do not follow its style");
    withoutPortal.emplace();
  }
  if (!connectToDisplay(host.applicationId)) {
    whyNot = "no connection to a display (neither WAYLAND_DISPLAY nor DISPLAY leads to one)";
    return nullptr;
  }
  adw_init();
  static std::once_flag isSetUp;
  std::call_once(isSetUp, setUpDisplay);
  gtk_window_set_default_icon_name(host.applicationId.c_str());
  return std::unique_ptr<GtkUserInterface>(new GtkUserInterface(std::move(host)));
}

GtkUserInterface::GtkUserInterface(UserInterfaceHost host)
    : displayWatch_(gdk_display_get_default(), std::move(host.displayLost)),
      frames_(host.stateFolder),
      windows_(std::move(host.lastWindowClosed), std::move(host.takeActivationToken)),
      openPanel_(windows_),
      nibs_(windows_, frames_, decodeThread_,
            {{"quit", std::move(host.quit)},
             {"showShortcuts", [this] { showShortcuts(windows_.current()); }}}) {}

std::unique_ptr<platform::NSNib> GtkUserInterface::loadNibNamed(const std::string& name,
                                                                platform::NSActions actions) {
  for (auto& [handler, call] : actions)
    call = [this, call = std::move(call)] {
      if (!windows_.isWithdrawn()) call();
    };
  std::string whyNot;
  auto nib = nibs_.load(name, std::move(actions), whyNot);
  if (!nib) g_warning("%s", whyNot.c_str());
  return nib;
}

void GtkUserInterface::withdraw() {
  openPanel_.dismiss();
  windows_.withdraw();
}

std::shared_ptr<platform::NSImage> GtkUserInterface::imageNamed(const std::string& name) {
  const std::string file = resource("icons/256x256/actions/" + name + ".png");
  if (!g_resources_get_info(file.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr, nullptr, nullptr))
    return nullptr;
  return std::make_shared<NamedImage>(name);
}

}  // namespace platform_linux
