#include "platform/linux/ui/StartupSequence.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <thread>
#include <utility>

#include "platform/linux/ui/UserInterfaceModule.h"

namespace platform_linux {
namespace {

void endNow(const std::string& path, const std::string& token) {
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!module) return;
  const auto end = reinterpret_cast<EndStartup>(dlsym(module, kEndStartupName));
  if (end) end(token.c_str());
}

}  // namespace

std::string startupTokenOfEnvironment() {
  for (const char* const variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
    if (const char* const token = std::getenv(variable)) return token;
  return {};
}

std::future<void> endStartupSequence(const std::string& token) {
  const auto folder = std::filesystem::path(userInterfaceModulePath()).parent_path();
  std::packaged_task<void()> task(
      [path = (folder / "libquillo-camera-shot-startup.so").string(), token] { endNow(path, token); });
  auto done = task.get_future();
  // A display server that does not answer keeps this thread, and nothing else.
  std::thread(std::move(task)).detach();
  return done;
}

}  // namespace platform_linux
