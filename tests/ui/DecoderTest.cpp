#include <cmath>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "picture/PreviewDecoder.h"
#include "tests/ui/support/TestFrames.h"

namespace {

using namespace platform_linux;  // NOLINT(google-build-using-namespace)
using namespace ui_test;         // NOLINT(google-build-using-namespace)

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
constexpr int kCoarseBlueTolerance = 12;  // 9 of the conversion, see ScaledRaw.cpp, and 2 of interpolating

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
  const auto frame = jpegFrame(1280, 720, redLeftBlueRight);
  for (const picture::PixelSize view : {picture::PixelSize{1280, 720}, picture::PixelSize{1279, 2000},
                                        picture::PixelSize{500, 500}, picture::PixelSize{90, 60}}) {
    picture::PixelBufferPool pool;
    const auto picture = picture::decodeForView(*frame, {.view = view}, pool);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size, picture::decodedSize(*frame, {.view = view}));
    EXPECT_THAT(pixelAt(*picture, 0.1, 0.5), Near(kRed, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.5), Near(kGrey, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.9, 0.5), Near(kBlue, kJpegTolerance));
  }
}

TEST(JpegPreview, IsMirroredAtEveryScale) {
  const auto frame = jpegFrame(1281, 721, redLeftBlueRight);
  for (const picture::PixelSize view : {picture::PixelSize{1281, 721}, picture::PixelSize{500, 500},
                                        picture::PixelSize{91, 61}, picture::PixelSize{1501, 901}}) {
    picture::PixelBufferPool pool;
    const auto picture =
        picture::decodeForView(*frame, {.view = view, .mirrored = true, .mayEnlarge = true}, pool);
    ASSERT_TRUE(picture);
    EXPECT_THAT(pixelAt(*picture, 0, 0.5), Near(kBlue, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.1, 0.99), Near(kBlue, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.5, 0.5), Near(kGrey, kJpegTolerance));
    EXPECT_THAT(pixelAt(*picture, 0.99, 0), Near(kRed, kJpegTolerance));
  }
}

TEST(JpegPreview, MirroredIsExactlyTheOtherWayRound) {
  const auto frame = jpegFrame(323, 243, landscape);
  picture::PixelBufferPool pool;
  const auto upright = picture::decodeForView(*frame, {.view = {323, 243}}, pool);
  const auto mirrored = picture::decodeForView(*frame, {.view = {323, 243}, .mirrored = true}, pool);
  ASSERT_TRUE(upright && mirrored);
  for (const double y : {0.0, 0.3, 0.999}) {
    for (int x = 0; x < 323; ++x)
      ASSERT_THAT(pixelAt(*mirrored, (322 - x + 0.5) / 323, y),
                  Near(pixelAt(*upright, (x + 0.5) / 323, y), 0))
          << x;
  }
}

TEST(JpegPreview, NeedsNoHuffmanTablesInTheFrame) {
  const auto whole = jpegFrame(320, 240, redLeftBlueRight);
  const auto stripped = withoutHuffmanTables(*whole);
  ASSERT_LT(stripped->bytes.size(), whole->bytes.size());
  picture::PixelBufferPool pool;
  const auto picture = picture::decodeForView(*stripped, {.view = {320, 240}}, pool);
  ASSERT_TRUE(picture);
  EXPECT_THAT(pixelAt(*picture, 0.1, 0.5), Near(kRed, kJpegTolerance));
}

TEST(JpegPreview, LeavesOutFramesThatEndEarly) {
  picture::PixelBufferPool pool;
  const auto frame = jpegFrame(320, 240, landscape);
  for (const std::size_t kept : {std::size_t{0}, std::size_t{1}, std::size_t{100}, frame->bytes.size() / 2}) {
    picture::Frame damaged = *frame;
    damaged.bytes.resize(kept);
    EXPECT_FALSE(picture::decodeForView(damaged, {.view = {320, 240}}, pool)) << kept << " bytes";
  }
}

