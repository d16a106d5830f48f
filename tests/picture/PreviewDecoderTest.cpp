#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "picture/FrameOrientation.h"
#include "picture/PreviewDecoder.h"
#include "tests/picture/RawFrames.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

struct Rgb {
  int red = 0;
  int green = 0;
  int blue = 0;
};

constexpr Rgb kRed{210, 30, 30};
constexpr Rgb kBlue{30, 30, 210};
constexpr Rgb kGrey{128, 128, 128};

std::uint32_t wordOf(const Rgb& color) {
  return static_cast<std::uint32_t>(color.red << 16 | color.green << 8 | color.blue);
}

/// Red in the left quarter, blue in the right one, grey between.
Picture redLeftBlueRight(std::uint32_t width, std::uint32_t height) {
  return drawPicture(width, height, [width](std::uint32_t x, std::uint32_t) {
    return wordOf(4 * x < width ? kRed : 4 * x > 3 * width ? kBlue : kGrey);
  });
}

picture::Frame jpegFrame(const Picture& picture) {
  picture::Frame frame;
  frame.width = static_cast<int>(picture.width);
  frame.height = static_cast<int>(picture.height);
  frame.bytes = encodeJpeg(picture, {.lumaDown = 2});
  return frame;
}

/// Interpolating rounds down, by two levels at most.
constexpr int kOpaque = 253;

Rgb pixelAt(const picture::DecodedPicture& picture, double x, double y) {
  const auto column = static_cast<std::size_t>(x * picture.size.width);
  const auto line = static_cast<std::size_t>(y * picture.size.height);
  const std::size_t at = (line * static_cast<std::size_t>(picture.size.width) + column) * 4;
  EXPECT_GE((*picture.pixels)[at + 3], kOpaque) << "every pixel is opaque";
  return {(*picture.pixels)[at + 2], (*picture.pixels)[at + 1], (*picture.pixels)[at]};
}

MATCHER_P2(Near, color, tolerance, "") {
  *result_listener << "red " << arg.red << ", green " << arg.green << ", blue " << arg.blue;
  return std::abs(arg.red - color.red) <= tolerance && std::abs(arg.green - color.green) <= tolerance &&
         std::abs(arg.blue - color.blue) <= tolerance;
}

constexpr int kJpegTolerance = 6;
constexpr int kRawTolerance = 4;
constexpr int kCoarseBlueTolerance = 14;  // 12 of the conversion, see ScaledRaw.cpp, and 2 of interpolating

TEST(AspectFit, TakesTheWholeWidthOrTheWholeHeight) {
  EXPECT_EQ(picture::aspectFit({1920, 1080}, {960, 960}), (picture::PixelSize{960, 540}));
  EXPECT_EQ(picture::aspectFit({1920, 1080}, {4000, 540}), (picture::PixelSize{960, 540}));
  EXPECT_EQ(picture::aspectFit({640, 480}, {640, 480}), (picture::PixelSize{640, 480}));
}

TEST(AspectFit, IsEmptyWhereThereIsNothingToFit) {
  EXPECT_EQ(picture::aspectFit({0, 1080}, {960, 960}), picture::PixelSize{});
  EXPECT_EQ(picture::aspectFit({1920, 1080}, {960, 0}), picture::PixelSize{});
}

picture::Frame frameOf(picture::PixelFormat format, int width, int height) {
  picture::Frame frame;
  frame.format = format;
  frame.width = width;
  frame.height = height;
  return frame;
}

TEST(Preview, IsDecodedToTheSizeThatItTakesInTheView) {
  for (const picture::PixelFormat format : {picture::PixelFormat::MJPG, picture::PixelFormat::NV12}) {
    const picture::Frame camera = frameOf(format, 1920, 1080);
    EXPECT_EQ(picture::decodedSize(camera, {.view = {240, 135}}), (picture::PixelSize{240, 135}));
    EXPECT_EQ(picture::decodedSize(camera, {.view = {241, 200}}), (picture::PixelSize{241, 136}));
    EXPECT_EQ(picture::decodedSize(camera, {.view = {960, 2000}}), (picture::PixelSize{960, 540}));
    EXPECT_EQ(picture::decodedSize(camera, {.view = {3000, 1079}}), (picture::PixelSize{1919, 1079}));
    EXPECT_EQ(picture::decodedSize(camera, {.view = {1920, 1080}}), (picture::PixelSize{1920, 1080}));
  }
}

