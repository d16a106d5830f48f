#pragma once

#include <string>

namespace platform_linux {

/// Whether a graphics processor can be drawn with: its device `renderD…` is in `folder`. No toolkit.
[[nodiscard]] bool hasGraphicsProcessor(const std::string& folder = "/dev/dri");

/// Without a graphics processor, has the toolkit keep from OpenGL, which would be imitated: loading the
/// imitation takes half of the memory of a run with windows, and a picture of the preview four times as long
/// as what the toolkit draws by itself. What the user has set comes first. To be made before there is any
/// second thread, because it sets a variable of the environment.
class ToolkitWithoutGraphicsProcessor {
 public:
  ToolkitWithoutGraphicsProcessor();
};

}  // namespace platform_linux
