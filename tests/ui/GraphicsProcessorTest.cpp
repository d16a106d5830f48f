#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/linux/ui/GraphicsProcessor.h"

namespace {

using platform_linux::hasGraphicsProcessor;

/// A folder of devices.
class GraphicsProcessor : public testing::Test {
 public:
  ~GraphicsProcessor() override { std::filesystem::remove_all(folder_); }

 protected:
  void addDevice(const std::string& name) { std::ofstream(folder_ + "/" + name).put('x'); }

  std::string folder_ = [] {
    std::string name = (std::filesystem::temp_directory_path() / "camera-shot-dri-XXXXXX").string();
    return std::string(::mkdtemp(name.data()));
  }();
};

TEST_F(GraphicsProcessor, IsThereWithItsRenderDevice) {
  addDevice("card0");
  addDevice("renderD128");
  EXPECT_TRUE(hasGraphicsProcessor(folder_));
}

TEST_F(GraphicsProcessor, IsNotThereWithAScreenAlone) {
  addDevice("card0");
  EXPECT_FALSE(hasGraphicsProcessor(folder_));
}

TEST_F(GraphicsProcessor, IsNotThereWithoutAnyDevices) {
  EXPECT_FALSE(hasGraphicsProcessor(folder_ + "/nothing"));
}

}  // namespace
