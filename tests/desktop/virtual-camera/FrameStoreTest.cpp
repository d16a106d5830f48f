#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/desktop/virtual-camera/DecodedFrame.h"
#include "tests/desktop/virtual-camera/FrameStore.h"

namespace virtual_camera {
namespace {

struct Format {
  PixelFormat format;
  std::uint32_t width;
  std::uint32_t height;
};

void PrintTo(const Format& format, std::ostream* out) {
  *out << formatName(format.format) << " " << format.width << "x" << format.height;
}

Bytes frame(FrameStore& store, Format format, std::uint64_t sequence, bool dark = false) {
  const auto& frames = store.prepare(format.format, format.width, format.height);
  Bytes bytes(frames.layout().size);
  bytes.resize(frames.write(sequence, dark, bytes));
  return bytes;
}

RgbPicture decode(const Bytes& bytes, Format format) {
  if (format.format == PixelFormat::kMjpg) return decodeJpeg(bytes);
  return decodeRaw(bytes, frameLayout(format.format, format.width, format.height));
}

/// The colour at a place given in parts of the width and the height.
Rgb colourAt(const RgbPicture& picture, double x, double y) {
  const auto* sample = picture.at(static_cast<std::uint32_t>(x * picture.width),
                                  static_cast<std::uint32_t>(y * picture.height));
  return {sample[0], sample[1], sample[2]};
}

/// Three steps cover the rounding of a trip to YUV and back, and of a JPEG without noise.
MATCHER_P(IsNearly, expected, "") {
  *result_listener << int{arg.red} << "," << int{arg.green} << "," << int{arg.blue};
  return std::abs(arg.red - expected.red) <= 3 && std::abs(arg.green - expected.green) <= 3 &&
         std::abs(arg.blue - expected.blue) <= 3;
}

unsigned readCounter(const RgbPicture& picture) {
  unsigned count = 0;
  for (unsigned bit = 0; bit < kCounterBits; ++bit) {
    const auto cell = counterCell(picture.width, picture.height, bit);
    const auto* sample = picture.at((cell.left + cell.right) / 2, (cell.top + cell.bottom) / 2);
    if (sample[1] > 128) count |= 1U << bit;
  }
  return count;
}

class EveryFormat : public testing::TestWithParam<Format> {};

TEST_P(EveryFormat, ShowsTheDocumentedPicture) {
  auto spec = parseCameraSpec("tint=ffffff");
  FrameStore store(spec);
  const auto picture = decode(frame(store, GetParam(), 0), GetParam());
  EXPECT_EQ(picture.width, GetParam().width);
  EXPECT_EQ(picture.height, GetParam().height);
  EXPECT_THAT(colourAt(picture, 0.05, 0.5), IsNearly(kLeftRed));
  EXPECT_THAT(colourAt(picture, 0.95, 0.5), IsNearly(kRightBlue));
  EXPECT_THAT(colourAt(picture, 0.5, 0.03), IsNearly(kTopGreen));
  EXPECT_THAT(colourAt(picture, 0.5, 0.97), IsNearly(kBottomYellow));
  // The foot of the F is left of the middle, so its mirror image is background.
  const double foot = 0.75 / 12 * GetParam().height / GetParam().width;
  EXPECT_THAT(colourAt(picture, 0.5 - foot, 0.55), IsNearly(kLetterWhite));
  EXPECT_THAT(colourAt(picture, 0.5 + foot, 0.55), testing::Not(IsNearly(kLetterWhite)));
  const auto grey = colourAt(picture, 0.3, 0.5);
  EXPECT_THAT(grey, IsNearly(Rgb{200, 200, 200}));
}

TEST_P(EveryFormat, CountsItsFrames) {
  auto spec = parseCameraSpec("name=counter");
  FrameStore store(spec);
  for (const unsigned count : {0U, 1U, 5U, 7U})
    EXPECT_EQ(readCounter(decode(frame(store, GetParam(), count), GetParam())), count);
}

TEST_P(EveryFormat, IsDarkDuringTheWarmUp) {
  auto spec = parseCameraSpec("warmup=3");
  FrameStore store(spec);
  const auto picture = decode(frame(store, GetParam(), 0, true), GetParam());
  EXPECT_THAT(colourAt(picture, 0.05, 0.5),
              IsNearly(Rgb{kLeftRed.red / 6, kLeftRed.green / 6, kLeftRed.blue / 6}));
}

TEST_P(EveryFormat, GivesTheSameBytesForTheSameFrame) {
  auto spec = parseCameraSpec("noise=12");
  auto other = parseCameraSpec("noise=12");
  FrameStore store(spec);
  FrameStore otherStore(other);
  EXPECT_EQ(frame(store, GetParam(), 2), frame(otherStore, GetParam(), 2));
  EXPECT_NE(frame(store, GetParam(), 2), frame(store, GetParam(), 3));
}

INSTANTIATE_TEST_SUITE_P(
    FrameStore, EveryFormat,
    testing::Values(Format{PixelFormat::kMjpg, 640, 480}, Format{PixelFormat::kMjpg, 1280, 720},
                    Format{PixelFormat::kYuy2, 640, 480}, Format{PixelFormat::kYuy2, 1280, 720},
                    Format{PixelFormat::kNv12, 640, 480}, Format{PixelFormat::kNv12, 1280, 720},
                    Format{PixelFormat::kRgb, 322, 240}, Format{PixelFormat::kBgrx, 640, 480}));

TEST(FrameStore, CountsRawFramesPastTheLastBitOfAByte) {
  auto spec = parseCameraSpec("name=counter");
  FrameStore store(spec);
  const Format format{PixelFormat::kYuy2, 640, 480};
  EXPECT_EQ(readCounter(decode(frame(store, format, 0xa5f1), format)), 0xa5f1U);
}

TEST(FrameStore, NoiseMakesJpegsAsLargeAsThoseOfRealCameras) {
  auto quiet = parseCameraSpec("noise=0");
  auto noisy = parseCameraSpec("noise=12");
  FrameStore quietStore(quiet);
  FrameStore noisyStore(noisy);
  const Format format{PixelFormat::kMjpg, 640, 480};
  EXPECT_GT(frame(noisyStore, format, 0).size(), 4 * frame(quietStore, format, 0).size());
}

TEST(FrameStore, CutsAFrameToTheRoomThereIs) {
  auto spec = parseCameraSpec("name=small");
  FrameStore store(spec);
  const auto& frames = store.prepare(PixelFormat::kYuy2, 64, 32);
  Bytes room(100);
  EXPECT_EQ(frames.write(0, false, room), 100U);
}

class Pictures : public testing::Test {
 public:
  Pictures() : folder_(std::filesystem::temp_directory_path() / ("frame-store-" + std::to_string(getpid()))) {
    std::filesystem::create_directory(folder_);
  }
  ~Pictures() override { std::filesystem::remove_all(folder_); }

