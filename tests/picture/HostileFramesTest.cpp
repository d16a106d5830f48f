#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "picture/ExifBlock.h"
#include "picture/FrameHealth.h"
#include "picture/FrameOrientation.h"
#include "picture/JpegMarkers.h"
#include "picture/PhotoRows.h"
#include "picture/PreviewDecoder.h"
#include "tests/picture/RawFrames.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

using picture::Frame;
using picture::FrameCondition;

// The same inputs in every run; the fuzzer beside this goes further.
class Mutation {
 public:
  explicit Mutation(std::uint32_t seed) : random_(seed) {}

  std::uint32_t below(std::uint32_t bound) { return random_() % bound; }

  void changeBytes(Bytes& bytes) {
    for (std::uint32_t i = below(5); i > 0 && !bytes.empty(); --i) {
      const std::uint32_t reach = below(2) == 0 ? 700 : static_cast<std::uint32_t>(bytes.size());
      bytes[below(std::min(reach, static_cast<std::uint32_t>(bytes.size())))] =
          static_cast<std::uint8_t>(random_());
    }
    if (below(3) == 0) bytes.resize(below(static_cast<std::uint32_t>(bytes.size()) + 10));
  }

  /// A size or stride, most of them plausible.
  int number(int plausible) {
    constexpr std::array kOddOnes = {-1, 0, 1, 32767, 32768, 65535, 0x7FFFFFFF, -0x7FFFFFFF - 1};
    return below(4) == 0 ? kOddOnes[below(kOddOnes.size())] : plausible + static_cast<int>(below(5)) - 2;
  }

  void changeFields(Frame& frame) {
    if (below(3) == 0) frame.width = number(frame.width);
    if (below(3) == 0) frame.height = number(frame.height);
    if (below(3) == 0) frame.stride = number(frame.stride);
    if (below(4) == 0) frame.format = picture::kAllPixelFormats[below(picture::kAllPixelFormats.size())];
    frame.transform = static_cast<picture::Transform>(below(8));
    frame.matrix = static_cast<picture::ColorMatrix>(below(5));
    frame.range = static_cast<picture::ColorRange>(below(3));
    frame.isDamaged = below(2) == 0;
  }

 private:
  std::mt19937 random_;
};

// Pictures beyond this only take time.
constexpr std::uint64_t kPixelsWorthReading = 1U << 18;

bool isSmall(picture::PixelSize size) {
  return std::uint64_t(size.width) * std::uint64_t(size.height) <= kPixelsWorthReading;
}

/// Whether the whole photo came; it either does or there is a reason.
bool isReadAsPhoto(const Frame& frame, bool isMirrored) {
  std::string failure;
  const auto rows = picture::openPhotoRows(frame, isMirrored, failure);
  EXPECT_EQ(rows == nullptr, !failure.empty());
  if (!rows) return false;
  const auto size = picture::uprightSize(frame);
  EXPECT_EQ(rows->width(), static_cast<std::uint32_t>(size.width));
  EXPECT_EQ(rows->height(), static_cast<std::uint32_t>(size.height));
  const Picture picture = readAll(*rows);
  EXPECT_EQ(picture.pixels.empty(), !rows->failure().empty()) << rows->failure();
  return !picture.pixels.empty();
}

void expectSoundAnswers(const Frame& frame, Mutation& mutation) {
  const auto stored = picture::storedSize(frame);
  if (picture::isAcceptablePictureSize(stored) && !isSmall(stored)) return;
  const auto health = picture::examineFrame(frame);
  const bool isMirrored = mutation.below(2) == 0;
  const bool isPhoto = isReadAsPhoto(frame, isMirrored);
  const bool isExpected =
      frame.isDamaged ? health.condition != FrameCondition::NotAPicture : health.isWhole();
  ASSERT_EQ(isPhoto, isExpected);
  picture::PixelBufferPool pool;
  const picture::PictureRequest request{
      .view = {1 + static_cast<int>(mutation.below(300)), 1 + static_cast<int>(mutation.below(300))},
      .mirrored = isMirrored,
      .mayEnlarge = mutation.below(2) == 0};
  const auto shown = picture::decodeForView(frame, request, pool);
  ASSERT_EQ(shown.has_value(), isPhoto);
  ASSERT_TRUE(!shown || shown->size == picture::decodedSize(frame, request));
}

TEST(HostileFrames, OfJpegGetASoundAnswer) {
  Mutation mutation(1);
  const picture::ExifBlock turned{.orientation = picture::Orientation{true, 1}, .captureTime = {}};
  const std::array streams = {encodeJpeg(photoPicture(80, 60, 1), {.restartRows = 1}),
                              encodeJpeg(photoPicture(80, 60, 2), {.lumaDown = 2}),
                              encodeJpeg(photoPicture(80, 60, 3), {.grey = true}),
                              picture::jpegWithExif(encodeJpeg(photoPicture(40, 30, 4)), turned).value()};
  for (int round = 0; round < 10000; ++round) {
    Frame frame;
    frame.width = 80;
    frame.height = 60;
    frame.bytes = streams[static_cast<std::size_t>(round) % streams.size()];
    mutation.changeBytes(frame.bytes);
    mutation.changeFields(frame);
    expectSoundAnswers(frame, mutation);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

TEST(HostileFrames, OfRawFormatsGetASoundAnswer) {
  Mutation mutation(2);
  for (int round = 0; round < 10000; ++round) {
    const auto format = picture::kAllPixelFormats[1 + mutation.below(picture::kAllPixelFormats.size() - 1)];
    Frame frame =
        noiseFrame(format, 1 + static_cast<int>(mutation.below(50)), 1 + static_cast<int>(mutation.below(30)),
                   static_cast<int>(mutation.below(20)), mutation.below(1000));
    if (mutation.below(3) == 0)
      frame.bytes.resize(mutation.below(static_cast<std::uint32_t>(frame.bytes.size()) + 9));
    mutation.changeFields(frame);
    expectSoundAnswers(frame, mutation);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

}  // namespace
}  // namespace camera_shot_test
