#include <algorithm>

#include <gtest/gtest.h>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

using namespace std::chrono_literals;
using picture::ExifBlock;
using picture::exifOfJpeg;
using picture::jpegWithExif;
using picture::Orientation;

const std::chrono::system_clock::time_point kNoon{1'700'000'000'250ms};

TEST(JpegHeader, MayHaveStrayBytesAndFillBytes) {
  Bytes jpeg = encodeJpeg(photoPicture(160, 120, 1));
  const Bytes stray = {1, 2, 0xFF, 0, 0xFF, 0xD0, 0xFF, 0xFF};
  jpeg.insert(jpeg.begin() + 20, stray.begin(), stray.end());  // behind the first segment
  EXPECT_TRUE(picture::sizeOfJpeg(jpeg).has_value());
  EXPECT_TRUE(decodeJpeg(jpeg).has_value()) << "the decoder takes it, too";
}

TEST(SizeOfJpeg, IsWhatTheFrameHeaderSays) {
  EXPECT_EQ(picture::sizeOfJpeg(encodeJpeg(photoPicture(161, 121, 1))), (picture::PixelSize{161, 121}));
  EXPECT_EQ(picture::sizeOfJpeg(encodeJpeg(photoPicture(20, 10, 1), {.progressive = true})),
            (picture::PixelSize{20, 10}));
  EXPECT_FALSE(picture::sizeOfJpeg(Bytes{0xFF, 0xD8}).has_value());
}

TEST(JpegWithExif, LeavesEveryOtherByteAlone) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const picture::ExifBlock exif{.orientation = picture::Orientation::kMirrored, .captureTime = kNoon};
  const Bytes tagged = picture::jpegWithExif(jpeg, exif).value();
  const std::size_t added = tagged.size() - jpeg.size();
  EXPECT_EQ(added, 2 + 2 + 6 + exif.bytes().size());
  EXPECT_TRUE(std::equal(jpeg.begin(), jpeg.begin() + 2, tagged.begin()));
  EXPECT_TRUE(
      std::equal(jpeg.begin() + 2, jpeg.end(), tagged.begin() + 2 + static_cast<std::ptrdiff_t>(added)));
  EXPECT_EQ(picture::exifOfJpeg(tagged)->orientation, picture::Orientation::kMirrored);
  EXPECT_EQ(picture::exifOfJpeg(tagged)->captureTime, kNoon);
}

TEST(JpegWithExif, ReplacesAnEarlierBlock) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const picture::ExifBlock mirrored{.orientation = picture::Orientation::kMirrored, .captureTime = kNoon};
  const picture::ExifBlock upright{.orientation = picture::Orientation::kUpright, .captureTime = {}};
  const Bytes twice = picture::jpegWithExif(picture::jpegWithExif(jpeg, mirrored).value(), upright).value();
  EXPECT_EQ(twice, picture::jpegWithExif(jpeg, upright).value());
}

TEST(JpegWithExif, KeepsOtherApplicationSegments) {
  Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const Bytes extended = {0xFF, 0xE1, 0, 8, 'h', 't', 't', 'p', ':', '/', 0xFF, 0xFF, 0xEA, 0, 3, 42};
  jpeg.insert(jpeg.begin() + 2, extended.begin(), extended.end());
  const Bytes tagged =
      picture::jpegWithExif(jpeg, {.orientation = picture::Orientation::kUpright, .captureTime = {}}).value();
  EXPECT_NE(std::search(tagged.begin(), tagged.end(), extended.begin(), extended.end()), tagged.end());
  EXPECT_TRUE(decodeJpeg(tagged) == referenceDecode(jpeg));
}

TEST(JpegWithExif, RefusesWhatHasNoHeader) {
  const Bytes jpeg = encodeJpeg(photoPicture(16, 16, 2));
  for (const std::size_t size : {0U, 1U, 2U, 10U, 100U}) {
    EXPECT_FALSE(picture::jpegWithExif(std::span(jpeg).first(size), {}).has_value()) << size;
  }
}

TEST(ExifOfJpeg, IsNothingWithoutABlock) {
  EXPECT_FALSE(picture::exifOfJpeg(encodeJpeg(photoPicture(16, 16, 2))).has_value());
}

}  // namespace
}  // namespace camera_shot_test
