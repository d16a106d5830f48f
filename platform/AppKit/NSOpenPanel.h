#pragma once

#include <functional>
#include <optional>
#include <string>

namespace platform {

/// Lets the user choose a folder. Main thread only.
class NSOpenPanel {
 public:
  virtual ~NSOpenPanel() = default;

  /// Shows the chooser, starting in `directory`, and returns at once; `completion` runs on the main thread
  /// with the chosen folder, or with nothing when the user cancelled. A folder that has no path in the file
  /// system comes as its address, which is no folder's path.
  virtual void chooseDirectory(const std::string& directory,
                               std::function<void(std::optional<std::string>)> completion) = 0;

  /// Tells the user, in the window that the chooser belongs to, why the chosen folder does not serve; returns
  /// at once.
  virtual void showMessage(const std::string& message) = 0;
};

}  // namespace platform
