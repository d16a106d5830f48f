#pragma once

#include <string>

namespace platform {

/// The desktop's file manager and default applications. Main thread only; returns at once and reports nothing
/// back: a file that is gone is the file manager's to tell.
class NSWorkspace {
 public:
  virtual ~NSWorkspace() = default;

  /// Shows the file, selected, in a file-manager window.
  virtual void selectFile(const std::string& path, const std::string& inFileViewerRootedAtPath) = 0;
  /// Opens the file at `path` with its default application.
  virtual void openFileURL(const std::string& path) = 0;
};

}  // namespace platform
