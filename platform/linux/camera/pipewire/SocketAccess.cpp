#include "platform/linux/camera/pipewire/SocketAccess.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace platform_linux {
namespace {

// Names and order of libpipewire 0.3 and 1.x.
constexpr const char* kDefaultName = "pipewire-0";
constexpr const char* kSystemFolder = "/run/pipewire";

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::vector<std::string> daemonSocketPaths() {
  std::string name = environment("PIPEWIRE_REMOTE");
  if (name.empty()) name = kDefaultName;
  if (name.front() == '/') return {name};
  std::vector<std::string> paths;
  for (const char* variable : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR", "USERPROFILE"}) {
    const std::filesystem::path folder = environment(variable);
    if (folder.empty()) continue;
    paths.push_back(folder / name);
    break;
  }
  paths.push_back(std::filesystem::path(kSystemFolder) / name);
  return paths;
}

platform::AVAuthorizationStatus SocketAccess::status() const {
  bool isRefused = false;
  for (const auto& path : daemonSocketPaths()) {
    // A socket is connected to by whom may write to it; the effective user counts, as for the connection
    // itself.
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0)
      return platform::AVAuthorizationStatus::Authorized;
    if (errno == EACCES || errno == EPERM) isRefused = true;
  }
  return isRefused ? platform::AVAuthorizationStatus::Denied : platform::AVAuthorizationStatus::Authorized;
}

void SocketAccess::request(std::function<void(bool granted)> completion) {
  completion(status() == platform::AVAuthorizationStatus::Authorized);
}

}  // namespace platform_linux
