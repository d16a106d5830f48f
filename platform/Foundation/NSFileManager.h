#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// The file system as the tool sees it. Thread-safe.
class NSFileManager {
 public:
  virtual ~NSFileManager() = default;

  /// Whether anything exists at `path`: a file, a folder, or a link, also one that leads nowhere.
  [[nodiscard]] virtual bool fileExistsAtPath(const std::string& path) const = 0;

  /// Whether `path` is a folder in which files can be made: 0, or the errno that says why not (ENOTDIR,
  /// EACCES, EROFS, …).
  [[nodiscard]] virtual int whyNotWritableDirectory(const std::string& path) const = 0;

  /// `path` the way people read it: the home folder as "~".
  [[nodiscard]] virtual std::string abbreviatingWithTilde(const std::string& path) const = 0;

  /// The user's folder for pictures, made when it is missing; nothing when the user has no home.
  virtual std::optional<std::string> picturesDirectory() = 0;

  /// Adds `line` and a line end to the end of the file, making file and folders as needed. Lines of processes
  /// that append at the same time never mix, and none is lost. A file that the line would take beyond
  /// `mostBytes` is kept as `path` with ".1" behind it, in place of the one kept before, and a new one is
  /// begun. Answers whether the line is there whole; a line that does not fit (disk full) leaves nothing
  /// behind.
  virtual bool appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) = 0;
};

}  // namespace platform
