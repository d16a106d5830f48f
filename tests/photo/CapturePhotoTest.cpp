#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "platform/linux/photo/CapturePhoto.h"
#include "tests/picture/TestJpegs.h"

namespace platform_linux {
namespace {

using namespace camera_shot_test;

TEST(CapturePhoto, AsAFileIsTheCamerasJpegWithItsMirroringAndItsTimeNoted) {
  const Picture scene = photoPicture(48, 32, 7);
  picture::Frame frame;
  frame.bytes = encodeJpeg(scene);
  frame.captured = std::chrono::system_clock::time_point(std::chrono::seconds(1'795'262'400));
  const CapturePhoto photo(std::make_shared<const picture::Frame>(frame), true);
  const auto path = std::filesystem::path(::testing::TempDir()) / "captured.jpg";

  ASSERT_TRUE(photo.fileDataRepresentation()->writeToFile(path, true));
  std::ifstream file(path, std::ios::binary);
  const Bytes written{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::filesystem::remove(path);

  const auto exif = picture::exifOfJpeg(written);
  ASSERT_TRUE(exif);
  EXPECT_EQ(exif->orientation, picture::Orientation::kMirrored);
  EXPECT_EQ(exif->captureTime, frame.captured);
  EXPECT_EQ(decodeJpeg(written), mirrored(referenceDecode(frame.bytes)));
}

TEST(CapturePhoto, AsAFileSaysHowASidewaysFrameIsTurned) {
  picture::Frame frame;
  frame.bytes = encodeJpeg(photoPicture(48, 32, 7));
  frame.transform = picture::Transform::Rotated90;
  const CapturePhoto photo(std::make_shared<const picture::Frame>(frame), true);
  const auto path = std::filesystem::path(::testing::TempDir()) / "sideways.jpg";

  ASSERT_TRUE(photo.fileDataRepresentation()->writeToFile(path, true));
  std::ifstream file(path, std::ios::binary);
  const Bytes written{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::filesystem::remove(path);
  EXPECT_EQ(decodeJpeg(written), mirrored(turnedClockwise(referenceDecode(frame.bytes))));
}

TEST(CapturePhoto, ThatCannotBeWrittenSaysSo) {
  const CapturePhoto photo(std::make_shared<const picture::Frame>(), false);
  EXPECT_FALSE(photo.fileDataRepresentation()->writeToFile("/nonexistent/folder/photo.jpg", true));
}

}  // namespace
}  // namespace platform_linux
