#include "platform/linux/composition/LinuxPlatform.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include <glib.h>

#include "platform/linux/camera/FrameSourceChoice.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "platform/linux/camera/pipewire/Sandbox.h"
#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "platform/linux/ui/StartupSequence.h"

namespace platform_linux {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

/// By then a window is there, if one is to come, and the camera of a run without one is warming up.
constexpr auto kStartupIsOver = 500ms;
/// How long the end of a short run waits for the desktop.
constexpr auto kStartupPatience = 300ms;

/// How long a photo that was taken may keep the process that is to end. Slow disks need some of it; who stops
/// services kills what is still there after a minute and a half (systemd's default).
constexpr auto kPhotoPatience = 60s;

/// The context of texts about permissions that no desktop's settings grant.
constexpr const char* kOutsideASandbox = "outside a sandbox";

/// The suite's own folder in one of the user's.
std::string suiteFolder(const char* userFolder) {
  return std::string(userFolder) + "/quillo";
}

std::string configurationPath(const std::string& file) {
  return suiteFolder(g_get_user_config_dir()) + "/" + file;
}

/// Where the kernel's cameras are looked for; tests have a folder of their own instead of the machine's.
const char* deviceFolder() {
  const char* const folder = std::getenv("CAMERA_SHOT_DEVICES");
  return folder && *folder != '\0' ? folder : kDeviceFolder;
}

}  // namespace

std::string LinuxPlatform::statePath(const std::string& file) {
  return suiteFolder(g_get_user_state_dir()) + "/" + file;
}

LinuxPlatform::LinuxPlatform(const ProgramIdentity& identity)
    : identity_(identity),
      startupToken_(startupTokenOfEnvironment()),
      cameras_(makeCameras()),
      instances_(bus_),
      bundle_(identity.identifier, identity.program, installationPrefix() + "/share/locale", userLanguages(),
              runsInSandbox() ? "" : kOutsideASandbox),
      defaults_(configurationPath(identity.settingsFile), "Defaults", log_),
      application_({identity.identifier, identity.preferencesFile, identity.notificationActions}, bus_,
                   mainQueue_, runLoop_, log_),
      windows_(bus_, {.applicationId = identity.identifier,
                      .stateFolder = suiteFolder(g_get_user_state_dir()),
                      .lastWindowClosed = [this] { application_.lastWindowClosed(); },
                      .quit = [this] { application_.terminate(); },
                      .takeActivationToken = [this] { return application_.takeActivationToken(); },
                      .displayLost = [this] { endWithoutDisplay(); },
                      .portalAnswers = {}}),
      appKit_(windows_, sounds_, thumbnails_, log_),
      workspace_(
          bus_, [this] { return application_.holdEnd(Workspace::kPatience); },
          [this] { return application_.takeActivationToken(); }),
      notifications_(bus_, {identity.identifier, identity.notificationActions,
                            bundle_.localizedStringForKey("Show"), [this] { return application_.holdEnd(); },
                            [this] { sounds_.play(notificationSound(identity_.identifier)); },
                            [this](const std::string& path) { return thumbnails_.of(path); }}),
      ports_{mainQueue_, runLoop_,      notificationCenter_, defaults_,  files_,   bundle_, dates_,
             log_,       application_,  instances_,          workspace_, windows_, appKit_, *cameras_,
             layers_,    notifications_} {
  connect();
}

LinuxPlatform::~LinuxPlatform() = default;

std::unique_ptr<Cameras> LinuxPlatform::makeCameras() {
  const auto hiddenCameraTitle = [this] { return bundle_.localizedStringForKey("Camera"); };
  return std::make_unique<Cameras>(mainQueue_, notificationCenter_, log_, frameSource(), hiddenCameraTitle);
}

std::shared_ptr<FrameSource> LinuxPlatform::frameSource() {
  if (!runsInSandbox())
    return std::make_shared<FrameSourceChoice>(std::make_shared<PipeWireFrameSource>(),
                                               std::make_shared<DeviceFrameSource>(deviceFolder()));
  const auto bus = [this]() -> const SessionBus& { return bus_; };
  return std::make_shared<PipeWireFrameSource>(mainQueue_, std::make_shared<CameraPortal>(bus));
}

void LinuxPlatform::connect() {
  application_.setUserInterfaceStarter([this](std::string& whyNot) { return windows_.start(whyNot); });
  application_.setActivationHandler([this] {
    if (windows_.get()) windows_.get()->activate();
  });
  application_.setVisibleWindowsHandler([this] {
    // The desktop has started the program once more.
    mainQueue_.after(kStartupIsOver, [this] { endUnusedStartup(); });
    return windows_.get() && windows_.get()->hasVisibleWindows();
  });
  application_.setNotificationResponseHandler(
      [this](const platform::UNNotificationResponse& response) { notifications_.receiveResponse(response); });
  application_.setEndHandler([this] {
    presence_.reset();
    if (windows_.get()) windows_.get()->withdraw();
    cameras_->stop();
  });
}

void LinuxPlatform::setToolStatus(int status) {
  if (presence_) presence_->setStatus(status);
}

void LinuxPlatform::offerTool(const ToolActions& actions) {
  presence_.emplace(
      bus_, identity_.identifier, bundle_, actions,
      ToolPresenceHost{.launch = [this] { return application_.launchIfWaiting(); },
                       .setActivationToken =
                           [this](const std::string& token) { application_.setActivationToken(token); }});
}

std::future<void> LinuxPlatform::endUnusedStartup() {
  const std::string fromCommand = std::exchange(startupToken_, {});
  if (!windows_.get()) {
    const std::string fromBus = application_.takeActivationToken();
    if (const auto& token = fromBus.empty() ? fromCommand : fromBus; !token.empty())
      return endStartupSequence(token);
  }
  std::promise<void> nothingToDo;
  nothingToDo.set_value();
  return nothingToDo.get_future();
}

int LinuxPlatform::run(int argc, char** argv, platform::NSApplicationDelegate& delegate) {
  mainQueue_.after(kStartupIsOver, [this] { endUnusedStartup(); });
  const int status = application_.run(argc, argv, delegate);
  endUnusedStartup().wait_for(kStartupPatience);
  completePhotos();
  cameras_.reset();
  return status;
}

void LinuxPlatform::completePhotos() {
  if (cameras_->waitForPhotos(kPhotoPatience)) return;
  log_.log("A photo that was taken at the end could not be saved in time");
  std::_Exit(EXIT_FAILURE);
}

void LinuxPlatform::endWithoutDisplay() {
  if (cameras_) {
    log_.log("The connection to the display is lost");
    application_.breakOff();
    cameras_->stop();
    completePhotos();
  }
  std::_Exit(EXIT_FAILURE);
}

std::unique_ptr<platform::NSUserDefaults> LinuxPlatform::sharedSettings(const std::string& file,
                                                                        const std::string& group) {
  return std::make_unique<UserDefaults>(configurationPath(file), group, log_);
}

std::unique_ptr<platform::NSUserDefaults> LinuxPlatform::rememberedValues(const std::string& file,
                                                                          const std::string& group) {
  return std::make_unique<UserDefaults>(statePath(file), group, log_, UserDefaults::kPatience,
                                        AtomicFile::Durability::Written);
}

}  // namespace platform_linux