 protected:
  std::string save(const std::string& name, const Bytes& bytes) const {
    const auto path = folder_ / name;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(Pictures, AreServedInTurnAsTheyAre) {
  const auto one = encodeJpeg(drawTestPicture(64, 32, 0xff0000, 0), 90);
  const auto two = encodeJpeg(drawTestPicture(64, 32, 0x0000ff, 0), 90);
  auto spec = parseCameraSpec("picture=" + save("one.jpg", one) + ",picture=" + save("two.jpg", two));
  FrameStore store(spec);
  ASSERT_THAT(spec.modes, testing::ElementsAre(Mode{PixelFormat::kMjpg, 64, 32, {30}}));
  const Format format{PixelFormat::kMjpg, 64, 32};
  EXPECT_EQ(frame(store, format, 0), one);
  EXPECT_EQ(frame(store, format, 1), two);
  EXPECT_EQ(frame(store, format, 2), one);
}

TEST_F(Pictures, MustHaveOneSize) {
  const auto one = save("one.jpg", encodeJpeg(drawTestPicture(64, 32, 0, 0), 90));
  const auto two = save("two.jpg", encodeJpeg(drawTestPicture(32, 32, 0, 0), 90));
  auto spec = parseCameraSpec("picture=" + one + ",picture=" + two);
  EXPECT_THROW(FrameStore{spec}, std::runtime_error);
}

TEST_F(Pictures, MustBeJpegs) {
  auto text = parseCameraSpec("picture=" + save("text.jpg", {'t', 'e', 'x', 't'}));
  EXPECT_THROW(FrameStore{text}, std::runtime_error);
  auto missing = parseCameraSpec("picture=/nowhere/at-all.jpg");
  EXPECT_THROW(FrameStore{missing}, std::runtime_error);
}

}  // namespace
}  // namespace virtual_camera
