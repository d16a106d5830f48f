#pragma once

#include <string>

#include "platform/Foundation/NSFileManager.h"

namespace platform_linux {

/// The file system, and the folders that the desktop has given the user (the XDG user directories).
/// Thread-safe.
class FileManager : public platform::NSFileManager {
 public:
  [[nodiscard]] bool fileExistsAtPath(const std::string& path) const override;
  [[nodiscard]] int whyNotWritableDirectory(const std::string& path) const override;
  void askWhyNotWritableDirectory(const std::string& path, std::function<void(int why)> answer) override;
  [[nodiscard]] std::string abbreviatingWithTilde(const std::string& path) const override;
  /// `XDG_PICTURES_DIR` of the user's `user-dirs.dirs`, also where that is the home folder itself;
  /// `~/Pictures` where the user has chosen nothing.
  [[nodiscard]] std::optional<std::string> picturesPath() const override;
  /// The answer stands even when the folder could not be made: the first write then tells why.
  std::optional<std::string> picturesDirectory() override;
  /// New files are for the user alone (0600), so are new folders (0700). A device, e.g. a link to /dev/null,
  /// is written to as it is. Where a foreign program keeps the file locked, or the file system has no locks,
  /// the line is written all the same; then one that does not fit may leave its beginning behind, and a
  /// full file grows.
  bool appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) override;
};

}  // namespace platform_linux
