#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/desktop/virtual-camera/DecodedFrame.h"
#include "tests/desktop/virtual-camera/FrameStore.h"
#include "tests/desktop/virtual-camera/JpegEncoder.h"

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

Bytes frame(FrameStore& store, Format format, std::uint64_t sequence, std::uint8_t light = kFullLight) {
  auto& frames = store.prepare(format.format, format.width, format.height);
  Bytes bytes(frames.layout().size);
  bytes.resize(frames.write(sequence, light, bytes));
  return bytes;
}

RgbPicture decode(const Bytes& bytes, Format format, const CameraSpec& spec = {}) {
  if (format.format == PixelFormat::kMjpg) return decodeJpeg(bytes).picture;
  return decodeRaw(bytes, frameLayout(format.format, format.width, format.height, spec.padding),
                   spec.colorimetry);
}

/// What a format shows of a colour.
Rgb shown(Rgb colour, PixelFormat format) {
  if (!isGrey(format)) return colour;
  const auto luma =
      static_cast<std::uint8_t>(0.299 * colour.red + 0.587 * colour.green + 0.114 * colour.blue + 0.5);
  return {luma, luma, luma};
}

/// The colour at a place given in parts of the width and the height.
Rgb colourAt(const RgbPicture& picture, double x, double y) {
  const auto* sample = picture.at(static_cast<std::uint32_t>(x * picture.width),
                                  static_cast<std::uint32_t>(y * picture.height));
  return {sample[0], sample[1], sample[2]};
}

/// Three steps cover the rounding of a trip to YUV and back, and of a JPEG without noise; eight that of five
/// bits.
MATCHER_P2(IsWithin, steps, expected, "") {
  *result_listener << int{arg.red} << "," << int{arg.green} << "," << int{arg.blue};
  return std::abs(arg.red - expected.red) <= steps && std::abs(arg.green - expected.green) <= steps &&
         std::abs(arg.blue - expected.blue) <= steps;
}
auto IsNearly(Rgb expected, PixelFormat format = PixelFormat::kMjpg) {
  return IsWithin(greenBits(format) > 0 ? 8 : 3, shown(expected, format));
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
  const auto format = GetParam().format;
  EXPECT_THAT(colourAt(picture, 0.05, 0.5), IsNearly(kLeftRed, format));
  EXPECT_THAT(colourAt(picture, 0.95, 0.5), IsNearly(kRightBlue, format));
  EXPECT_THAT(colourAt(picture, 0.5, 0.03), IsNearly(kTopGreen, format));
  EXPECT_THAT(colourAt(picture, 0.5, 0.97), IsNearly(kBottomYellow, format));
  // The foot of the F is left of the middle, so its mirror image is background.
  const double foot = 0.75 / 12 * GetParam().height / GetParam().width;
  EXPECT_THAT(colourAt(picture, 0.5 - foot, 0.55), IsNearly(kLetterWhite, format));
  EXPECT_THAT(colourAt(picture, 0.5 + foot, 0.55), testing::Not(IsNearly(kLetterWhite, format)));
  EXPECT_THAT(colourAt(picture, 0.3, 0.5), IsNearly(Rgb{200, 200, 200}, format));
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
  const auto picture = decode(frame(store, GetParam(), 0, kDark), GetParam());
  EXPECT_THAT(colourAt(picture, 0.05, 0.5),
              IsNearly(Rgb{kLeftRed.red / 6, kLeftRed.green / 6, kLeftRed.blue / 6}, GetParam().format));
}

TEST_P(EveryFormat, GivesTheSameBytesForTheSameFrame) {
  auto spec = parseCameraSpec("noise=12");
  auto other = parseCameraSpec("noise=12");
  FrameStore store(spec);
  FrameStore otherStore(other);
  EXPECT_EQ(frame(store, GetParam(), 2), frame(otherStore, GetParam(), 2));
  EXPECT_NE(frame(store, GetParam(), 2), frame(store, GetParam(), 3));
}

std::vector<Format> everyFormat() {
  std::vector<Format> formats{
      {PixelFormat::kMjpg, 640, 480}, {PixelFormat::kMjpg, 1280, 720}, {PixelFormat::kYuy2, 1280, 720}};
  for (const auto* name :
       {"YUY2",      "UYVY",      "YVYU",      "VYUY",      "NV12",      "NV21",      "NV16",  "NV61",
        "NV24",      "I420",      "YV12",      "Y42B",      "Y444",      "AYUV",      "v308",  "IYU2",
        "P010",      "I420_10LE", "I422_10LE", "GRAY8",     "GRAY16_LE", "GRAY16_BE", "RGB",   "BGR",
        "RGBx",      "BGRx",      "xRGB",      "Y444_10LE", "v210",      "UYVP",      "v216",  "I420_10BE",
        "I422_12LE", "xBGR",      "RGBA",      "BGRA",      "ARGB",      "ABGR",      "RGB16", "RGB15"}) {
    formats.push_back({*formatOfName(name), 320, 240});
    formats.push_back({*formatOfName(name), 323, 241});
  }
  return formats;
}

