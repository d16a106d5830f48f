// A program with nothing but an icon in the tray: prints what is clicked, and ends by the menu's "Quit".

#include <cstdio>

#include "platform/linux/tray/StatusNotifierItem.h"

namespace {

/// The keys' own English.
class Texts : public platform::NSBundle {
 public:
  std::string bundleIdentifier() const override { return "com.verrano.quillo.CameraShot"; }
  std::string localizedStringForKey(const std::string& key, const std::string&,
                                    const std::string&) const override {
    return key;
  }
};

void say(const char* what) {
  std::puts(what);
  std::fflush(stdout);
}

}  // namespace

int main() {
  using platform_linux::StatusNotifierItem;
  const platform_linux::GMainLoopHandle loop(g_main_loop_new(nullptr, FALSE));
  const platform_linux::SessionBus bus;
  const Texts texts;
  StatusNotifierItem item(bus, {texts.bundleIdentifier(), CAMERA_SHOT_ICONS}, texts,
                          {[] { say("click"); }, [] { say("take a photo"); }, [] { say("preferences"); },
                           [&loop] {
                             say("quit");
                             g_main_loop_quit(loop.get());
                           }});
  item.setStatus(StatusNotifierItem::Status::Active);
  g_main_loop_run(loop.get());
  return 0;
}
