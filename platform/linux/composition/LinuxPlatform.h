#pragma once

#include <future>
#include <memory>
#include <optional>
#include <string>

#include "platform/Platform.h"
#include "platform/linux/application/Application.h"
#include "platform/linux/application/Bundle.h"
#include "platform/linux/application/Date.h"
#include "platform/linux/application/Log.h"
#include "platform/linux/application/NotificationCenter.h"
#include "platform/linux/application/RunLoop.h"
#include "platform/linux/application/RunningApplications.h"
#include "platform/linux/base/MainQueue.h"
#include "platform/linux/bus/NotificationActions.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/camera/Cameras.h"
#include "platform/linux/composition/AppKit.h"
#include "platform/linux/composition/ToolPresence.h"
#include "platform/linux/composition/Windows.h"
#include "platform/linux/desktop/Workspace.h"
#include "platform/linux/notifications/UserNotificationCenter.h"
#include "platform/linux/photo/Layer.h"
#include "platform/linux/storage/FileManager.h"
#include "platform/linux/storage/UserDefaults.h"
#include "platform/linux/ui/GraphicsProcessor.h"

namespace platform_linux {

class FrameSource;

/// What tells one application of the suite from another.
struct ProgramIdentity {
  std::string identifier;       ///< the application id
  std::string program;          ///< names the text tables
  std::string settingsFile;     ///< within the suite's configuration folder
  std::string preferencesFile;  ///< the file whose opening asks for the preferences
  NotificationActions notificationActions;
};

/// All services of a Linux desktop, put together. Main thread only; made once.
class LinuxPlatform {
 public:
  explicit LinuxPlatform(const ProgramIdentity& identity);
  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;
  ~LinuxPlatform();

  [[nodiscard]] const platform::Platform& ports() const { return ports_; }

  /// Puts the tool where the desktop and the suite can see it: an icon in the tray, an object on the bus;
  /// they are withdrawn when the end begins.
  void offerTool(const ToolActions& actions);
  /// 0: starting or leaving; 1: a normal run is under way. After `offerTool`.
  void setToolStatus(int status);

  /// Runs the application to its end, completes a photo that is being saved then, and answers the exit
  /// status. Once only.
  int run(int argc, char** argv, platform::NSApplicationDelegate& delegate);

  /// A group of settings that the suite shares among its tools, in a file of its configuration folder.
  std::unique_ptr<platform::NSUserDefaults> sharedSettings(const std::string& file, const std::string& group);
  /// The same in the folder of what programs remember by themselves: a power cut may cost the latest, so that
  /// no start waits for the disk.
  std::unique_ptr<platform::NSUserDefaults> rememberedValues(const std::string& file,
                                                             const std::string& group);
  /// A file's path in that folder.
  [[nodiscard]] static std::string statePath(const std::string& file);

 private:
  /// Heard at once, when shots follow each other quickly.
  static constexpr std::size_t kMostSounds = 4;

  void connect();
  /// Waits for the photos that were taken; ends the process where that takes too long.
  void completePhotos();
  /// Ends the process, with the photos that were taken saved.
  [[noreturn]] void endWithoutDisplay();
  /// Without a window the desktop's wait for one is ended.
  std::future<void> endUnusedStartup();
  std::unique_ptr<Cameras> makeCameras();
  std::shared_ptr<FrameSource> frameSource();

  /// First of all: before there are threads.
  const ToolkitWithoutGraphicsProcessor toolkitSettings_;
  const ProgramIdentity identity_;
  std::string startupToken_;  ///< of the environment, until it is used
  Log log_;
  MainQueue mainQueue_;
  RunLoop runLoop_;
  NotificationCenter notificationCenter_;
  /// Made before the rest, so that the cameras are known by the time somebody asks.
  std::unique_ptr<Cameras> cameras_;
  SessionBus bus_;
  RunningApplications instances_;
  Bundle bundle_;
  Date dates_;
  FileManager files_;
  UserDefaults defaults_;
  Application application_;
  Windows windows_;
  SoundProcess sounds_{soundProgram(), kMostSounds};
  SavedThumbnails thumbnails_;
  AppKit appKit_;
  Layers layers_;
  Workspace workspace_;
  UserNotificationCenter notifications_;
  std::optional<ToolPresence> presence_;
  const platform::Platform ports_;
};

}  // namespace platform_linux
