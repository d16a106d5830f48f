#include "suite/QuilloKit/LocationManager.h"

#include <utility>

namespace suite {

LocationManager::LocationManager(platform::NSUserDefaults& locations, platform::NSFileManager& files,
                                 std::string toolIdentifier)
    : locations_(locations), files_(files), toolIdentifier_(std::move(toolIdentifier)) {}

std::string LocationManager::storedFolder() {
  const std::scoped_lock lock(mutex_);
  return locations_.stringForKey(toolIdentifier_);
}

std::optional<std::string> LocationManager::locationForCurrentTool() {
  const std::string stored = storedFolder();
  return stored.empty() ? files_.picturesDirectory() : stored;
}

std::optional<std::string> LocationManager::pathForCurrentTool() {
  const std::string stored = storedFolder();
  return stored.empty() ? files_.picturesPath() : stored;
}

bool LocationManager::setLocationForCurrentTool(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  const std::string before = locations_.stringForKey(toolIdentifier_);
  locations_.setObject(folder, toolIdentifier_);
  if (locations_.synchronize()) return true;
  locations_.setObject(before, toolIdentifier_);
  return false;
}

}  // namespace suite