TEST(Preview, IsEnlargedOnlyWhereThatIsWanted) {
  const picture::Frame camera = frameOf(picture::PixelFormat::MJPG, 640, 480);
  EXPECT_EQ(picture::decodedSize(camera, {.view = {1920, 960}}), (picture::PixelSize{640, 480}));
  EXPECT_EQ(picture::decodedSize(camera, {.view = {1920, 960}, .mayEnlarge = true}),
            (picture::PixelSize{1280, 960}));
}

TEST(Preview, HasNoSizeWithoutAView) {
  EXPECT_EQ(picture::decodedSize(frameOf(picture::PixelFormat::MJPG, 640, 480), {}), picture::PixelSize{});
}

TEST(JpegPreview, ShowsThePicture) {
  const auto frame = jpegFrame(redLeftBlueRight(1280, 720));
  for (const picture::PixelSize view : {picture::PixelSize{1280, 720}, picture::PixelSize{1279, 2000},
                                        picture::PixelSize{500, 500}, picture::PixelSize{90, 60}}) {
    picture::PixelBufferPool pool;
    const auto picture = picture::decodeForView(frame, {.view = view}, pool);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size, picture::decodedSize(frame, {.view = view}));
    EXPECT_THAT(pixelAt(*picture, 0.1, 0.5), Near(kRed, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.5), Near(kGrey, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.9, 0.5), Near(kBlue, kJpegTolerance));
  }
}

TEST(JpegPreview, IsMirroredAtEveryScale) {
  const auto frame = jpegFrame(redLeftBlueRight(1281, 721));
  for (const picture::PixelSize view : {picture::PixelSize{1281, 721}, picture::PixelSize{500, 500},
                                        picture::PixelSize{91, 61}, picture::PixelSize{1501, 901}}) {
    picture::PixelBufferPool pool;
    const auto picture =
        picture::decodeForView(frame, {.view = view, .mirrored = true, .mayEnlarge = true}, pool);
    ASSERT_TRUE(picture);
    EXPECT_THAT(pixelAt(*picture, 0, 0.5), Near(kBlue, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.1, 0.99), Near(kBlue, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.5), Near(kGrey, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.99, 0), Near(kRed, kJpegTolerance));
  }
}

TEST(JpegPreview, MirroredIsExactlyTheOtherWayRound) {
  const auto frame = jpegFrame(photoPicture(323, 243, 1));
  picture::PixelBufferPool pool;
  const auto upright = picture::decodeForView(frame, {.view = {323, 243}}, pool);
  const auto mirrored = picture::decodeForView(frame, {.view = {323, 243}, .mirrored = true}, pool);
  ASSERT_TRUE(upright && mirrored);
  for (const double y : {0.0, 0.3, 0.999}) {
    for (int x = 0; x < 323; ++x)
      ASSERT_THAT(pixelAt(*mirrored, (322 - x + 0.5) / 323, y),
                  Near(pixelAt(*upright, (x + 0.5) / 323, y), 0))
          << x;
  }
}

TEST(JpegPreview, NeedsNoHuffmanTablesInTheFrame) {
  auto frame = jpegFrame(redLeftBlueRight(320, 240));
  frame.bytes = withoutHuffmanTables(frame.bytes);
  picture::PixelBufferPool pool;
  const auto picture = picture::decodeForView(frame, {.view = {320, 240}}, pool);
  ASSERT_TRUE(picture);
  EXPECT_THAT(pixelAt(*picture, 0.1, 0.5), Near(kRed, kJpegTolerance));
}

TEST(JpegPreview, LeavesOutFramesThatEndEarly) {
  picture::PixelBufferPool pool;
  const auto frame = jpegFrame(photoPicture(320, 240, 1));
  for (const std::size_t kept : {std::size_t{0}, std::size_t{1}, std::size_t{100}, frame.bytes.size() / 2}) {
    picture::Frame damaged = frame;
    damaged.bytes.resize(kept);
    EXPECT_FALSE(picture::decodeForView(damaged, {.view = {320, 240}}, pool)) << kept << " bytes";
  }
}

