#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "picture/PhotoRows.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

using picture::Orientation;
using testing::IsEmpty;
using testing::Not;

Bytes withOrientation(const Bytes& jpeg, picture::Orientation orientation) {
  return picture::jpegWithExif(jpeg, {.orientation = orientation, .captureTime = {}}).value();
}

Bytes withSize(Bytes jpeg, unsigned width, unsigned height) {
  const std::size_t at = frameHeader(jpeg) + 5;
  jpeg[at] = static_cast<std::uint8_t>(height >> 8);
  jpeg[at + 1] = static_cast<std::uint8_t>(height);
  jpeg[at + 2] = static_cast<std::uint8_t>(width >> 8);
  jpeg[at + 3] = static_cast<std::uint8_t>(width);
  return jpeg;
}

std::string failureOf(const Bytes& jpeg) {
  std::string failure;
  const auto source = picture::openJpegRows(jpeg, failure);
  if (!source) return failure;
  return readAll(*source).pixels.empty() ? source->failure() : "";
}

TEST(JpegPhoto, EqualsTheReferenceDecoder) {
  for (const auto& [across, down] : {std::pair{1, 1}, {2, 1}, {2, 2}, {1, 2}, {4, 1}, {4, 2}}) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {7U, 5U}, {64U, 48U}, {321U, 123U}}) {
      const Bytes jpeg = encodeJpeg(photoPicture(width, height, 1),
                                    {.lumaAcross = across, .lumaDown = down, .restartRows = 1});
      EXPECT_TRUE(decodeJpeg(jpeg) == referenceDecode(jpeg))
          << across << down << " " << width << "x" << height;
    }
  }
}

TEST(JpegPhoto, DeliversTheSameRowsHoweverManyAreAskedFor) {
  const Bytes jpeg = encodeJpeg(photoPicture(200, 150, 2), {.lumaDown = 2});
  for (const std::uint32_t rows : {1U, 2U, 3U, 16U, 17U, 150U}) {
    std::string failure;
    const auto source = picture::openJpegRows(jpeg, failure);
    EXPECT_TRUE(readAll(*source, rows) == referenceDecode(jpeg)) << rows;
  }
}

TEST(JpegPhoto, MirrorsExactly) {
  for (const std::uint32_t width : {1U, 2U, 15U, 16U, 17U, 47U, 48U, 321U}) {
    const Bytes jpeg = encodeJpeg(photoPicture(width, 40, 3));
    EXPECT_TRUE(decodeJpeg(withOrientation(jpeg, picture::Orientation::kMirrored)) ==
                mirrored(referenceDecode(jpeg)))
        << width;
    EXPECT_TRUE(decodeJpeg(withOrientation(jpeg, picture::Orientation::kUpright)) == referenceDecode(jpeg))
        << width;
  }
}

TEST(JpegPhoto, DeliversGreyAsRgb) {
  const Bytes jpeg = encodeJpeg(photoPicture(99, 33, 4), {.grey = true});
  const auto picture = decodeJpeg(jpeg);
  ASSERT_TRUE(picture.has_value());
  EXPECT_TRUE(*picture == referenceDecode(jpeg));
  for (std::size_t i = 0; i < picture->pixels.size(); i += 3) {
    ASSERT_EQ(picture->pixels[i], picture->pixels[i + 1]);
    ASSERT_EQ(picture->pixels[i], picture->pixels[i + 2]);
  }
}

TEST(JpegPhoto, SuppliesTheStandardHuffmanTables) {
  const Bytes whole = encodeJpeg(photoPicture(160, 120, 5));
  const Bytes bare = withoutHuffmanTables(whole);
  ASSERT_LT(bare.size() + 300, whole.size());
  EXPECT_TRUE(decodeJpeg(bare) == referenceDecode(whole));
}

TEST(JpegPhoto, DecodesProgressiveStreams) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 6), {.progressive = true});
  EXPECT_TRUE(decodeJpeg(jpeg) == referenceDecode(jpeg));
}

