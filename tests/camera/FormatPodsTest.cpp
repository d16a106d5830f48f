#include <array>
#include <cstdint>
#include <functional>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spa/param/video/format-utils.h>

#include "platform/linux/camera/pipewire/FormatPods.h"

namespace camera_test {
namespace {

using picture::ColorMatrix;
using picture::ColorRange;
using platform_linux::agreedFormatOfPod;
using platform_linux::CameraMode;
using platform_linux::formatName;
using platform_linux::FrameRate;
using platform_linux::modesOfFormatPod;
using enum picture::PixelFormat;
using testing::ElementsAre;
using testing::IsEmpty;

// Writes one format, property by property.
class FormatBuilder {
 public:
  FormatBuilder(std::uint32_t subtype, std::uint32_t type = SPA_MEDIA_TYPE_video) {
    spa_pod_builder_init(&builder_, memory_.data(), memory_.size());
    spa_pod_builder_push_object(&builder_, &object_, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    id(SPA_FORMAT_mediaType, type).id(SPA_FORMAT_mediaSubtype, subtype);
  }

  FormatBuilder& id(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_id(&builder_, value);
    return *this;
  }
  FormatBuilder& size(std::uint32_t width, std::uint32_t height) {
    spa_pod_builder_prop(&builder_, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(&builder_, width, height);
    return *this;
  }
  FormatBuilder& rate(std::uint32_t numerator, std::uint32_t denominator) {
    spa_pod_builder_prop(&builder_, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&builder_, numerator, denominator);
    return *this;
  }
  FormatBuilder& choice(std::uint32_t key, std::uint32_t kind,
                        const std::function<void(spa_pod_builder*)>& values) {
    spa_pod_frame frame{};
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
    values(&builder_);
    spa_pod_builder_pop(&builder_, &frame);
    return *this;
  }
  /// Preferably 640 x 480.
  FormatBuilder& sizesInSteps(spa_rectangle smallest, spa_rectangle largest, spa_rectangle step) {
    return choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Step, [&](auto* builder) {
      for (const auto& [width, height] : {spa_rectangle{640, 480}, smallest, largest, step})
        spa_pod_builder_rectangle(builder, width, height);
    });
  }
  FormatBuilder& mandatory(std::uint32_t key, std::int64_t value) {
    spa_pod_builder_prop(&builder_, key, SPA_POD_PROP_FLAG_MANDATORY);
    spa_pod_builder_long(&builder_, value);
    return *this;
  }
  const spa_pod* pod() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &object_)); }

 private:
  std::array<std::uint8_t, 1024> memory_{};
  spa_pod_builder builder_{};
  spa_pod_frame object_{};
};

TEST(ModesOfFormat, AreTheSizesAndRatesOfEnumerations) {
  FormatBuilder format(SPA_MEDIA_SUBTYPE_mjpg);
  format.size(640, 480).choice(SPA_FORMAT_VIDEO_framerate, SPA_CHOICE_Enum, [](auto* builder) {
    spa_pod_builder_fraction(builder, 30, 1);  // the preferred one, repeated below
    spa_pod_builder_fraction(builder, 30, 1);
    spa_pod_builder_fraction(builder, 15, 1);
  });
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{MJPG, 640, 480, {30, 1}}, CameraMode{MJPG, 640, 480, {15, 1}}));
}

TEST(ModesOfFormat, OfRangesAreThePreferredAndTheUpperEnd) {
  FormatBuilder format(SPA_MEDIA_SUBTYPE_mjpg);
  format.sizesInSteps({32, 24}, {2592, 1944}, {16, 16}).rate(30, 1);
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{MJPG, 640, 480, {30, 1}}, CameraMode{MJPG, 2592, 1944, {30, 1}}));
}

TEST(ModesOfFormat, OfStepsEndWhereTheStepsDo) {
  FormatBuilder format(SPA_MEDIA_SUBTYPE_mjpg);
  format.sizesInSteps({32, 33}, {1366, 768}, {16, 0}).rate(30, 1);
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{MJPG, 640, 480, {30, 1}}, CameraMode{MJPG, 1360, 768, {30, 1}}));
}

TEST(ModesOfFormat, OfStepsThatLeadBeyondTheEndIsTheEnd) {
  // As the daemon's own V4L2 source tells of a grabber from 48x38 to 720x576: the end in the place of the
  // step.
  FormatBuilder format(SPA_MEDIA_SUBTYPE_raw);
  format.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2)
      .choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Step, [](auto* builder) {
        for (const auto& [width, height] :
             {spa_rectangle{48, 38}, spa_rectangle{48, 38}, spa_rectangle{720, 576}, spa_rectangle{720, 576}})
          spa_pod_builder_rectangle(builder, width, height);
      });
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{YUY2, 48, 38, {}}, CameraMode{YUY2, 720, 576, {}}));
}

