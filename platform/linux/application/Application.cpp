#include "platform/linux/application/Application.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <glib-unix.h>
#include <string_view>
#include <utility>

#include "platform/linux/application/RunningApplications.h"

namespace platform_linux {

namespace {

/// How long a process that the bus started waits to be told what for.
constexpr std::chrono::seconds kFirstCallPatience{5};

bool startedByBus(int argc, char** argv) {
  return argc == 2 && std::string_view(argv[1]) == "--gapplication-service";
}

/// Turns the signals by which the system and terminals end programs into `terminate`, for as long as it
/// lives. Later ones do nothing: a photo may still be on its way to the disk, and the program ends anyway.
/// A signal that whoever started the program has switched off stays so (nohup).
class TerminationSignals {
 public:
  explicit TerminationSignals(Application& application) {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      struct sigaction before {};
      ::sigaction(kSignals[i], nullptr, &before);
      if (before.sa_handler != SIG_IGN)
        sources_[i] = g_unix_signal_add_full(
            G_PRIORITY_DEFAULT, kSignals[i],
            [](gpointer data) noexcept -> gboolean {
              static_cast<Application*>(data)->terminate();
              return G_SOURCE_CONTINUE;
            },
            &application, nullptr);
    }
  }
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  ~TerminationSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      if (!sources_[i]) continue;
      // A signal that GLib watches no more would end the program, so another watch takes over first.
      g_unix_signal_add(
          kSignals[i], [](gpointer) noexcept -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
      g_source_remove(sources_[i]);
    }
  }

 private:
  static constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};
  std::array<guint, kSignals.size()> sources_{};
};

}  // namespace

Application::Application(ApplicationIdentity identity, const SessionBus& bus, MainQueue& mainQueue,
                         RunLoop& runLoop, platform::NSLog& log)
    : identity_(std::move(identity)),
      bus_(bus),
      mainQueue_(mainQueue),
      runLoop_(runLoop),
      log_(log),
      mainThread_(std::this_thread::get_id()),
      // The place in the count first: who is started by a call that comes next must not count us.
      departure_(bus, {instanceName(identity_.identifier), identity_.identifier}) {}

Application::~Application() = default;

int Application::run(int argc, char** argv, platform::NSApplicationDelegate& delegate) {
  delegate_ = &delegate;
  const TerminationSignals signals(*this);
  const ApplicationInterface interface(bus_, identity_.identifier,
                                       [this](DesktopCall call) { receive(std::move(call)); });
  if (startedByBus(argc, argv)) {
    waitForFirstCall();
  } else {
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i)
      files.push_back(localPath(argv[i]));
    launch(files, {});
  }
  while (stage_ != Stage::Gone)
    g_main_context_iteration(nullptr, TRUE);
  delegate_ = nullptr;
  return status_;
}

void Application::waitForFirstCall() {
  mainQueue_.after(kFirstCallPatience, [this] {
    if (stage_ == Stage::Waiting) leave();
  });
  if (!bus_.connection()) leave();
}

bool Application::launchIfWaiting() {
  if (stage_ != Stage::Waiting) return false;
  launch({}, {});
  return true;
}

void Application::launch(const std::vector<std::string>& files,
                         const platform::NSApplicationLaunchNotification& notification) {
  if (stage_ != Stage::Waiting) return;
  stage_ = Stage::Launched;
  launchedByClick_ = notification.launchUserNotification.has_value();
  isLaunching_ = true;
  delegate_->applicationWillFinishLaunching();
  for (const std::string& file : files)
    if (stage_ == Stage::Launched) delegate_->applicationOpenFile(file);
  if (stage_ == Stage::Launched) delegate_->applicationDidFinishLaunching(notification);
  isLaunching_ = false;
}

bool Application::isForTheNextProcess(const DesktopCall& call) const {
  if (stage_ >= Stage::Leaving) return true;
  if (!launchedByClick_) return false;
  const auto* const action = std::get_if<DesktopCall::ActivateAction>(&call.request());
  return !action || !identity_.notificationActions.responseFor(action->name, action->target);
}

void Application::receive(DesktopCall call) {
  if (isForTheNextProcess(call)) {
    departure_.handOn(std::move(call));
    return;
  }
  activationToken_ = call.activationToken();
  if (std::visit([this](const auto& request) { return handle(request); }, call.request()))
    call.answer();
  else
    call.refuse("the application has no such action");
}

