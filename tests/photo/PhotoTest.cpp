#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/photo/BitmapImageRep.h"
#include "platform/linux/photo/PictureImage.h"
#include "tests/picture/PngReading.h"
#include "tests/picture/TestJpegs.h"
#include "tests/picture/TestPictures.h"

namespace platform_linux {
namespace {

using namespace camera_shot_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct CapturedPicture : PictureData {
  const picture::Frame& frame() const override { return taken; }
  bool mirrored() const override { return isMirrored; }
  bool writeToFile(const std::string&, bool) const override { return false; }

  picture::Frame taken;
  bool isMirrored = true;
};

struct KeptLog : platform::NSLog {
  void log(const std::string& line) override { lines.push_back(line); }

  std::vector<std::string> lines;
};

class Photo : public ::testing::Test {
 public:
  Photo() { std::filesystem::create_directories(folder_); }
  ~Photo() override { std::filesystem::remove_all(folder_); }

 protected:
  std::string path(const std::string& name) const { return folder_ / name; }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      found.push_back(entry.path().filename());
    return found;
  }
  static Bytes contents(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }
  bool save(const std::shared_ptr<CapturedPicture>& picture, const std::string& file) {
    const auto bitmap = BitmapImageRep::imageRepWithData(picture, log_, &thumbnails_);
    return bitmap &&
           bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG)->writeToFile(file, true);
  }

  const std::filesystem::path folder_ =
      std::filesystem::path(::testing::TempDir()) /
      ("photo-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
  KeptLog log_;
  SavedThumbnails thumbnails_;
};

std::shared_ptr<CapturedPicture> rgbFrame(const Picture& picture) {
  auto captured = std::make_shared<CapturedPicture>();
  captured->taken.format = picture::PixelFormat::RGB;
  captured->taken.width = static_cast<int>(picture.width);
  captured->taken.height = static_cast<int>(picture.height);
  captured->taken.stride = static_cast<int>(picture.width * 3);
  captured->taken.bytes = picture.pixels;
  return captured;
}

std::shared_ptr<CapturedPicture> jpegFrame(const Picture& picture) {
  auto captured = std::make_shared<CapturedPicture>();
  captured->taken.width = static_cast<int>(picture.width);
  captured->taken.height = static_cast<int>(picture.height);
  captured->taken.bytes = encodeJpeg(picture);
  return captured;
}

TEST_F(Photo, ARawFrameIsSavedMirroredPixelForPixel) {
  const Picture scene = photoPicture(67, 41, 1);
  ASSERT_TRUE(save(rgbFrame(scene), path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(scene));
}

TEST_F(Photo, AFrameThatIsNotToBeMirroredIsSavedAsItIs) {
  const Picture scene = photoPicture(67, 41, 2);
  const auto frame = rgbFrame(scene);
  frame->isMirrored = false;
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), scene);
}

TEST_F(Photo, AJpegFrameIsSavedAsItsDecodedPixelsMirrored) {
  const auto frame = jpegFrame(photoPicture(64, 48, 3));
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(referenceDecode(frame->taken.bytes)));
}

TEST_F(Photo, ASmallCopyOfWhatWasSavedIsKept) {
  const Picture scene = photoPicture(67, 41, 1);
  ASSERT_TRUE(save(rgbFrame(scene), path("a.png")));
  const auto small = thumbnails_.of(path("a.png"));
  ASSERT_TRUE(small);
  EXPECT_EQ(small->size, (picture::PixelSize{67, 41}));
  EXPECT_EQ(small->pixels, mirrored(scene).pixels);
  EXPECT_FALSE(save(rgbFrame(scene), path("missing/b.png")));
  EXPECT_FALSE(thumbnails_.of(path("missing/b.png")));
}

TEST_F(Photo, NothingButThePhotoIsLeftInTheFolder) {
  ASSERT_TRUE(save(rgbFrame(flatPicture(8, 8, 0)), path("a.png")));
  EXPECT_THAT(names(), ElementsAre("a.png"));
}

TEST_F(Photo, ADamagedJpegLeavesNoFileAndSaysWhy) {
  const auto frame = jpegFrame(photoPicture(640, 480, 4));
  auto& bytes = frame->taken.bytes;
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.end(), std::uint8_t{0});
  EXPECT_FALSE(save(frame, path("a.png")));
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("Cannot save " + path("a.png"))));
}

TEST_F(Photo, BytesThatAreNoPictureMakeNoBitmap) {
  auto frame = std::make_shared<CapturedPicture>();
  frame->taken.bytes = {1, 2, 3};
  EXPECT_EQ(BitmapImageRep::imageRepWithData(frame, log_), nullptr);
  EXPECT_EQ(BitmapImageRep::imageRepWithData(nullptr, log_), nullptr);
}

TEST_F(Photo, AFolderThatIsMissingFailsAndSaysWhy) {
  EXPECT_FALSE(save(rgbFrame(flatPicture(8, 8, 0)), path("missing/a.png")));
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("No such file or directory")));
}

TEST_F(Photo, AnOlderFileOfTheNameStaysWhenTheNewOneFails) {
  ASSERT_TRUE(save(rgbFrame(flatPicture(8, 8, 0xFF0000)), path("a.png")));
  const Bytes before = contents(path("a.png"));
  const auto damaged = jpegFrame(photoPicture(64, 64, 5));
  damaged->taken.bytes.resize(damaged->taken.bytes.size() / 2);
  EXPECT_FALSE(save(damaged, path("a.png")));
  EXPECT_EQ(contents(path("a.png")), before);
}

TEST_F(Photo, ThePictureForALayerIsTheFrameItself) {
  const auto frame = rgbFrame(flatPicture(8, 8, 0));
  const auto image = BitmapImageRep::imageRepWithData(frame, log_)->cgImage();
  const auto picture = std::dynamic_pointer_cast<PictureImage>(image);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->picture(), frame);
}

}  // namespace
}  // namespace platform_linux
