// Preloaded into a program (LD_PRELOAD), counts the pictures that it hands to a Wayland compositor: the
// buffers that it attaches to its surfaces, but for small ones (cursors, buttons). The file that
// PICTURE_COUNTER_FILE names is mapped and kept up to date.

#include <atomic>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <wayland-client-core.h>

#include "bench/preview/SharedCounters.h"

namespace {

// Requests of the core protocol, by their numbers.
constexpr std::uint32_t kAttach = 1;        // of wl_surface: buffer, x, y
constexpr std::uint32_t kDamage = 2;        // of wl_surface: x, y, width, height
constexpr std::uint32_t kDamageBuffer = 9;  // of wl_surface: the same in the buffer's pixels
constexpr std::uint32_t kCommit = 6;        // of wl_surface

// What is smaller is no picture.
constexpr std::int64_t kLeastPixels = 200 * 200;

/// As in the file, in the machine's byte order.
std::atomic<std::uint64_t>* shown = nullptr;

// Of the surface that is being told about; programs tell of one after the other.
bool hasBuffer = false;
std::int64_t damaged = 0;

__attribute__((constructor)) void mapFile() {
  shown = camera_shot_bench::mapSharedCounters<std::atomic<std::uint64_t>>("PICTURE_COUNTER_FILE");
}

void commit() {
  if (hasBuffer && damaged >= kLeastPixels && shown) ++*shown;
  hasBuffer = false;
  damaged = 0;
}

void look(std::uint32_t request, const wl_argument* arguments) {
  if (request == kAttach) hasBuffer = arguments[0].o != nullptr;
  if (request == kDamage || request == kDamageBuffer)
    damaged += std::int64_t{arguments[2].i} * arguments[3].i;
  if (request == kCommit) commit();
}

}  // namespace

// What all requests go through, of libwayland 1.20 on.
extern "C" wl_proxy* wl_proxy_marshal_array_flags(wl_proxy* proxy, std::uint32_t request,
                                                  const wl_interface* interface, std::uint32_t version,
                                                  std::uint32_t flags, wl_argument* arguments) {
  static const auto kNext = reinterpret_cast<decltype(&wl_proxy_marshal_array_flags)>(
      dlsym(RTLD_NEXT, "wl_proxy_marshal_array_flags"));
  if (std::strcmp(wl_proxy_get_class(proxy), "wl_surface") == 0) look(request, arguments);
  return kNext(proxy, request, interface, version, flags, arguments);
}