TEST(JpegPhoto, DecodesEveryKindOfColours) {
  for (const auto colors : {JpegColors::Rgb, JpegColors::Cmyk, JpegColors::Ycck}) {
    const Bytes jpeg = encodeJpeg(photoPicture(161, 43, 6), {.colors = colors, .restartRows = 1});
    EXPECT_TRUE(decodeJpeg(jpeg) == referenceDecode(jpeg)) << static_cast<int>(colors);
    EXPECT_THAT(failureOf(Bytes(jpeg.begin(), jpeg.end() - 300)), Not(IsEmpty()));
  }
}

TEST(JpegPhoto, TakesInksForWhatTheyAreWhereNoMarkerSaysThatTheyAreComplements) {
  Bytes jpeg = encodeJpeg(photoPicture(64, 48, 6), {.quality = 100, .colors = JpegColors::Cmyk});
  const Picture complements = referenceDecode(jpeg);
  const auto segments = picture::jpegHeaderSegments(jpeg).value();
  const auto adobe = std::find_if(segments.begin(), segments.end(), [](auto& s) { return s.marker == 0xEE; });
  ASSERT_NE(adobe, segments.end());
  const auto begin = jpeg.begin() + static_cast<std::ptrdiff_t>(adobe->offset);
  jpeg.erase(begin, begin + static_cast<std::ptrdiff_t>(adobe->size));
  const auto picture = decodeJpeg(jpeg);
  ASSERT_TRUE(picture);
  // What is left of the light is at most what the black ink, 170 of 255, lets through.
  EXPECT_LE(*std::max_element(picture->pixels.begin(), picture->pixels.end()), 255 - 170 + 2);
  EXPECT_GT(*std::max_element(complements.pixels.begin(), complements.pixels.end()), 100);
}

TEST(JpegPhoto, DecodesArithmeticCoding) {
  for (const bool progressive : {false, true}) {
    const Bytes jpeg =
        encodeJpeg(photoPicture(160, 120, 6), {.progressive = progressive, .arithmetic = true});
    EXPECT_TRUE(decodeJpeg(jpeg) == referenceDecode(jpeg)) << progressive;
    EXPECT_THAT(failureOf(Bytes(jpeg.begin(), jpeg.end() - 300)), Not(IsEmpty()));
  }
}

TEST(JpegPhoto, MayStateItsHeightBehindItsScanOnly) {
  for (const int restartRows : {0, 2}) {
    const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 6), {.restartRows = restartRows});
    const Bytes late = withHeightBehindTheScan(jpeg);
    EXPECT_TRUE(decodeJpeg(late) == referenceDecode(jpeg));
    EXPECT_EQ(picture::sizeOfJpeg(late), (picture::PixelSize{160, 120}));
    const Bytes never = withSize(jpeg, 160, 0);
    EXPECT_THAT(failureOf(never), Not(IsEmpty()));
    EXPECT_FALSE(picture::sizeOfJpeg(never));
  }
}

TEST(JpegPhoto, IsNotMistakenForItsThumbnail) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 6));
  const Bytes both = withThumbnail(jpeg, encodeJpeg(photoPicture(16, 12, 7)));
  EXPECT_TRUE(decodeJpeg(both) == referenceDecode(jpeg));
  EXPECT_EQ(picture::sizeOfJpeg(both), (picture::PixelSize{160, 120}));
}

TEST(JpegPhoto, OfMoreThanEightBitsASampleIsRefusedWithThatReason) {
  Bytes jpeg = encodeJpeg(photoPicture(64, 48, 6));
  jpeg[frameHeader(jpeg) + 1] = 0xC1;  // the extended process, which has them
  jpeg[frameHeader(jpeg) + 4] = 12;
  EXPECT_EQ(failureOf(jpeg), "Unsupported JPEG data precision 12");
}