TEST(JpegPreview, OfAnotherSizeThanAnnouncedHasItsOwn) {
  picture::PixelBufferPool pool;
  picture::Frame other = jpegFrame(redLeftBlueRight(320, 200));
  other.width = 640;
  other.height = 480;
  const auto picture = picture::decodeForView(other, {.view = {160, 160}}, pool);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->size, (picture::PixelSize{160, 100}));
  EXPECT_THAT(pixelAt(*picture, 0.1, 0.5), Near(kRed, kJpegTolerance));
  EXPECT_THAT(pixelAt(*picture, 0.9, 0.5), Near(kBlue, kJpegTolerance));
}

TEST(JpegPreview, ShowsAFrameThatIsKnownToBeDamaged) {
  picture::PixelBufferPool pool;
  picture::Frame frame = jpegFrame(redLeftBlueRight(320, 240));
  frame.bytes.resize(frame.bytes.size() * 3 / 4);
  EXPECT_FALSE(picture::decodeForView(frame, {.view = {320, 240}}, pool));
  frame.isDamaged = true;
  const auto picture = picture::decodeForView(frame, {.view = {320, 240}}, pool);
  ASSERT_TRUE(picture);
  EXPECT_THAT(pixelAt(*picture, 0.1, 0.1), Near(kRed, kJpegTolerance));
}

Picture pixelsOf(const picture::DecodedPicture& decoded) {
  Picture picture{
      static_cast<std::uint32_t>(decoded.size.width), static_cast<std::uint32_t>(decoded.size.height), {}};
  for (std::size_t i = 0; i < decoded.pixels->size(); i += 4)
    picture.pixels.insert(picture.pixels.end(),
                          {(*decoded.pixels)[i + 2], (*decoded.pixels)[i + 1], (*decoded.pixels)[i]});
  return picture;
}

TEST(Preview, UndoesEveryTransformAndThenMirrors) {
  picture::Frame raw = noiseFrame(picture::PixelFormat::RGB, 47, 31, 2, 8);
  picture::Frame jpeg = jpegFrame(photoPicture(47, 31, 8));
  for (picture::Frame& frame : std::array{std::ref(raw), std::ref(jpeg)}) {
    picture::PixelBufferPool pool;
    const Picture stored = pixelsOf(*picture::decodeForView(frame, {.view = {47, 31}}, pool));
    for (int value = 0; value < 8; ++value) {
      frame.transform = static_cast<picture::Transform>(value);
      // Clockwise what was turned counterclockwise, then mirrored what was mirrored first.
      Picture upright = stored;
      for (int quarter = 0; quarter < value % 4; ++quarter)
        upright = turnedClockwise(upright);
      if (value >= 4) upright = camera_shot_test::mirrored(upright);
      EXPECT_EQ(picture::uprightSize(frame),
                value % 2 != 0 ? (picture::PixelSize{31, 47}) : (picture::PixelSize{47, 31}));
      const auto shown = picture::decodeForView(frame, {.view = {47, 47}}, pool);
      EXPECT_TRUE(pixelsOf(*shown) == upright) << value;
      const auto reversed = picture::decodeForView(frame, {.view = {47, 47}, .mirrored = true}, pool);
      EXPECT_TRUE(pixelsOf(*reversed) == camera_shot_test::mirrored(upright)) << value;
    }
  }
}

TEST(Preview, OfATurnedPictureIsScaledToTheView) {
  picture::Frame frame = jpegFrame(redLeftBlueRight(640, 480));
  frame.transform = picture::Transform::Rotated270;  // what is left was below
  picture::PixelBufferPool pool;
  for (const picture::PixelSize view :
       {picture::PixelSize{480, 640}, picture::PixelSize{100, 100}, picture::PixelSize{333, 333}}) {
    const auto picture = picture::decodeForView(frame, {.view = view}, pool);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size, picture::aspectFit({480, 640}, view));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.1), Near(kBlue, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.9), Near(kRed, kJpegTolerance));
  }
}

