#pragma once

#include <optional>
#include <string>

namespace platform_linux {

/// Where a window was, in logical pixels; the position in the display server's own.
struct WindowFrame {
  struct Position {
    int x = 0;
    int y = 0;

    bool operator==(const Position&) const = default;
  };

  int width = 0;
  int height = 0;
  bool isMaximized = false;
  std::optional<Position> position;  ///< nothing where the display server tells none

  bool operator==(const WindowFrame&) const = default;
};

/// The frames that windows keep between runs, by name, in one small file. A file that is damaged or cannot be
/// written is as good as none: windows then open as their layouts say. Main thread only.
class WindowFrames {
 public:
  /// `folder` is made at the first save.
  explicit WindowFrames(std::string folder);

  /// Nothing when none was kept, or none that makes sense.
  [[nodiscard]] std::optional<WindowFrame> load(const std::string& name) const;
  void save(const std::string& name, const WindowFrame& frame);

 private:
  const std::string folder_;
  const std::string file_;
};

}  // namespace platform_linux
