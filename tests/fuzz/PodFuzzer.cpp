// Feeds arbitrary bytes, as one parameter of a camera's node, to everything that reads such parameters. The
// library hands over only parameters whose outermost size is right; so does this.

#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/linux/camera/pipewire/FormatPods.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < sizeof(spa_pod)) return 0;
  // Parameters lie at multiples of eight bytes; a copy of just this size shows every read beyond it.
  std::vector<std::uint64_t> words(size / sizeof(std::uint64_t));
  std::memcpy(words.data(), data, words.size() * sizeof(std::uint64_t));
  auto* const pod = reinterpret_cast<spa_pod*>(words.data());
  if (pod->size > words.size() * sizeof(std::uint64_t) - sizeof(spa_pod)) return 0;
  (void)platform_linux::modesOfFormatPod(pod);
  (void)platform_linux::formatName(pod);
  (void)platform_linux::agreedFormatOfPod(pod);
  return 0;
}
