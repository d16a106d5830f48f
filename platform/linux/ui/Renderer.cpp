#include "platform/linux/ui/Renderer.h"

#include <algorithm>
#include <filesystem>
#include <malloc.h>

namespace platform_linux {
namespace {

// Pictures that GTK draws by itself are allocated and freed each time: by default each goes back to the
// system and is cleared anew. A 4K picture is 32 MB, the largest that malloc can be told to keep.
constexpr int kKeptBytes = 32 * 1024 * 1024;

}  // namespace

bool hasGraphicsProcessor(const std::string& folder) {
  std::error_code error;
  const std::filesystem::directory_iterator devices(folder, error);
  return !error && std::any_of(begin(devices), end(devices), [](const auto& device) {
    return device.path().filename().string().starts_with("renderD");
  });
}

void chooseRenderer(GdkDisplay* display) {
  if (hasGraphicsProcessor()) return;
  // What GTK asks for after the environment; there is no function for it.
  static char name[] = "cairo";
  g_object_set_data(G_OBJECT(display), "gsk-renderer", name);
  mallopt(M_MMAP_THRESHOLD, kKeptBytes);
  mallopt(M_TRIM_THRESHOLD, kKeptBytes);
}

}  // namespace platform_linux
