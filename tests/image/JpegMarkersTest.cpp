#include <algorithm>

#include <gtest/gtest.h>

#include "platform/linux/image/ExifBlock.h"
#include "platform/linux/image/JpegMarkers.h"
#include "tests/image/TestJpegs.h"

namespace camera_shot_test {
namespace {

using namespace std::chrono_literals;
using platform_linux::ExifBlock;
using platform_linux::exifOfJpeg;
using platform_linux::isCompleteJpeg;
using platform_linux::jpegWithExif;
using platform_linux::Orientation;

const std::chrono::system_clock::time_point kNoon{1'700'000'000'250ms};

TEST(CompleteJpeg, IsAWholeStream) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 1));
  EXPECT_TRUE(isCompleteJpeg(jpeg));
  EXPECT_TRUE(isCompleteJpeg(withoutHuffmanTables(jpeg)));
  EXPECT_TRUE(isCompleteJpeg(encodeJpeg(photoPicture(160, 120, 1), {.progressive = true})));
}

TEST(CompleteJpeg, MayBePaddedWithZeros) {
  Bytes jpeg = encodeJpeg(photoPicture(160, 120, 1));
  jpeg.insert(jpeg.end(), 4096, 0);
  EXPECT_TRUE(isCompleteJpeg(jpeg));
  jpeg.push_back(1);
  EXPECT_FALSE(isCompleteJpeg(jpeg));
}

TEST(CompleteJpeg, IsNoTruncatedStream) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 1));
  for (std::size_t size = 0; size < jpeg.size(); ++size) {
    Bytes truncated(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(size));
    ASSERT_FALSE(isCompleteJpeg(truncated)) << size;
    truncated.resize(jpeg.size());  // as in a camera's buffer that was cleared before
    ASSERT_FALSE(isCompleteJpeg(truncated)) << size << ", padded";
  }
}

TEST(CompleteJpeg, IsNotTwoMarkersAlone) {
  EXPECT_FALSE(isCompleteJpeg(Bytes{0xFF, 0xD8, 0xFF, 0xD9}));
  EXPECT_FALSE(isCompleteJpeg(Bytes{0xFF, 0xD8}));
  EXPECT_FALSE(isCompleteJpeg(Bytes(100, 0xFF)));
  EXPECT_FALSE(isCompleteJpeg(Bytes(100, 0)));
}

TEST(JpegWithExif, LeavesEveryOtherByteAlone) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const ExifBlock exif{.orientation = Orientation::kMirrored, .captureTime = kNoon};
  const Bytes tagged = jpegWithExif(jpeg, exif).value();
  const std::size_t added = tagged.size() - jpeg.size();
  EXPECT_EQ(added, 2 + 2 + 6 + exif.bytes().size());
  EXPECT_TRUE(std::equal(jpeg.begin(), jpeg.begin() + 2, tagged.begin()));
  EXPECT_TRUE(
      std::equal(jpeg.begin() + 2, jpeg.end(), tagged.begin() + 2 + static_cast<std::ptrdiff_t>(added)));
  EXPECT_EQ(exifOfJpeg(tagged)->orientation, Orientation::kMirrored);
  EXPECT_EQ(exifOfJpeg(tagged)->captureTime, kNoon);
}

TEST(JpegWithExif, ReplacesAnEarlierBlock) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const ExifBlock mirrored{.orientation = Orientation::kMirrored, .captureTime = kNoon};
  const ExifBlock upright{.orientation = Orientation::kUpright, .captureTime = {}};
  const Bytes twice = jpegWithExif(jpegWithExif(jpeg, mirrored).value(), upright).value();
  EXPECT_EQ(twice, jpegWithExif(jpeg, upright).value());
}

TEST(JpegWithExif, KeepsOtherApplicationSegments) {
  Bytes jpeg = encodeJpeg(photoPicture(160, 120, 2));
  const Bytes extended = {0xFF, 0xE1, 0, 8, 'h', 't', 't', 'p', ':', '/', 0xFF, 0xFF, 0xEA, 0, 3, 42};
  jpeg.insert(jpeg.begin() + 2, extended.begin(), extended.end());
  const Bytes tagged = jpegWithExif(jpeg, {.orientation = Orientation::kUpright, .captureTime = {}}).value();
  EXPECT_NE(std::search(tagged.begin(), tagged.end(), extended.begin(), extended.end()), tagged.end());
  EXPECT_TRUE(decodeJpeg(tagged) == referenceDecode(jpeg));
}

TEST(JpegWithExif, RefusesWhatHasNoHeader) {
  const Bytes jpeg = encodeJpeg(photoPicture(16, 16, 2));
  for (const std::size_t size : {0U, 1U, 2U, 10U, 100U}) {
    EXPECT_FALSE(jpegWithExif(std::span(jpeg).first(size), {}).has_value()) << size;
  }
}

TEST(ExifOfJpeg, IsNothingWithoutABlock) {
  EXPECT_FALSE(exifOfJpeg(encodeJpeg(photoPicture(16, 16, 2))).has_value());
}

}  // namespace
}  // namespace camera_shot_test
