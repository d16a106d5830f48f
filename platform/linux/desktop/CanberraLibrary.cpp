#include "platform/linux/desktop/CanberraLibrary.h"

#include <dlfcn.h>
#include <optional>

namespace platform_linux {
namespace {

constexpr const char* kLibraryName = "libcanberra.so.0";

template <typename Function>
bool find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

std::optional<CanberraLibrary> loadFunctions() {
  // NODELETE: its drivers leave threads behind that run its code.
  void* const library = dlopen(kLibraryName, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!library) return std::nullopt;
  CanberraLibrary functions{};
  if (find(library, "ca_context_create", functions.contextCreate) &&
      find(library, "ca_context_play_full", functions.contextPlayFull) &&
      find(library, "ca_context_destroy", functions.contextDestroy) &&
      find(library, "ca_proplist_create", functions.proplistCreate) &&
      find(library, "ca_proplist_sets", functions.proplistSets) &&
      find(library, "ca_proplist_destroy", functions.proplistDestroy))
    return functions;
  return std::nullopt;
}

}  // namespace

const CanberraLibrary* CanberraLibrary::load() {
  static const std::optional<CanberraLibrary> library = loadFunctions();
  return library ? &*library : nullptr;
}

}  // namespace platform_linux
