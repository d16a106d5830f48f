#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/AppKit/NSApplication.h"
#include "platform/Foundation/NSLog.h"
#include "platform/linux/application/ApplicationInterface.h"
#include "platform/linux/application/Departure.h"
#include "platform/linux/application/RunLoop.h"
#include "platform/linux/base/MainQueue.h"
#include "platform/linux/bus/NotificationActions.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

struct ApplicationIdentity {
  std::string identifier;  ///< e.g. "com.example.App": the name on the bus and of the desktop file
  /// The file whose opening means "show the preferences"; the desktop's action "preferences" opens it.
  std::string preferencesFile;
  NotificationActions notificationActions;
};

/// The running application on GLib's main loop and the session bus. Main thread only, unless an operation
/// says more.
///
/// Each start of the program is a process of its own; nothing is passed on to one that runs already. The
/// first of them is the one that the desktop calls (`org.freedesktop.Application`).
///
/// The end, from the delegate's applicationWillTerminate on: the main queue and the timers stop; no call of
/// the delegate or of a handler follows; calls of the desktop that still arrive go to the next process;
/// adapters finish what they must under `holdEnd`, through replies and event sources of their own; then `run`
/// returns. SIGTERM, SIGINT and SIGHUP ask for the end as `terminate` does; once `run` has returned they do
/// nothing.
class Application : public platform::NSApplication {
 public:
  /// The references outlive this.
  Application(ApplicationIdentity identity, const SessionBus& bus, MainQueue& mainQueue, RunLoop& runLoop,
              platform::NSLog& log);
  ~Application() override;

  /// Runs the application from its launch to its end and answers the exit status. All arguments are files to
  /// open, at launch, as a desktop's "open with" gives them; only `--gapplication-service` alone says that
  /// the bus started the program: then the first call of the desktop launches it, and without any within five
  /// seconds it leaves again.
  int run(int argc, char** argv, platform::NSApplicationDelegate& delegate);

  void setActivationPolicy(platform::NSApplicationActivationPolicy policy) override;
  void activateIgnoringOtherApps(bool ignoring) override;
  void terminate() override;

  /// Makes windows possible: called whenever the activation policy becomes regular; answers false, with the
  /// reason, while that cannot be, and true at once when it has done so before. Without a starter the program
  /// has no windows.
  void setUserInterfaceStarter(std::function<bool(std::string& whyNot)> starter);
  /// Brings the windows to the front.
  void setActivationHandler(std::function<void()> handler);
  /// Whether any window is on the screen, for the delegate's applicationShouldHandleReopen; without it, none
  /// is.
  void setVisibleWindowsHandler(std::function<bool()> handler);
  /// Takes clicks on the application's notifications while it runs.
  void setNotificationResponseHandler(std::function<void(platform::UNNotificationResponse)> handler);

  /// Withdraws what others can still ask of the program: called once, when the end has begun and the delegate
  /// has had its last word.
  void setEndHandler(std::function<void()> handler);

  /// The user closed the last window: the delegate says whether that is the end.
  void lastWindowClosed();

  /// Launches an application that the bus has started and that still waits for its first call; whether it
  /// did. For a call that came by another interface than the desktop's.
  bool launchIfWaiting();

  /// The same as what comes with a call of the desktop, from elsewhere.
  void setActivationToken(std::string token) { activationToken_ = std::move(token); }
  /// The activation token of the desktop's latest call, with which the window or the program that answers it
  /// may take the focus; empty when there is none. It serves once.
  std::string takeActivationToken();

  /// The end where the main loop must not turn again: the delegate has its last word, main queue and timers
  /// stop, nothing else is waited for. The caller ends the process. When the end has begun before, nothing
  /// happens.
  void breakOff();

  /// Keeps the process, once its end has begun, for as long as any copy of the answer lives, but `patience`
  /// at most: for calls to other programs that would be lost if the caller left before they are answered.
  std::shared_ptr<void> holdEnd(std::chrono::milliseconds patience = std::chrono::seconds(2));

 private:
  void receive(DesktopCall call);
  /// The end has begun; or a click launched this process, which then answers clicks alone before it leaves.
  [[nodiscard]] bool isForTheNextProcess(const DesktopCall& call) const;
  bool handle(const DesktopCall::Activate& request);
  bool handle(const DesktopCall::Open& request);
  bool handle(const DesktopCall::ActivateAction& request);
  void launch(const std::vector<std::string>& files,
              const platform::NSApplicationLaunchNotification& notification);
  void waitForFirstCall();
  void end();
  void leave();
  void stopWork();

  const ApplicationIdentity identity_;
  const SessionBus& bus_;
  MainQueue& mainQueue_;
  RunLoop& runLoop_;
  platform::NSLog& log_;
  const std::thread::id mainThread_;
  Departure departure_;

  platform::NSApplicationDelegate* delegate_ = nullptr;
  enum class Stage { Waiting, Launched, Leaving, Gone } stage_ = Stage::Waiting;
  bool isLaunching_ = false;
  bool launchedByClick_ = false;
  bool askedWhetherToEnd_ = false;
  int status_ = 0;
  std::string activationToken_;

  std::function<bool(std::string&)> startUserInterface_;
  std::function<void()> onActivate_;
  std::function<bool()> hasVisibleWindows_;
  std::function<void(platform::UNNotificationResponse)> onNotificationResponse_;
  std::function<void()> onEnd_;
};

}  // namespace platform_linux