bool Application::handle(const DesktopCall::Activate&) {
  if (stage_ == Stage::Waiting) {
    launch({}, {});
    return true;
  }
  // Bringing what is there to the front is the platform's part; the delegate decides about all else.
  const bool hasVisibleWindows = hasVisibleWindows_ && hasVisibleWindows_();
  if (hasVisibleWindows && onActivate_) onActivate_();
  delegate_->applicationShouldHandleReopen(hasVisibleWindows);
  return true;
}

bool Application::handle(const DesktopCall::Open& request) {
  if (stage_ == Stage::Waiting) {
    launch(request.files, {});
    return true;
  }
  for (const std::string& file : request.files)
    if (stage_ == Stage::Launched) delegate_->applicationOpenFile(file);
  return true;
}

bool Application::handle(const DesktopCall::ActivateAction& request) {
  if (request.name == "preferences") return handle(DesktopCall::Open{{identity_.preferencesFile}});
  const auto response = identity_.notificationActions.responseFor(request.name, request.target);
  if (!response) return false;
  if (stage_ == Stage::Waiting)
    launch({}, {*response});
  else if (onNotificationResponse_)
    onNotificationResponse_(*response);
  return true;
}

void Application::setActivationPolicy(platform::NSApplicationActivationPolicy policy) {
  // A launch that has failed is over; later on a display may have come since the last time.
  if (policy != platform::NSApplicationActivationPolicy::Regular || status_ != EXIT_SUCCESS) return;
  std::string whyNot = "this program was built without windows";
  if (startUserInterface_ && startUserInterface_(whyNot)) return;
  log_.log("Cannot show windows: " + whyNot);
  // Asked for later on, windows are no reason to break off what is under way without any.
  if (!isLaunching_) return;
  status_ = EXIT_FAILURE;
  mainQueue_.async([this] { end(); });
}

void Application::activateIgnoringOtherApps(bool) {
  if (onActivate_) onActivate_();
}

void Application::terminate() {
  if (std::this_thread::get_id() != mainThread_) {
    mainQueue_.async([this] { terminate(); });
    return;
  }
  if (stage_ == Stage::Waiting) leave();
  if (stage_ != Stage::Launched || askedWhetherToEnd_) return;
  askedWhetherToEnd_ = true;
  const auto reply = delegate_->applicationShouldTerminate();
  askedWhetherToEnd_ = false;
  if (reply == platform::NSApplicationTerminateReply::Now) end();
}

void Application::end() {
  if (stage_ >= Stage::Leaving) return;
  stage_ = Stage::Leaving;
  delegate_->applicationWillTerminate();
  leave();
}

void Application::leave() {
  stage_ = Stage::Leaving;
  stopWork();
  if (const auto withdraw = std::exchange(onEnd_, nullptr)) withdraw();
  departure_.begin([this] { stage_ = Stage::Gone; });
}

void Application::stopWork() {
  mainQueue_.end();
  runLoop_.end();
}

void Application::breakOff() {
  if (stage_ != Stage::Launched) return;
  stage_ = Stage::Leaving;
  delegate_->applicationWillTerminate();
  stopWork();
}

void Application::lastWindowClosed() {
  if (stage_ == Stage::Launched && delegate_->applicationShouldTerminateAfterLastWindowClosed()) terminate();
}

std::string Application::takeActivationToken() {
  return std::exchange(activationToken_, {});
}

std::shared_ptr<void> Application::holdEnd(std::chrono::milliseconds patience) {
  return departure_.hold(patience);
}

void Application::setUserInterfaceStarter(std::function<bool(std::string& whyNot)> starter) {
  startUserInterface_ = std::move(starter);
}

void Application::setActivationHandler(std::function<void()> handler) {
  onActivate_ = std::move(handler);
}

void Application::setEndHandler(std::function<void()> handler) {
  onEnd_ = std::move(handler);
}

void Application::setVisibleWindowsHandler(std::function<bool()> handler) {
  hasVisibleWindows_ = std::move(handler);
}

void Application::setNotificationResponseHandler(
    std::function<void(platform::UNNotificationResponse)> handler) {
  onNotificationResponse_ = std::move(handler);
}

}  // namespace platform_linux
