#include <cerrno>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/PhotoTakerFixture.h"

namespace camera_shot {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(CaptureThread, IsHeldUntilTheMainThreadHasHandledTheFailure) {
  PhotoTakerFixture desk;
  desk.avFoundation.nextConnections.emplace();
  desk.taker().take();
  std::jthread camera([&desk] {
    desk.output().fail(EIO);
    desk.journal.add("capture thread goes on");
  });
  EXPECT_TRUE(desk.loop.runWhenWorkArrives());
  camera.join();
  EXPECT_TRUE(desk.journal.inOrder({"onError", "capture thread goes on"}));
}

TEST(CaptureThread, IsReleasedWhenTheToolEndsInstead) {
  PhotoTakerFixture desk;
  desk.avFoundation.nextConnections.emplace();
  desk.taker().take();
  std::jthread camera([&desk] { desk.output().fail(EIO); });
  desk.loop.end();
  camera.join();
  desk.loop.advance(10s);
  EXPECT_THAT(desk.journal.of("onError"), IsEmpty());
}

TEST(CaptureThread, DoesNotWaitForTheMainThreadAfterASave) {
  PhotoTakerFixture desk;
  desk.taker().take();
  std::jthread camera([&desk] { desk.output().deliver(desk.photo()); });
  camera.join();
  EXPECT_THAT(desk.journal.of("onSuccess"), IsEmpty());
  desk.loop.run();
  EXPECT_EQ(desk.journal.of("onSuccess").size(), 1U);
}

TEST(CaptureThread, SavesAndFailsWhileTheMainThreadAsksForMore) {
  constexpr std::size_t kShots = 200;
  PhotoTakerFixture desk;
  for (std::size_t shot = 0; shot < 2 * kShots; ++shot)
    desk.taker().take();
  std::jthread camera([&desk] {
    for (std::size_t shot = 0; shot < kShots; ++shot) {
      desk.output().deliver(desk.photo());
      desk.output().fail(EIO);
    }
    desk.loop.end();
  });
  // Mirroring is switched on here and off there all the time.
  for (std::size_t further = 0; further < kShots; ++further) {
    desk.taker().take();
    desk.loop.run();
  }
  while (desk.loop.runWhenWorkArrives()) {
  }
  camera.join();
  EXPECT_THAT(desk.journal.of("write"), SizeIs(kShots));
  EXPECT_EQ(desk.journal.of("output capture").size(),
            2 * kShots + static_cast<std::size_t>(desk.output().pending()));
}

}  // namespace
}  // namespace camera_shot
