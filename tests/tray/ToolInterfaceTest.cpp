#include <utility>

#include <gmock/gmock.h>

#include "platform/linux/tray/ToolInterface.h"
#include "tests/support/MainLoop.h"
#include "tests/tray/TrayDesktop.h"

namespace {

using platform_linux::GVariantHandle;
using platform_linux::SessionBus;
using platform_linux::ToolInterface;
using ::testing::ElementsAre;

constexpr const char* kPath = "/com/verrano/quillo/CameraShot";
constexpr const char* kInterface = "com.verrano.quillo.Tool1";

class ToolInterfaceTest : public ::testing::Test {
 protected:
  std::string name() const { return g_dbus_connection_get_unique_name(bus.connection()); }
  int status() {
    const GVariantHandle value = desktop.property(name(), kPath, kInterface, "Status");
    return value ? g_variant_get_int32(value.get()) : -1;
  }

  TrayDesktop desktop;
  SessionBus bus{test_support::kPatience};
  int clicks = 0;
  bool waitsForItsFirstCall = false;
  int launches = 0;
  ToolInterface tool{bus,
                     "com.verrano.quillo.CameraShot",
                     {[this] { ++clicks; },
                      [this] {
                        if (waitsForItsFirstCall) ++launches;
                        return std::exchange(waitsForItsFirstCall, false);
                      }}};
};

TEST_F(ToolInterfaceTest, TellsTheSuiteTheToolsStatus) {
  desktop.listen("PropertiesChanged");
  EXPECT_EQ(status(), 0);
  tool.setStatus(1);
  EXPECT_EQ(status(), 1);
  tool.setStatus(1);
  tool.setStatus(0);
  ASSERT_TRUE(test_support::waitUntil([&] { return desktop.heard.size() >= 2; }));
  EXPECT_EQ(status(), 0);
  EXPECT_THAT(desktop.heard,
              ElementsAre("PropertiesChanged('com.verrano.quillo.Tool1', {'Status': <1>}, [])",
                          "PropertiesChanged('com.verrano.quillo.Tool1', {'Status': <0>}, [])"));
}

TEST_F(ToolInterfaceTest, AClickLaunchesAToolThatTheBusHasStartedForIt) {
  waitsForItsFirstCall = true;
  EXPECT_TRUE(desktop.call(name(), kPath, kInterface, "ClickMenuIcon"));
  EXPECT_EQ(launches, 1);
  EXPECT_EQ(clicks, 0);
}

TEST_F(ToolInterfaceTest, AClickOnAToolThatStartsOrLeavesIsRefused) {
  EXPECT_FALSE(desktop.call(name(), kPath, kInterface, "ClickMenuIcon"));
  EXPECT_EQ(launches, 0);
  EXPECT_EQ(clicks, 0);
}

TEST_F(ToolInterfaceTest, PassesOnClicksOnTheSuitesMenuIcon) {
  tool.setStatus(1);
  EXPECT_TRUE(desktop.call(name(), kPath, kInterface, "ClickMenuIcon"));
  EXPECT_TRUE(desktop.call(name(), kPath, kInterface, "ClickMenuIcon"));
  EXPECT_EQ(clicks, 2);
}

}  // namespace
