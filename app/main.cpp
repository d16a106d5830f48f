#include <cstdio>
#include <string>
#include <string_view>

#include "app/AppDelegate.h"
#include "notifications/NotificationIdentifiers.h"
#include "platform/linux/base/StandardStreams.h"
#include "platform/linux/base/WriteSignals.h"
#include "platform/linux/composition/LinuxPlatform.h"
#include "suite/Suite.h"

namespace {

constexpr const char* kHelp =
    "Usage: quillo-camera-shot\n"
    "Takes a still photo with a camera and saves it as a PNG file: from a window with a live\n"
    "preview or, with the preview switched off in the preferences, silently.\n"
    "\n"
    "  --help      show this help and leave\n"
    "  --version   show the version and leave\n";

/// Answers what every program is asked; the tool itself reads nothing from its command line.
bool answered(int argc, char** argv) {
  const std::string_view question = argc == 2 ? argv[1] : "";
  if (question == "--help") std::fputs(kHelp, stdout);
  if (question == "--version") std::puts("quillo-camera-shot " CAMERA_SHOT_VERSION);
  return question == "--help" || question == "--version";
}

/// Under these names the desktop's shells and the notification helper give clicks to the tool.
platform_linux::NotificationActions notificationActions() {
  return {.actions = {{platform::UNNotificationDefaultActionIdentifier, camera_shot::kShowPhotoClick},
                      {camera_shot::kOpenAction, camera_shot::kOpenPhotoClick}},
          .userInfoKey = camera_shot::kPathKey,
          .requestIdentifier = camera_shot::kPhotoTaken};
}

}  // namespace

int main(int argc, char** argv) {
  platform_linux::surviveFailedWrites();
  platform_linux::openMissingStandardStreams();
  if (answered(argc, argv)) return 0;
  const std::string tool = camera_shot::AppDelegate::kToolIdentifier;
  platform_linux::LinuxPlatform desktop({.identifier = "com.verrano.quillo.CameraShot",
                                         .program = "quillo-camera-shot",
                                         .settingsFile = "camera-shot.ini",
                                         .preferencesFile = tool,
                                         .notificationActions = notificationActions()});
  const auto settings = desktop.sharedSettings("suite.ini", "Suite");
  const auto locations = desktop.sharedSettings("locations.ini", "Locations");
  const auto lastRuns = desktop.rememberedValues("last-runs.ini", "LastRuns");
  suite::Suite suite(desktop.ports(),
                     {*settings, *locations, *lastRuns, desktop.statePath("usage-events.jsonl"),
                      desktop.statePath("analytics-events.jsonl")},
                     tool);
  camera_shot::AppDelegate delegate(desktop.ports(), suite);

  const auto provider = suite.common.toolDataClientProvider();
  desktop.offerTool({.onClickMenuIcon = [provider] { provider->clickMenuIcon(); },
                     .onPreferences = [&delegate] { delegate.onPreferences(); },
                     .onQuit = [&desktop] { desktop.ports().application.terminate(); }});
  provider->setStatusObserver([&desktop](int status) { desktop.setToolStatus(status); });
  return desktop.run(argc, argv, delegate);
}
