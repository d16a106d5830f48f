#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/desktop/virtual-camera/DecodedFrame.h"
#include "tests/desktop/virtual-camera/JpegEncoder.h"
#include "tests/desktop/virtual-camera/JpegMarkers.h"
#include "tests/support/jpeg/JpegEncoder.h"

namespace virtual_camera {
namespace {

RgbPicture testPicture() {
  return drawTestPicture(160, 120, 0x40c0ff, 12);
}

/// How often a marker stands in the file, the coded data included.
std::ptrdiff_t countMarkers(const Bytes& jpeg, std::uint8_t first, std::uint8_t last) {
  std::ptrdiff_t count = 0;
  for (std::size_t at = 0; at + 1 < jpeg.size(); ++at)
    count += jpeg[at] == 0xff && jpeg[at + 1] >= first && jpeg[at + 1] <= last ? 1 : 0;
  return count;
}

std::ptrdiff_t countMarkers(const Bytes& jpeg, std::uint8_t marker) {
  return countMarkers(jpeg, marker, marker);
}

/// Both must give the same pixels.
void expectSamePicture(const Bytes& odd, const Bytes& plain) {
  EXPECT_EQ(decodeJpeg(odd).picture.samples, decodeJpeg(plain).picture.samples);
}

TEST(JpegEncoder, LeavesOutTheTables) {
  const auto plain = encodeJpeg(testPicture(), {});
  const auto odd = encodeJpeg(testPicture(), {.withoutTables = true});
  EXPECT_GT(countMarkers(plain, jpeg_marker::kHuffmanTables), 0);
  EXPECT_EQ(countMarkers(odd, jpeg_marker::kHuffmanTables), 0);
  expectSamePicture(odd, plain);
}

/// More than the decoder looks ahead, so that it meets each of the places and warns.
constexpr std::size_t kStray = 12;

TEST(JpegEncoder, PutsStrayBytesBeforeRestartMarkers) {
  const JpegStyle restarts{.restart = 4};
  auto style = restarts;
  style.strayAtRestart = kStray;
  const auto plain = encodeJpeg(testPicture(), restarts);
  const auto odd = encodeJpeg(testPicture(), style);
  const auto markers = countMarkers(plain, jpeg_marker::kFirstRestart, jpeg_marker::kLastRestart);
  EXPECT_EQ(markers, 10 * 15 / 4);
  EXPECT_EQ(odd.size(), plain.size() + kStray * static_cast<std::size_t>(markers));
  EXPECT_EQ(decodeJpeg(plain).warnings, 0);
  EXPECT_GE(decodeJpeg(odd).warnings, markers);
  expectSamePicture(odd, plain);
}

TEST(JpegEncoder, PutsStrayBytesBeforeTheEnd) {
  const auto odd = encodeJpeg(testPicture(), {.strayAtEnd = kStray});
  EXPECT_EQ(decodeJpeg(odd).warnings, 1);
  expectSamePicture(odd, encodeJpeg(testPicture(), {}));
}

TEST(JpegEncoder, GoesOnAfterTheEnd) {
  const auto plain = encodeJpeg(testPicture(), {});
  const auto zeros = encodeJpeg(testPicture(), {.zerosAfter = 3000});
  EXPECT_EQ(zeros.size(), plain.size() + 3000);
  EXPECT_TRUE(std::all_of(zeros.end() - 3000, zeros.end(), [](auto byte) { return byte == 0; }));
  const auto rubbish = encodeJpeg(testPicture(), {.rubbishAfter = 3});
  EXPECT_EQ(Bytes(rubbish.end() - 3, rubbish.end()), (Bytes{1, 2, 3}));
  expectSamePicture(zeros, plain);
  expectSamePicture(rubbish, plain);
}

TEST(JpegEncoder, EndsNotAtAllOrTwice) {
  const auto plain = encodeJpeg(testPicture(), {});
  const auto none = encodeJpeg(testPicture(), {.withoutEnd = true});
  const auto two = encodeJpeg(testPicture(), {.secondEnd = true});
  EXPECT_EQ(countMarkers(none, jpeg_marker::kEnd), 0);
  EXPECT_EQ(countMarkers(two, jpeg_marker::kEnd), 2);
  expectSamePicture(none, plain);
  expectSamePicture(two, plain);
}

TEST(JpegEncoder, WritesAnOrientation) {
  const auto odd = encodeJpeg(testPicture(), {.orientation = 6});
  EXPECT_EQ(countMarkers(odd, 0xe1), 1);
  expectSamePicture(odd, encodeJpeg(testPicture(), {}));
}

TEST(JpegEncoder, StatesTheHeightLate) {
  const auto plain = encodeJpeg(testPicture(), {});
  auto odd = encodeJpeg(testPicture(), {.lateHeight = true});
  const auto height = test_support::frameHeader(odd) + 5;
  EXPECT_EQ(Bytes(odd.end() - 8, odd.end()), (Bytes{0xff, 0xdc, 0, 4, 0, 120, 0xff, jpeg_marker::kEnd}));
  EXPECT_EQ(odd[height + 1], 0);
  odd[height + 1] = 120;
  expectSamePicture(odd, plain);
}

TEST(JpegEncoder, PutsBytesOfItsOwnFirst) {
  const auto plain = encodeJpeg(testPicture(), {});
  const auto odd = encodeJpeg(testPicture(), {.before = 512});
  EXPECT_EQ(odd.size(), plain.size() + 512);
  EXPECT_EQ(odd[0], 1);
  EXPECT_TRUE(std::equal(plain.begin(), plain.end(), odd.begin() + 512));
}

TEST(JpegEncoder, HasInks) {
  for (const auto sampling : {JpegStyle::Sampling::kCmyk, JpegStyle::Sampling::kYcck}) {
    const auto odd = encodeJpeg(testPicture(), {.sampling = sampling});
    EXPECT_EQ(odd[test_support::frameHeader(odd) + 9], 4) << "components";
  }
}

TEST(JpegEncoder, KnowsTheSamplings) {
  using Sampling = JpegStyle::Sampling;
  const auto size = [](Sampling sampling) {
    return encodeJpeg(testPicture(), {.sampling = sampling}).size();
  };
  EXPECT_LT(size(Sampling::kGrey), size(Sampling::k420));
  EXPECT_LT(size(Sampling::k420), size(Sampling::k422));
  EXPECT_LT(size(Sampling::k422), size(Sampling::k444));
}

TEST(JpegEncoder, MayBeProgressive) {
  const auto progressive = encodeJpeg(testPicture(), {.progressive = true});
  EXPECT_GT(countMarkers(progressive, jpeg_marker::kScan), 1);
  expectSamePicture(progressive, encodeJpeg(testPicture(), {}));
}

TEST(JpegEncoder, LosesThePartInTheMiddleOfADamagedFrame) {
  for (const unsigned restart : {0U, 4U}) {
    const auto whole = encodeJpeg(testPicture(), {.restart = restart});
    const auto damaged = damagedJpeg(whole);
    EXPECT_LT(damaged.size(), whole.size());
    EXPECT_EQ(damaged[damaged.size() - 1], jpeg_marker::kEnd);
    const auto decoded = decodeJpeg(damaged);
    EXPECT_GT(decoded.warnings, 0);
    EXPECT_NE(decoded.picture.samples, decodeJpeg(whole).picture.samples);
  }
}

}  // namespace
}  // namespace virtual_camera