TEST(ModesOfFormat, OfADriverThatListsNoSizesAreTheUsualOnes) {
  // What the daemon's own V4L2 source makes of it.
  FormatBuilder format(SPA_MEDIA_SUBTYPE_raw);
  format.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2)
      .choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [](auto* builder) {
        for (const auto& [width, height] :
             {spa_rectangle{16, 16}, spa_rectangle{16, 16}, spa_rectangle{16384, 16384}})
          spa_pod_builder_rectangle(builder, width, height);
      });
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{YUY2, 1920, 1080, {}}, CameraMode{YUY2, 1280, 720, {}},
                          CameraMode{YUY2, 1024, 768, {}}, CameraMode{YUY2, 720, 576, {}},
                          CameraMode{YUY2, 720, 480, {}}, CameraMode{YUY2, 640, 480, {}},
                          CameraMode{YUY2, 320, 240, {}}, CameraMode{YUY2, 16, 16, {}}));
}

TEST(ModesOfFormat, OfJpegNeedNoSizeWhichEachFrameTells) {
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_mjpg).rate(30, 1).pod()),
              ElementsAre(CameraMode{MJPG, 0, 0, {30, 1}}));
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_mjpg).pod()),
              ElementsAre(CameraMode{MJPG, 0, 0, FrameRate{}}));
}

class UpperEnd : public testing::TestWithParam<std::uint32_t> {};

// The second is the driver's of loopbacks.
INSTANTIATE_TEST_SUITE_P(ModesOfFormat, UpperEnd, testing::Values(32767, 8192));

TEST_P(UpperEnd, ThatMeansAnythingIsNoMode) {
  FormatBuilder format(SPA_MEDIA_SUBTYPE_mjpg);
  format
      .choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range,
              [](auto* builder) {
                spa_pod_builder_rectangle(builder, 320, 240);
                spa_pod_builder_rectangle(builder, 1, 1);
                spa_pod_builder_rectangle(builder, GetParam(), GetParam());
              })
      .choice(SPA_FORMAT_VIDEO_framerate, SPA_CHOICE_Range, [](auto* builder) {
        spa_pod_builder_fraction(builder, 25, 1);
        spa_pod_builder_fraction(builder, 0, 1);
        spa_pod_builder_fraction(builder, 0x7fffffff, 1);
      });
  EXPECT_THAT(modesOfFormatPod(format.pod()), ElementsAre(CameraMode{MJPG, 320, 240, {25, 1}}));
}

TEST(ModesOfFormat, KnowTheRawFormatsAndLeaveOutOthers) {
  FormatBuilder format(SPA_MEDIA_SUBTYPE_raw);
  format
      .choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum,
              [](auto* builder) {
                spa_pod_builder_id(builder, SPA_VIDEO_FORMAT_A420);
                spa_pod_builder_id(builder, SPA_VIDEO_FORMAT_A420);
                spa_pod_builder_id(builder, SPA_VIDEO_FORMAT_NV12);
                spa_pod_builder_id(builder, SPA_VIDEO_FORMAT_BGRx);
              })
      .size(640, 480);
  EXPECT_THAT(modesOfFormatPod(format.pod()),
              ElementsAre(CameraMode{NV12, 640, 480, FrameRate{}}, CameraMode{BGRx, 640, 480, FrameRate{}}));
}

TEST(ModesOfFormat, AreNoneOfWhatCannotBeRead) {
  EXPECT_THAT(modesOfFormatPod(nullptr), IsEmpty());
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_h264).size(640, 480).rate(30, 1).pod()),
              IsEmpty());
  EXPECT_THAT(
      modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_raw, SPA_MEDIA_TYPE_audio).size(640, 480).pod()),
      IsEmpty());
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_raw)
                                   .id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_NV12)
                                   .rate(30, 1)
                                   .pod()),
              IsEmpty())
      << "raw pictures without a size";
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_mjpg).size(0, 480).pod()), IsEmpty());
  // A value of the wrong type.
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_mjpg).id(SPA_FORMAT_VIDEO_size, 3).pod()),
              IsEmpty());
  // Layouts that only a graphics processor knows.
  EXPECT_THAT(modesOfFormatPod(FormatBuilder(SPA_MEDIA_SUBTYPE_raw)
                                   .id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_NV12)
                                   .mandatory(SPA_FORMAT_VIDEO_modifier, 1)
                                   .size(640, 480)
                                   .pod()),
              IsEmpty());
}

