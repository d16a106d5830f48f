#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(SilentRun, TellsItsStoryInOrder) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.deliverPhoto();
  tool.loop.advance(1s);

  EXPECT_TRUE(tool.journal.inOrder({
      "application setActivationPolicy 2",
      "notifications requestAuthorization 6",
      "notifications setDelegate",
      "event \"event\":\"Launch\",\"prefs\":{\"ShowPreview\":false},\"details\":{\"Silent\":true}}",
      "session startRunning",
      "event \"event\":\"Start\",\"prefs\":{\"ShowPreview\":false},\"details\":null}",
      "analytics \"data\":47,\"toolStartType\":0}",
      "output capture AVVideoCodecKey=jpeg",
      "write photo.png to /home/ada/Pictures/Camera shot 2026-11-21 12.00.01.png atomically",
      "event \"event\":\"Stop\",\"prefs\":{\"ShowPreview\":false},\"details\":null}",
      "notify Photo_Taken_Notification: Camera shot taken.\\nClick here to show in Finder.",
      "session stopRunning",
      "application terminate",
      "event \"event\":\"Quit\",\"prefs\":{\"ShowPreview\":false},\"details\":null}",
  }));
  EXPECT_EQ(tool.journal.of("event").size(), 4U);
  EXPECT_TRUE(tool.application.ended);
}

TEST(SilentRun, ShootsOneSecondAfterTheCameraWasStartedAndNotBefore) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(999ms);
  EXPECT_EQ(tool.avFoundation.output().pending(), 0);
  tool.loop.advance(1ms);
  EXPECT_EQ(tool.avFoundation.output().pending(), 1);
}

/// It looks for a camera once more in the second that it stays: the second notification takes the first one's
/// place.
TEST(SilentRun, WithoutACameraSaysSoAtOnceAndOnceMoreBeforeItEnds) {
  ToolFixture tool{{.showPreview = false, .cameras = {}}};
  const std::string error = "notify Photo_Taken_Notification_Error: Camera not found.";
  tool.launch();
  EXPECT_THAT(tool.journal.of("notify"), ElementsAre(error));
  tool.loop.advance(999ms);
  EXPECT_THAT(tool.journal.of("notify"), ElementsAre(error));
  tool.loop.advance(10s);
  EXPECT_THAT(tool.journal.of("notify"), ElementsAre(error, error));
  EXPECT_TRUE(tool.application.ended);
}

TEST(SilentRun, OpensNoWindow) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.deliverPhoto();
  tool.loop.advance(1s);
  EXPECT_THAT(tool.journal.of("load"), ElementsAre());
  EXPECT_FALSE(tool.journal.has("application setActivationPolicy 0"));
}

}  // namespace
}  // namespace camera_shot