INSTANTIATE_TEST_SUITE_P(FrameStore, EveryFormat, testing::ValuesIn(everyFormat()));

TEST(FrameStore, KeepsToTheStatedColours) {
  const Format format{PixelFormat::kNv12, 640, 480};
  for (const auto* words :
       {"bt601-full", "bt709-limited", "bt709-full", "bt2020-limited", "smpte240m-limited"}) {
    auto spec = parseCameraSpec(std::string("colorimetry=") + words);
    FrameStore store(spec);
    const auto picture = decode(frame(store, format, 0), format, spec);
    EXPECT_THAT(colourAt(picture, 0.5, 0.03), IsNearly(kTopGreen)) << words;
    EXPECT_THAT(colourAt(picture, 0.05, 0.5), IsNearly(kLeftRed)) << words;
  }
}

TEST(FrameStore, PadsItsRows) {
  for (const auto* name :
       {"YUY2", "NV12", "I420", "NV24", "P010", "I422_10LE", "v308", "RGB", "GRAY8", "RGB16"}) {
    const Format format{*formatOfName(name), 323, 241};
    auto spec = parseCameraSpec("padding=26");
    FrameStore store(spec);
    const auto bytes = frame(store, format, 0);
    EXPECT_GT(bytes.size(), frameLayout(format.format, 323, 241).size);
    EXPECT_THAT(colourAt(decode(bytes, format, spec), 0.95, 0.5), IsNearly(kRightBlue, format.format))
        << name;
  }
}

TEST(FrameStore, TurnsItsPictures) {
  // Where the red block of the left edge is found after the flip and the turn counter-clockwise.
  const std::vector<std::pair<const char*, std::pair<double, double>>> places{
      {"none", {0.05, 0.5}},        {"90", {0.5, 0.95}},         {"180", {0.95, 0.5}},
      {"270", {0.5, 0.05}},         {"flipped", {0.95, 0.5}},    {"flipped-90", {0.5, 0.05}},
      {"flipped-180", {0.05, 0.5}}, {"flipped-270", {0.5, 0.95}}};
  for (const auto& [words, place] : places) {
    auto spec = parseCameraSpec(std::string("transform=") + words);
    FrameStore store(spec);
    const Format format{PixelFormat::kMjpg, 640, 480};
    EXPECT_THAT(colourAt(decode(frame(store, format, 0), format), place.first, place.second),
                IsNearly(kLeftRed))
        << words;
  }
}

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
  auto& frames = store.prepare(PixelFormat::kYuy2, 64, 32);
  Bytes room(100);
  EXPECT_EQ(frames.write(0, kFullLight, room), 100U);
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
  const auto one = encodeJpeg(drawTestPicture(64, 32, 0xff0000, 0), {});
  const auto two = encodeJpeg(drawTestPicture(64, 32, 0x0000ff, 0), {});
  auto spec = parseCameraSpec("picture=" + save("one.jpg", one) + ",picture=" + save("two.jpg", two));
  FrameStore store(spec);
  ASSERT_THAT(spec.modes, testing::ElementsAre(Mode{PixelFormat::kMjpg, 64, 32, {30}}));
  const Format format{PixelFormat::kMjpg, 64, 32};
  EXPECT_EQ(frame(store, format, 0), one);
  EXPECT_EQ(frame(store, format, 1), two);
  EXPECT_EQ(frame(store, format, 2), one);
}

TEST_F(Pictures, MayHaveAnySizeAndContent) {
  const Bytes one = encodeJpeg(drawTestPicture(64, 32, 0, 0), {});
  const Bytes text{'t', 'e', 'x', 't'};
  auto spec = parseCameraSpec("modes=MJPG:32x32@30,picture=" + save("one.jpg", one) +
                              ",picture=" + save("text.jpg", text));
  FrameStore store(spec);
  const Format format{PixelFormat::kMjpg, 32, 32};
  EXPECT_EQ(frame(store, format, 0), one);
  EXPECT_EQ(frame(store, format, 1), text);
}

TEST_F(Pictures, AreOfMjpgOnly) {
  const auto one = save("one.jpg", encodeJpeg(drawTestPicture(64, 32, 0, 0), {}));
  auto spec = parseCameraSpec("modes=YUY2:64x32@30,picture=" + one);
  EXPECT_THROW(FrameStore{spec}, std::runtime_error);
}

TEST_F(Pictures, MustTellTheirSizeWhereNoModeIsSaid) {
  auto text = parseCameraSpec("picture=" + save("text.jpg", {'t', 'e', 'x', 't'}));
  EXPECT_THROW(FrameStore{text}, std::runtime_error);
  auto missing = parseCameraSpec("picture=/nowhere/at-all.jpg");
  EXPECT_THROW(FrameStore{missing}, std::runtime_error);
}

}  // namespace
}  // namespace virtual_camera