TEST(FormatName, SaysWhatCannotBeRead) {
  EXPECT_EQ(formatName(FormatBuilder(SPA_MEDIA_SUBTYPE_h264).pod()), "H.264");
  EXPECT_EQ(formatName(FormatBuilder(SPA_MEDIA_SUBTYPE_raw)
                           .id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YVU9)
                           .size(640, 480)
                           .pod()),
            "YVU9");
  FormatBuilder several(SPA_MEDIA_SUBTYPE_raw);
  several.choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [](auto* builder) {
    for (const auto format : {SPA_VIDEO_FORMAT_YUV9, SPA_VIDEO_FORMAT_Y41B, SPA_VIDEO_FORMAT_YUV9})
      spa_pod_builder_id(builder, format);
  });
  EXPECT_EQ(formatName(several.pod()), "Y41B, YUV9");
  EXPECT_EQ(
      formatName(
          FormatBuilder(SPA_MEDIA_SUBTYPE_raw).id(SPA_FORMAT_VIDEO_format, 0x7fffffff).size(4, 2).pod()),
      "uncompressed pictures of an unknown layout");
  EXPECT_EQ(formatName(nullptr), "an unknown format");
}

TEST(FormatOfMode, SaysExactlyThatMode) {
  std::vector<CameraMode> modes{
      {YUY2, 640, 480, {30000, 1001}}, {NV12, 640, 480, FrameRate{}}, {MJPG, 0, 0, {30, 1}}};
  // The daemon has no numbers for these.
  const std::set kUnknown{NV42, YV16, YV24, VUYA, YUVA, RGB16_BE, BGR15, RGB12, GRAY10, GRAY12, GRAY14};
  for (const auto format : picture::kAllPixelFormats)
    if (!kUnknown.contains(format)) modes.push_back({format, 1280, 720, {30, 1}});
  for (const CameraMode& mode : modes) {
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    EXPECT_THAT(modesOfFormatPod(formatPodOfMode(mode, builder)), ElementsAre(mode));
  }
}

TEST(FrameFormat, IsOfBt601AtEverySizeWhenNoColoursAreStated) {
  for (const std::uint32_t lines : {240U, 576U, 577U, 1080U, 2160U}) {
    FormatBuilder format(SPA_MEDIA_SUBTYPE_raw);
    format.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2).size(1024, lines).rate(30, 1);
    const auto agreed = agreedFormatOfPod(format.pod());
    ASSERT_TRUE(agreed);
    EXPECT_EQ(agreed->matrix, picture::ColorMatrix::BT601) << lines;
    EXPECT_EQ(agreed->range, picture::ColorRange::Unstated) << lines;
  }
}

TEST(FrameFormat, TakesTheColoursThatAreStated) {
  constexpr std::array kMatrices = {
      std::pair{SPA_VIDEO_COLOR_MATRIX_BT601, picture::ColorMatrix::BT601},
      std::pair{SPA_VIDEO_COLOR_MATRIX_BT709, picture::ColorMatrix::BT709},
      std::pair{SPA_VIDEO_COLOR_MATRIX_BT2020, picture::ColorMatrix::BT2020},
      std::pair{SPA_VIDEO_COLOR_MATRIX_FCC, picture::ColorMatrix::FCC},
      std::pair{SPA_VIDEO_COLOR_MATRIX_SMPTE240M, picture::ColorMatrix::SMPTE240M}};
  constexpr std::array kRanges = {std::pair{SPA_VIDEO_COLOR_RANGE_0_255, picture::ColorRange::Full},
                                  std::pair{SPA_VIDEO_COLOR_RANGE_16_235, picture::ColorRange::Limited}};
  for (const auto& [statedMatrix, matrix] : kMatrices) {
    for (const auto& [statedRange, range] : kRanges) {
      FormatBuilder format(SPA_MEDIA_SUBTYPE_raw);
      format.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_NV12)
          .size(1920, 1080)
          .rate(30, 1)
          .id(SPA_FORMAT_VIDEO_colorRange, statedRange)
          .id(SPA_FORMAT_VIDEO_colorMatrix, statedMatrix);
      const auto agreed = agreedFormatOfPod(format.pod());
      ASSERT_TRUE(agreed);
      EXPECT_EQ(agreed->format, NV12);
      EXPECT_EQ(agreed->width, 1920U);
      EXPECT_EQ(agreed->height, 1080U);
      EXPECT_EQ(agreed->matrix, matrix);
      EXPECT_EQ(agreed->range, range);
    }
  }
}

TEST(FrameFormat, IsNoneOfWhatWasNotAskedFor) {
  EXPECT_FALSE(agreedFormatOfPod(FormatBuilder(SPA_MEDIA_SUBTYPE_h264).size(640, 480).pod()));
  FormatBuilder other(SPA_MEDIA_SUBTYPE_raw);
  other.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_A420).size(640, 480);
  EXPECT_FALSE(agreedFormatOfPod(other.pod()));
}

}  // namespace
}  // namespace camera_test