TEST(JpegPreview, LeavesOutFramesOfAnotherSizeThanAnnounced) {
  picture::PixelBufferPool pool;
  picture::Frame other = *jpegFrame(320, 240, landscape);
  other.width = 640;
  other.height = 480;
  EXPECT_FALSE(picture::decodeForView(other, {.view = {640, 480}}, pool));
}

TEST(Preview, LeavesOutAbsurdSizes) {
  picture::PixelBufferPool pool;
  EXPECT_FALSE(picture::decodeForView(frameOf(picture::PixelFormat::MJPG, 0, 0), {.view = {640, 480}}, pool));
  EXPECT_FALSE(
      picture::decodeForView(frameOf(picture::PixelFormat::YUY2, -5, 10), {.view = {640, 480}}, pool));
  EXPECT_FALSE(
      picture::decodeForView(frameOf(picture::PixelFormat::MJPG, 40000, 40000), {.view = {640, 480}}, pool));
}

/// Luma and colour differences of a colour, by the matrix's own definition.
struct Yuv {
  Yuv(const Rgb& color, const picture::Frame& frame) {
    const double redPart = frame.matrix == picture::ColorMatrix::BT709 ? 0.2126 : 0.299;
    const double bluePart = frame.matrix == picture::ColorMatrix::BT709 ? 0.0722 : 0.114;
    const double luma = redPart * color.red + (1 - redPart - bluePart) * color.green + bluePart * color.blue;
    const bool full = frame.range == picture::ColorRange::Full;
    const double chroma = full ? 255.0 : 224.0;
    y = byte(full ? luma : 16 + luma * 219 / 255);
    u = byte(128 + (color.blue - luma) / (1 - bluePart) / 2 * chroma / 255);
    v = byte(128 + (color.red - luma) / (1 - redPart) / 2 * chroma / 255);
  }

  static std::uint8_t byte(double value) { return static_cast<std::uint8_t>(std::lround(value)); }

  std::uint8_t y = 0;
  std::uint8_t u = 0;
  std::uint8_t v = 0;
};

/// Left half red, right half blue, in the frame's format; the stride is wider than the picture.
void paintHalves(picture::Frame& frame) {
  constexpr int kPadding = 64;
  const bool packed =
      frame.format == picture::PixelFormat::YUY2 || frame.format == picture::PixelFormat::UYVY;
  const bool planar =
      frame.format == picture::PixelFormat::NV12 || frame.format == picture::PixelFormat::I420;
  const bool threeBytes =
      frame.format == picture::PixelFormat::RGB || frame.format == picture::PixelFormat::BGR;
  const int pixelBytes = planar ? 1 : packed ? 2 : threeBytes ? 3 : 4;
  frame.stride = frame.width * pixelBytes + kPadding;
  const auto stride = static_cast<std::size_t>(frame.stride);
  frame.bytes.assign(
      stride * static_cast<std::size_t>(planar ? frame.height + (frame.height + 1) / 2 : frame.height), 0);
  const std::size_t chromaStart = stride * static_cast<std::size_t>(frame.height);
  const std::size_t chromaRows = static_cast<std::size_t>(frame.height + 1) / 2;
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const Rgb color = x < frame.width / 2 ? kRed : kBlue;
      const Yuv yuv(color, frame);
      const auto red = static_cast<std::uint8_t>(color.red);
      const auto green = static_cast<std::uint8_t>(color.green);
      const auto blue = static_cast<std::uint8_t>(color.blue);
      const auto row = static_cast<std::size_t>(y);
      const auto column = static_cast<std::size_t>(x);
      std::uint8_t* const pixel =
          frame.bytes.data() + row * stride + column * static_cast<std::size_t>(pixelBytes);
      switch (frame.format) {
        case picture::PixelFormat::YUY2:
          pixel[0] = yuv.y;
          pixel[1] = x % 2 ? yuv.v : yuv.u;
          break;
        case picture::PixelFormat::UYVY:
          pixel[0] = x % 2 ? yuv.v : yuv.u;
          pixel[1] = yuv.y;
          break;
        case picture::PixelFormat::NV12:
          pixel[0] = yuv.y;
          frame.bytes[chromaStart + row / 2 * stride + column / 2 * 2] = yuv.u;
          frame.bytes[chromaStart + row / 2 * stride + column / 2 * 2 + 1] = yuv.v;
          break;
        case picture::PixelFormat::I420:
          pixel[0] = yuv.y;
          frame.bytes[chromaStart + row / 2 * (stride / 2) + column / 2] = yuv.u;
          frame.bytes[chromaStart + (chromaRows + row / 2) * (stride / 2) + column / 2] = yuv.v;
          break;
        case picture::PixelFormat::RGB:
        case picture::PixelFormat::RGBx:
          pixel[0] = red;
          pixel[1] = green;
          pixel[2] = blue;
          break;
        case picture::PixelFormat::BGR:
        case picture::PixelFormat::BGRx:
          pixel[0] = blue;
          pixel[1] = green;
          pixel[2] = red;
          break;
        case picture::PixelFormat::MJPG:
          break;
      }
    }
  }
}