TEST(Preview, ShowsEveryKindOfStream) {
  const Picture scene = redLeftBlueRight(320, 240);
  for (const JpegOptions& options :
       {JpegOptions{.colors = JpegColors::Rgb}, {.arithmetic = true}, {.lumaAcross = 4}}) {
    picture::Frame frame;
    frame.bytes = withHeightBehindTheScan(encodeJpeg(scene, options));
    picture::PixelBufferPool pool;
    const auto shown = picture::decodeForView(frame, {.view = {160, 160}}, pool);
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->size, (picture::PixelSize{160, 120}));
    EXPECT_THAT(pixelAt(*shown, 0.1, 0.5), Near(kRed, kJpegTolerance));
    EXPECT_THAT(pixelAt(*shown, 0.9, 0.5), Near(kBlue, kJpegTolerance));
  }
}

TEST(Preview, ShowsInks) {
  for (const auto colors : {JpegColors::Cmyk, JpegColors::Ycck}) {
    picture::Frame frame;
    frame.bytes = encodeJpeg(redLeftBlueRight(320, 240), {.colors = colors});
    const Picture whole = referenceDecode(frame.bytes);
    picture::PixelBufferPool pool;
    const auto shown = picture::decodeForView(frame, {.view = {160, 160}}, pool);
    ASSERT_TRUE(shown);
    const auto pixel = [&](std::size_t x) {
      const std::uint8_t* at = whole.pixels.data() + 3 * (120 * std::size_t{320} + x);
      return Rgb{at[0], at[1], at[2]};
    };
    EXPECT_THAT(pixelAt(*shown, 0.1, 0.5), Near(pixel(32), kJpegTolerance));
    EXPECT_THAT(pixelAt(*shown, 0.9, 0.5), Near(pixel(288), kJpegTolerance));
  }
}

TEST(Preview, LeavesOutAbsurdSizes) {
  picture::PixelBufferPool pool;
  EXPECT_FALSE(picture::decodeForView(frameOf(picture::PixelFormat::MJPG, 0, 0), {.view = {640, 480}}, pool));
  EXPECT_FALSE(
      picture::decodeForView(frameOf(picture::PixelFormat::YUY2, -5, 10), {.view = {640, 480}}, pool));
  EXPECT_FALSE(
      picture::decodeForView(frameOf(picture::PixelFormat::MJPG, 40000, 40000), {.view = {640, 480}}, pool));
}

/// Left half red, right half blue, in the frame's format; the stride is wider than the picture.
picture::Frame halvesFrame(picture::PixelFormat format, picture::ColorMatrix matrix,
                           picture::ColorRange range) {
  picture::Frame frame = noiseFrame(format, 322, 242, 64, 1);
  frame.matrix = matrix;
  frame.range = range;
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const Rgb& color = x < frame.width / 2 ? kRed : kBlue;
      paintPixel(frame, x, y, {1.0 * color.red, 1.0 * color.green, 1.0 * color.blue});
    }
  }
  return frame;
}

/// What the frame says itself that it shows there; of few levels or none of colour that is not what was
/// painted.
Rgb shownAt(const picture::Frame& frame, double x, double y) {
  const auto exact = exactRgb(frame, static_cast<int>(x * frame.width), static_cast<int>(y * frame.height));
  return {static_cast<int>(std::lround(exact[0])), static_cast<int>(std::lround(exact[1])),
          static_cast<int>(std::lround(exact[2]))};
}

struct RawCase {
  picture::PixelFormat format;
  picture::ColorMatrix matrix = picture::ColorMatrix::BT601;
  picture::ColorRange range = picture::ColorRange::Unstated;
};

std::vector<RawCase> rawCases() {
  std::vector<RawCase> cases;
  for (const auto format : rawFormats()) {
    for (const auto range : {picture::ColorRange::Limited, picture::ColorRange::Full})
      for (const auto matrix :
           {picture::ColorMatrix::BT601, picture::ColorMatrix::BT709, picture::ColorMatrix::BT2020,
            picture::ColorMatrix::FCC, picture::ColorMatrix::SMPTE240M})
        if (isYuv(format) || matrix == picture::ColorMatrix::BT601) cases.push_back({format, matrix, range});
    cases.push_back({format});
  }
  return cases;
}

std::string nameOfCase(const testing::TestParamInfo<RawCase>& info) {
  constexpr std::array kMatrices = {"Bt601", "Bt709", "Bt2020", "Fcc", "Smpte240m"};
  constexpr std::array kRanges = {"", "Limited", "Full"};
  return std::string(nameOf(info.param.format)) + kMatrices[static_cast<std::size_t>(info.param.matrix)] +
         kRanges[static_cast<std::size_t>(info.param.range)];
}

