#pragma once

#include <cstdint>
#include <functional>
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

  /// The same for the main thread, which must not wait for a server that does not answer: `answer` runs on a
  /// later turn of the main loop, once, when the file system has answered; never when it has not by the end.
  /// The user's folder for pictures is made before when it is missing.
  virtual void askWhyNotWritableDirectory(const std::string& path, std::function<void(int why)> answer) = 0;

  /// `path` the way people read it: the home folder as "~".
  [[nodiscard]] virtual std::string abbreviatingWithTilde(const std::string& path) const = 0;

  /// The user's folder for pictures, which may be missing; nothing when the user has no home.
  [[nodiscard]] virtual std::optional<std::string> picturesPath() const = 0;
  /// The same, made when it is missing; waits for the file system.
  virtual std::optional<std::string> picturesDirectory() = 0;

  /// Adds `line` and a line end to the end of the file, making file and folders as needed. Lines of processes
  /// that append at the same time never mix, and none is lost. A file that the line would take beyond
  /// `mostBytes` is kept as `path` with ".1" behind it, in place of the one kept before, and a new one is
  /// begun. Answers whether the line is there whole; a line that does not fit (disk full) leaves nothing
  /// behind.
  virtual bool appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) = 0;
};

}  // namespace platform