struct RawCase {
  picture::PixelFormat format;
  picture::ColorMatrix matrix = picture::ColorMatrix::BT601;
  picture::ColorRange range = picture::ColorRange::Limited;
};

std::string nameOf(const testing::TestParamInfo<RawCase>& info) {
  static const char* const kFormats[] = {"MJPG", "YUY2", "UYVY", "NV12", "I420",
                                         "RGB",  "BGR",  "RGBx", "BGRx"};
  return std::string(kFormats[static_cast<int>(info.param.format)]) +
         (info.param.matrix == picture::ColorMatrix::BT709 ? "Bt709" : "Bt601") +
         (info.param.range == picture::ColorRange::Full ? "Full" : "Limited");
}

class RawPreview : public testing::TestWithParam<RawCase> {};

TEST_P(RawPreview, ShowsTheColorsAtEveryScale) {
  picture::Frame frame = frameOf(GetParam().format, 322, 242);
  frame.matrix = GetParam().matrix;
  frame.range = GetParam().range;
  paintHalves(frame);
  const bool coarseBlue =
      frame.matrix == picture::ColorMatrix::BT709 && frame.range == picture::ColorRange::Limited;
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
        EXPECT_THAT(pixelAt(*picture, mirrored ? 0.8 : 0.2, y), Near(kRed, kRawTolerance));
        EXPECT_THAT(pixelAt(*picture, mirrored ? 0.2 : 0.8, y),
                    Near(kBlue, coarseBlue ? kCoarseBlueTolerance : kRawTolerance));
      }
    }
  }
}

TEST_P(RawPreview, LeavesOutFramesWithTooFewBytes) {
  picture::Frame frame = frameOf(GetParam().format, 322, 242);
  paintHalves(frame);
  picture::PixelBufferPool pool;
  frame.bytes.resize(frame.bytes.size() - static_cast<std::size_t>(frame.stride));
  EXPECT_FALSE(picture::decodeForView(frame, {.view = {322, 242}}, pool));
  frame.bytes.clear();
  EXPECT_FALSE(picture::decodeForView(frame, {.view = {322, 242}}, pool));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, RawPreview,
    testing::Values(
        RawCase{picture::PixelFormat::YUY2}, RawCase{picture::PixelFormat::UYVY},
        RawCase{picture::PixelFormat::NV12}, RawCase{picture::PixelFormat::I420},
        RawCase{picture::PixelFormat::RGB}, RawCase{picture::PixelFormat::BGR},
        RawCase{picture::PixelFormat::RGBx}, RawCase{picture::PixelFormat::BGRx},
        RawCase{picture::PixelFormat::YUY2, picture::ColorMatrix::BT709},
        RawCase{picture::PixelFormat::NV12, picture::ColorMatrix::BT709},
        RawCase{picture::PixelFormat::YUY2, picture::ColorMatrix::BT601, picture::ColorRange::Full},
        RawCase{picture::PixelFormat::NV12, picture::ColorMatrix::BT709, picture::ColorRange::Full}),
    nameOf);

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
