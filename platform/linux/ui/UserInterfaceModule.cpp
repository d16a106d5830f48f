#include "platform/linux/ui/UserInterfaceModule.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace platform_linux {

std::string userInterfaceModulePath() {
  std::error_code ignored;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return (program.parent_path() / CAMERA_SHOT_UI_MODULE_FROM_PROGRAM).lexically_normal().string();
}

std::unique_ptr<UserInterface> loadUserInterface(const std::string& path, UserInterfaceHost host,
                                                 std::string& whyNot) {
  // Never unloaded: the toolkit registers types and threads for the rest of the process.
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!module) {
    whyNot = dlerror();
    return nullptr;
  }
  const auto factory = reinterpret_cast<UserInterfaceFactory>(dlsym(module, kUserInterfaceFactoryName));
  if (!factory) {
    whyNot = dlerror();
    return nullptr;
  }
  return std::unique_ptr<UserInterface>(factory(&host, &whyNot));
}

}  // namespace platform_linux
