// Feeds arbitrary bytes, as a compiled catalog of texts, to its reader.

#include <cstdint>
#include <string>

#include "platform/linux/application/MessageCatalog.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto catalog = platform_linux::MessageCatalog::parse({data, data + size});
  if (!catalog) return 0;
  for (const char* const key : {"", "Open", "Camera shot", "at night\x04Shine"})
    (void)catalog->translation(key);
  return 0;
}
