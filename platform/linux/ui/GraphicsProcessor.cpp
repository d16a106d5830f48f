#include "platform/linux/ui/GraphicsProcessor.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace platform_linux {

bool hasGraphicsProcessor(const std::string& folder) {
  std::error_code error;
  const std::filesystem::directory_iterator devices(folder, error);
  return !error && std::any_of(begin(devices), end(devices), [](const auto& device) {
    return device.path().filename().string().starts_with("renderD");
  });
}

ToolkitWithoutGraphicsProcessor::ToolkitWithoutGraphicsProcessor() {
  constexpr int kKeepTheUsers = 0;
  if (hasGraphicsProcessor()) return;
  ::setenv(CAMERA_SHOT_GL_SWITCH, CAMERA_SHOT_GL_SWITCHED_OFF, kKeepTheUsers);
  // What it would come to after a complaint.
  ::setenv("GSK_RENDERER", "cairo", kKeepTheUsers);
}

}  // namespace platform_linux