class RawPreview : public testing::TestWithParam<RawCase> {};

TEST_P(RawPreview, ShowsTheColorsAtEveryScale) {
  const auto [format, matrix, range] = GetParam();
  const picture::Frame frame = halvesFrame(format, matrix, range);
  const Rgb left = shownAt(frame, 0.2, 0.5);
  const Rgb right = shownAt(frame, 0.8, 0.5);
  if (isYuv(format)) {
    EXPECT_THAT(left, Near(kRed, kRawTolerance));
    EXPECT_THAT(right, Near(kBlue, kRawTolerance));
  }
  for (const picture::PixelSize view :
       {picture::PixelSize{322, 242}, picture::PixelSize{600, 601}, picture::PixelSize{200, 300},
        picture::PixelSize{150, 150}, picture::PixelSize{33, 25}}) {
    picture::PixelBufferPool pool;
    for (const bool mirrored : {false, true}) {
      const picture::PictureRequest request{.view = view, .mirrored = mirrored, .mayEnlarge = true};
      const auto picture = picture::decodeForView(frame, request, pool);
      ASSERT_TRUE(picture);
      EXPECT_EQ(picture->size, picture::decodedSize(frame, request));
      for (const double y : {0.02, 0.5, 0.98}) {
        EXPECT_THAT(pixelAt(*picture, mirrored ? 0.8 : 0.2, y), Near(left, kRawTolerance));
        EXPECT_THAT(pixelAt(*picture, mirrored ? 0.2 : 0.8, y), Near(right, kCoarseBlueTolerance));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, RawPreview, testing::ValuesIn(rawCases()), nameOfCase);

// Where the samples of each format are, whatever the colours they stand for.
class RawPreviewPlanes : public testing::TestWithParam<picture::PixelFormat> {};

TEST_P(RawPreviewPlanes, LeavesOutFramesWithTooFewBytes) {
  picture::Frame frame = noiseFrame(GetParam(), 322, 242, 0, 2);
  picture::PixelBufferPool pool;
  EXPECT_TRUE(picture::decodeForView(frame, {.view = {322, 242}}, pool));
  frame.bytes.pop_back();
  EXPECT_FALSE(picture::decodeForView(frame, {.view = {322, 242}}, pool));
  frame.bytes.clear();
  EXPECT_FALSE(picture::decodeForView(frame, {.view = {322, 242}}, pool));
}

TEST_P(RawPreviewPlanes, ReadsTheSamePlanesAsThePhoto) {
  // Full size, every place: noise in luma shows a row or column that is out of place; colour is flat, as a
  // preview takes the nearest sample of it.
  for (const auto& [width, height, padding] : {std::tuple{4, 3, 3}, {17, 9, 1}, {33, 21, 0}, {40, 5, 13}}) {
    picture::Frame frame = noiseFrame(GetParam(), width, height, padding, 3);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const double grey = 20 + (x * 37 + y * 59) % 200;
        paintPixel(frame, x, y, {grey, grey, grey});
      }
    }
    picture::PixelBufferPool pool;
    const auto shown = picture::decodeForView(frame, {.view = {width, height}}, pool);
    ASSERT_TRUE(shown);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        ASSERT_THAT(pixelAt(*shown, (x + 0.5) / width, (y + 0.5) / height),
                    Near(shownAt(frame, (x + 0.5) / width, (y + 0.5) / height), kRawTolerance))
            << x << "," << y;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, RawPreviewPlanes, testing::ValuesIn(rawFormats()),
                         [](const auto& format) { return std::string(nameOf(format.param)); });

TEST(PixelBuffers, AreUsedAgain) {
  picture::PixelBufferPool pool;
  auto buffer = pool.take(1000);
  const auto* const memory = buffer->data();
  pool.giveBack(std::move(buffer));
  EXPECT_EQ(pool.take(1000)->data(), memory);
}

TEST(PixelBuffers, OfAnotherSizeAreFreed) {
  picture::PixelBufferPool pool;
  pool.giveBack(pool.take(1000));
  EXPECT_EQ(pool.take(2000)->size(), 2000U);
  EXPECT_EQ(pool.take(1000)->size(), 1000U);
}

}  // namespace
}  // namespace camera_shot_test
