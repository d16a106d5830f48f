#include <array>
#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/FormatPods.h"
#include "platform/linux/camera/pipewire/StatedFormats.h"

namespace camera_test {
namespace {

using platform_linux::CameraMode;
using platform_linux::StatedFormats;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr CameraMode kSmall{picture::PixelFormat::MJPG, 320, 240, {30, 1}};
constexpr CameraMode kLarge{picture::PixelFormat::YUY2, 640, 480, {30, 1}};

std::array<spa_param_info, 2> parameters(std::uint32_t flags) {
  std::array<spa_param_info, 2> both{};
  both[0].id = SPA_PARAM_Format;
  both[0].flags = SPA_PARAM_INFO_READWRITE;
  both[1].id = SPA_PARAM_EnumFormat;
  both[1].flags = flags;
  return both;
}

void answer(StatedFormats& formats, const CameraMode& mode) {
  std::array<std::uint8_t, 1024> memory{};
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, memory.data(), memory.size());
  formats.add(platform_linux::formatPodOfMode(mode, builder));
}

TEST(StatedFormats, CountOnceTheyAreWhole) {
  StatedFormats formats;
  EXPECT_TRUE(formats.mustBeAskedFor(parameters(SPA_PARAM_INFO_READ)));
  answer(formats, kSmall);
  EXPECT_THAT(formats.modes(), IsEmpty());
  formats.finish();
  EXPECT_THAT(formats.modes(), ElementsAre(kSmall));
}

TEST(StatedFormats, AreAskedForAgainOnlyWhenTheyHaveChanged) {
  StatedFormats formats;
  EXPECT_TRUE(formats.mustBeAskedFor(parameters(SPA_PARAM_INFO_READ)));
  answer(formats, kSmall);
  formats.finish();
  EXPECT_FALSE(formats.mustBeAskedFor(parameters(SPA_PARAM_INFO_READ)));
  formats.finish();
  EXPECT_THAT(formats.modes(), ElementsAre(kSmall));
  EXPECT_TRUE(formats.mustBeAskedFor(parameters(SPA_PARAM_INFO_READ | SPA_PARAM_INFO_SERIAL)));
  answer(formats, kLarge);
  formats.finish();
  EXPECT_THAT(formats.modes(), ElementsAre(kLarge));
}

TEST(StatedFormats, AreNoneOfANodeThatStatesThemNoMore) {
  StatedFormats formats;
  EXPECT_FALSE(formats.mustBeAskedFor({}));
  formats.finish();
  EXPECT_THAT(formats.modes(), IsEmpty());
  EXPECT_TRUE(formats.mustBeAskedFor(parameters(SPA_PARAM_INFO_READ)));
  answer(formats, kSmall);
  formats.finish();
  EXPECT_FALSE(formats.mustBeAskedFor(parameters(0)));
  formats.finish();
  EXPECT_THAT(formats.modes(), IsEmpty());
}

}  // namespace
}  // namespace camera_test
