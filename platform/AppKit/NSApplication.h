#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/UserNotifications/UNNotification.h"

namespace platform {

/// How the application takes part in the desktop.
enum class NSApplicationActivationPolicy {
  Regular = 0,     ///< windows, a place in the task list
  Prohibited = 2,  ///< no windows at all: not even a connection to the display
};

enum class NSApplicationTerminateReply { Cancel = 0, Now = 1 };

/// What the launch says about its cause.
struct NSApplicationLaunchNotification {
  /// The click on a notification that launched the application; nothing in any other launch.
  std::optional<UNNotificationResponse> launchUserNotification;
};

/// The application's life, told to its delegate. Main thread.
class NSApplicationDelegate {
 public:
  virtual ~NSApplicationDelegate() = default;

  virtual void applicationWillFinishLaunching() = 0;
  virtual void applicationDidFinishLaunching(const NSApplicationLaunchNotification& notification) = 0;
  /// The user has started the running application again; the windows that are shown have come to the front.
  /// Answers whether the platform may show a window of its own accord.
  virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;
  /// Answers whether the file was accepted. May come before launching has finished.
  virtual bool applicationOpenFile(const std::string& fileName) = 0;
  virtual NSApplicationTerminateReply applicationShouldTerminate() = 0;
  /// The last word before the end.
  virtual void applicationWillTerminate() = 0;
  virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;
};

/// The running application. Main thread only, unless an operation says more.
class NSApplication {
 public:
  virtual ~NSApplication() = default;

  /// A regular application connects to the display; where there is none, the reason is logged and shown, and
  /// the application ends with a failing exit status once the current turn of the loop is over.
  virtual void setActivationPolicy(NSApplicationActivationPolicy policy) = 0;
  /// Brings the application's windows to the front; without any, nothing happens.
  virtual void activateIgnoringOtherApps(bool ignoring) = 0;
  /// Asks the delegate whether to end; then tells it so and ends the main loop. Thread-safe: from another
  /// thread the question is put on a later turn of the main loop. Once the end has begun, nothing happens.
  virtual void terminate() = 0;
};

/// The other applications of the session. Main thread only.
class NSRunningApplication {
 public:
  virtual ~NSRunningApplication() = default;

  /// How many processes of the application with that identifier run: this one and those that asked before it,
  /// where 2 may stand for more. Of several that start at the same time exactly one counts 1.
  virtual int runningApplicationsWithBundleIdentifier(const std::string& bundleIdentifier) = 0;
};

}  // namespace platform
