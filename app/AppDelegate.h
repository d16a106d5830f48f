#pragma once

#include <memory>
#include <string>

#include "app/AppController.h"
#include "platform/AppKit/NSApplication.h"

namespace camera_shot {

/// Translates the application object's life into calls on the controller; holds no logic of its own beyond
/// the launch, the open-file rule and the fixed answers about termination. Main thread only.
class AppDelegate : public platform::NSApplicationDelegate {
 public:
  /// The identifier under which the suite knows this tool. A file whose name ends with it asks for the
  /// preferences.
  static constexpr const char* kToolIdentifier = "a5f597ea-d3f3-4347-bbe6-344e240acc7e";

  AppDelegate(const platform::Platform& platform, suite::Suite& suite);

  [[nodiscard]] std::shared_ptr<AppController> controller() const { return controller_; }

  void applicationWillFinishLaunching() override;
  void applicationDidFinishLaunching(const platform::NSApplicationLaunchNotification& notification) override;
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
  bool applicationOpenFile(const std::string& fileName) override;
  /// The user asks for the preferences.
  void onPreferences();
  platform::NSApplicationTerminateReply applicationShouldTerminate() override;
  void applicationWillTerminate() override;
  bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }

 private:
  const platform::Platform& platform_;
  suite::Suite& suite_;
  const std::shared_ptr<AppController> controller_;
};

}  // namespace camera_shot
