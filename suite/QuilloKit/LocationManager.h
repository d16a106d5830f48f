#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/NSUserDefaults.h"

namespace suite {

/// Keeps the output folder of each of the suite's tools. Thread-safe: a photo is saved on the camera's thread
/// while the user chooses a folder on the main thread.
class LocationManager {
 public:
  LocationManager(platform::NSUserDefaults& locations, platform::NSFileManager& files,
                  std::string toolIdentifier);

  /// The stored folder, as it was stored, also when it is gone; else the user's folder for pictures, made
  /// when it is missing; nothing only when the user has no home. May wait for the file system.
  std::optional<std::string> locationForCurrentTool();
  /// The same without making anything, for the main thread.
  std::optional<std::string> pathForCurrentTool();

  /// Stores the folder, durably, and answers whether it could; where not, the old one stays.
  bool setLocationForCurrentTool(const std::string& folder);

 private:
  /// Empty without one.
  std::string storedFolder();

  std::mutex mutex_;  ///< of the stored folder; nobody who holds it waits for the folder's file system
  platform::NSUserDefaults& locations_;
  platform::NSFileManager& files_;
  const std::string toolIdentifier_;
};

}  // namespace suite
