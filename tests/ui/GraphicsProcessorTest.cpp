#include <fstream>

#include <gtest/gtest.h>

#include "platform/linux/ui/GraphicsProcessor.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform_linux::hasGraphicsProcessor;

/// A folder of devices.
class GraphicsProcessor : public testing::Test {
 public:
 protected:
  void addDevice(const std::string& name) { std::ofstream(folder_ / name).put('x'); }

  const test_support::TemporaryFolder folder_;
};

TEST_F(GraphicsProcessor, IsThereWithItsRenderDevice) {
  addDevice("card0");
  addDevice("renderD128");
  EXPECT_TRUE(hasGraphicsProcessor(folder_.path()));
}

TEST_F(GraphicsProcessor, IsNotThereWithAScreenAlone) {
  addDevice("card0");
  EXPECT_FALSE(hasGraphicsProcessor(folder_.path()));
}

TEST_F(GraphicsProcessor, IsNotThereWithoutAnyDevices) {
  EXPECT_FALSE(hasGraphicsProcessor(folder_ / "nothing"));
}

}  // namespace
