// Shows the application's notifications on desktops whose notification service tells clicks only to the
// process that posted the notification, and could not start the application: stays until they are gone and
// starts it instead. With --play-sound it is the suite's program for event sounds instead.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "notifier/Daemon.h"
#include "notifier/Service.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/base/StandardStreams.h"
#include "platform/linux/base/WriteSignals.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/desktop/SoundProcess.h"

namespace {

constexpr const char* kName = "com.verrano.quillo.CameraShot.Notifier";

void quit(GMainLoop* loop) noexcept {
  g_main_loop_quit(loop);
}

}  // namespace

int main(int argc, char** argv) {
  platform_linux::surviveFailedWrites();
  platform_linux::openMissingStandardStreams();
  if (argc > 1 && std::string_view(argv[1]) == platform_linux::SoundProcess::kArgument)
    platform_linux::playEventSoundAndExit(platform_linux::EventSound::fromWords({argv + 2, argv + argc}));
  // Nothing can be done without it, and nobody waits.
  const platform_linux::SessionBus bus(notifier::Daemon::kDaemonPatience);
  if (!bus.connection()) {
    std::fputs("quillo-camera-shot-notifier: there is no session bus\n", stderr);
    return EXIT_FAILURE;
  }
  const platform_linux::GMainLoopHandle loop(g_main_loop_new(nullptr, FALSE));
  const gulong closed = g_signal_connect_swapped(bus.connection(), "closed", G_CALLBACK(quit), loop.get());
  bool served = false;
  {
    const notifier::Service service(bus, kName, [&loop] { g_main_loop_quit(loop.get()); });
    g_main_loop_run(loop.get());
    served = service.hasHadName() || !g_dbus_connection_is_closed(bus.connection());
  }
  g_signal_handler_disconnect(bus.connection(), closed);
  // A bus that has started a program which leaves in good order goes on waiting for its name, and whoever
  // called it, too.
  return served ? EXIT_SUCCESS : EXIT_FAILURE;
}