TEST(JpegPhoto, RefusesEveryTruncation) {
  const Bytes jpeg = encodeJpeg(photoPicture(160, 120, 7), {.restartRows = 2});
  for (std::size_t size = 0; size < jpeg.size() - 2; size += size < 700 ? 1 : 13) {
    EXPECT_THAT(failureOf(Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(size))),
                Not(IsEmpty()))
        << size << " of " << jpeg.size();
  }
  EXPECT_THAT(failureOf(Bytes(jpeg.begin(), jpeg.end() - 4)), Not(IsEmpty()));
  EXPECT_THAT(failureOf(jpeg), IsEmpty());
}

TEST(JpegPhoto, RefusesAHoleInTheData) {
  Bytes jpeg = encodeJpeg(photoPicture(160, 120, 8));
  jpeg.erase(jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2),
             jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2 + 500));
  EXPECT_THAT(failureOf(jpeg), Not(IsEmpty()));
}

TEST(JpegPhoto, OfAKnownDamageIsWhatThereIs) {
  const Bytes whole = encodeJpeg(photoPicture(160, 120, 8), {.restartRows = 1});
  picture::Frame frame;
  frame.bytes = Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * 3 / 4));
  frame.isDamaged = true;
  std::string failure;
  const Picture shown = readAll(*picture::openPhotoRows(frame, false, failure));
  const Picture expected = referenceDecode(whole);
  ASSERT_EQ(shown.pixels.size(), expected.pixels.size());
  const std::size_t upperHalf = expected.pixels.size() / 2;
  EXPECT_TRUE(std::equal(shown.pixels.begin(), shown.pixels.begin() + static_cast<std::ptrdiff_t>(upperHalf),
                         expected.pixels.begin()));
}

TEST(JpegPhoto, CarriesOutEveryOrientationOfTheStream) {
  const Bytes jpeg = encodeJpeg(photoPicture(48, 32, 9));
  const Picture stored = referenceDecode(jpeg);
  for (const bool isMirrored : {false, true}) {
    Picture expected = isMirrored ? mirrored(stored) : stored;
    for (int turns = 0; turns < 4; ++turns, expected = turnedClockwise(expected))
      EXPECT_TRUE(decodeJpeg(withOrientation(jpeg, {isMirrored, turns})) == expected) << isMirrored << turns;
  }
}

TEST(JpegPhoto, ThatStatesATransformIsNotTurnedTwice) {
  const Bytes jpeg = encodeJpeg(photoPicture(48, 32, 9));
  picture::Frame frame;
  frame.transform = picture::Transform::Rotated90;
  frame.bytes = withOrientation(jpeg, {false, 1});
  std::string failure;
  EXPECT_TRUE(readAll(*picture::openPhotoRows(frame, false, failure)) ==
              turnedClockwise(referenceDecode(jpeg)));
}

TEST(JpegPhoto, RefusesAbsurdSizes) {
  const Bytes jpeg = encodeJpeg(photoPicture(64, 48, 10));
  EXPECT_EQ(failureOf(withSize(jpeg, 40000, 48)), "Picture size is zero or too large");
  EXPECT_EQ(failureOf(withSize(jpeg, 64, 40000)), "Picture size is zero or too large");
  EXPECT_EQ(failureOf(withSize(jpeg, 20000, 20000)), "Picture size is zero or too large");
  EXPECT_THAT(failureOf(withSize(jpeg, 0, 48)), Not(IsEmpty()));
}

TEST(JpegPhoto, RefusesWhatIsNoJpeg) {
  EXPECT_THAT(failureOf({}), Not(IsEmpty()));
  EXPECT_THAT(failureOf(Bytes(1000, 0)), Not(IsEmpty()));
  EXPECT_THAT(failureOf({0xFF, 0xD8, 0xFF, 0xD9}), Not(IsEmpty()));
}

}  // namespace
}  // namespace camera_shot_test
