// Feeds arbitrary bytes, as a file of settings, to their reader and writer: whatever is in it, a value that
// is written is there afterwards.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/linux/storage/UserDefaults.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class Silence final : public platform::NSLog {
 public:
  void log(const std::string&) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test_support::TemporaryFolder kFolder;
  static Silence silence;
  const std::string path = kFolder / "settings.ini";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  {
    platform_linux::UserDefaults settings(path, "Defaults", silence);
    (void)settings.objectForKey("ShowPreview");
    (void)settings.integerForKey("ShowPreview");
    (void)settings.stringForKey("VideoSourceID");
    settings.setObject("written", "Probe");
    if (!settings.synchronize()) std::abort();
  }
  if (platform_linux::UserDefaults(path, "Defaults", silence).stringForKey("Probe") != "written")
    std::abort();
  // What could not be understood has been set aside.
  if (kFolder.names().size() > 1)
    for (const auto& entry : std::filesystem::directory_iterator(kFolder.path()))
      std::filesystem::remove(entry.path());
  return 0;
}
