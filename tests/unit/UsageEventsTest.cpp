#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;

TEST(UsageEvents, OfAClickLaunchAreLaunchAndQuit) {
  ToolFixture tool;
  tool.launchByClickOn("/home/ada/Pictures/Camera shot.png");
  tool.loop.advance(10s);
  EXPECT_THAT(
      tool.journal.of("event"),
      ElementsAre(usageEvent("Launch", true, "{\"ClickOnNotification\":true}"), usageEvent("Quit", true)));
}

TEST(UsageEvents, OfASecondInstanceAreLaunchAndQuit) {
  ToolFixture tool{{.showPreview = false, .instances = 2}};
  tool.launch();
  tool.loop.advance(10s);
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", false, "{\"AnotherInstanceRunning\":true}"),
                          usageEvent("Quit", false)));
}

TEST(UsageEvents, OfAPreferencesRunAreLaunchAndQuit) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.closeWindow(kPreferencesWindow);
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", true, "{\"Preferences\":true}"), usageEvent("Quit", true)));
}

TEST(UsageEvents, OfASilentRunThatSucceedsAllCarryThePreviewSettingAsOff) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.savePhoto();
  tool.loop.advance(1s);
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", false, "{\"Silent\":true}"), usageEvent("Start", false),
                          usageEvent("Stop", false), usageEvent("Quit", false)));
}

TEST(UsageEvents, OfAPreviewRunWithTwoShotsAllCarryThePreviewSettingAsOn) {
  ToolFixture tool;
  tool.launch();
  for (int shot = 0; shot < 2; ++shot) {
    tool.pressShoot();
    tool.savePhoto();
  }
  tool.closeWindow(kPreviewWindow);
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", true), usageEvent("Start", true), usageEvent("Stop", true),
                          usageEvent("Start", true), usageEvent("Stop", true), usageEvent("Quit", true)));
}

TEST(UsageEvents, OfAFailedShotAreOnlyItsStart) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.failShot();
  EXPECT_THAT(tool.journal.of("event"), ElementsAre(usageEvent("Launch", true), usageEvent("Start", true)));
}

TEST(UsageEvents, CarryThePreviewSettingOfTheMoment) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.switchPreview(false);
  tool.pressDone();
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", true, "{\"Preferences\":true}"), usageEvent("Quit", false)));
}

TEST(Analytics, HaveOneEventPerShotRightAfterItsStart) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.savePhoto();
  tool.pressShoot();
  tool.failShot();
  EXPECT_THAT(tool.journal.of("analytics"), ElementsAre(kShotAnalytics, kShotAnalytics));
  const auto& lines = tool.journal.lines();
  const auto start = std::find(lines.begin(), lines.end(), usageEvent("Start", true));
  EXPECT_EQ(*std::next(start), kShotAnalytics);
}

}  // namespace
}  // namespace camera_shot
