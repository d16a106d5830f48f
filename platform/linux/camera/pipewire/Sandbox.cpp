#include "platform/linux/camera/pipewire/Sandbox.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

namespace platform_linux {
namespace {

bool liesIn(const std::filesystem::path& folder, const std::filesystem::path& path) {
  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

}  // namespace

bool runsInSandbox(const std::filesystem::path& root, const std::filesystem::path& executable) {
  std::error_code error;
  if (std::filesystem::exists(root / ".flatpak-info", error)) return true;
  const char* const snap = std::getenv("SNAP");
  if (!snap || *snap == '\0') return false;
  const auto folder = std::filesystem::canonical(snap, error);
  if (error) return false;
  const auto program = std::filesystem::canonical(executable, error);
  return !error && liesIn(folder, program);
}

}  // namespace platform_linux
