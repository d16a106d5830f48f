#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

// Nothing is expected of a damaged stream but an answer: a whole picture or a failure.
TEST(JpegGarbage, EndsInAPictureOrAFailure) {
  std::mt19937 random(1);
  int pictures = 0;
  int failures = 0;
  for (const Bytes& whole : {encodeJpeg(photoPicture(80, 60, 1), {.restartRows = 1}),
                             encodeJpeg(photoPicture(80, 60, 2), {.progressive = true}),
                             encodeJpeg(photoPicture(80, 60, 3), {.grey = true})}) {
    for (int round = 0; round < 1000; ++round) {
      Bytes damaged = whole;
      const std::size_t reach = round % 2 == 0 ? damaged.size() : std::size_t{700};
      for (unsigned i = 0; i <= round % 4U; ++i) {
        damaged[random() % std::min(reach, damaged.size())] = static_cast<std::uint8_t>(random());
      }
      (void)picture::sizeOfJpeg(damaged);
      (void)picture::exifOfJpeg(damaged);
      const auto picture = decodeJpeg(damaged);
      ++(picture ? pictures : failures);
      ASSERT_TRUE(!picture || picture->pixels.size() == std::size_t{3} * picture->width * picture->height);
    }
  }
  EXPECT_GT(pictures, 100);
  EXPECT_GT(failures, 100);
}

TEST(JpegGarbage, OfRandomBytesIsAFailure) {
  std::mt19937 random(2);
  for (int round = 0; round < 2000; ++round) {
    Bytes bytes = {0xFF, 0xD8, 0xFF};
    for (unsigned i = 0; i < 300; ++i)
      bytes.push_back(static_cast<std::uint8_t>(random()));
    ASSERT_FALSE(decodeJpeg(bytes).has_value());
  }
}

}  // namespace
}  // namespace camera_shot_test
