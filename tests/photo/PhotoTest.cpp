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

/// What a camera took, before it is a photo.
struct Captured {
  picture::Frame taken;
  bool isMirrored = true;

  std::shared_ptr<PictureData> data() const {
    return std::make_shared<PictureData>(std::make_shared<picture::Frame>(taken), isMirrored);
  }
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
  bool save(const Captured& captured, const std::string& file) {
    const auto bitmap = BitmapImageRep::imageRepWithData(captured.data(), log_, &thumbnails_);
    return bitmap &&
           bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG)->writeToFile(file, true);
  }

  const std::filesystem::path folder_ =
      std::filesystem::path(::testing::TempDir()) /
      ("photo-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
  KeptLog log_;
  SavedThumbnails thumbnails_;
};

Captured rgbFrame(const Picture& picture) {
  Captured captured;
  captured.taken.format = picture::PixelFormat::RGB;
  captured.taken.width = static_cast<int>(picture.width);
  captured.taken.height = static_cast<int>(picture.height);
  captured.taken.stride = static_cast<int>(picture.width * 3);
  captured.taken.bytes = picture.pixels;
  return captured;
}

Captured jpegFrame(const Picture& picture) {
  Captured captured;
  captured.taken.width = static_cast<int>(picture.width);
  captured.taken.height = static_cast<int>(picture.height);
  captured.taken.bytes = encodeJpeg(picture);
  return captured;
}

const picture::Thumbnail kMadeThumbnail{{1, 1}, {1, 2, 3}};

/// A photo whose file has been made already, of bytes that say so.
std::shared_ptr<PictureData> encoded(const Captured& captured, bool isFileMirrored) {
  const EncodedPhoto file{isFileMirrored, {{'m', 'a'}, {'d', 'e'}}, kMadeThumbnail};
  return std::make_shared<PictureData>(std::make_shared<picture::Frame>(captured.taken), captured.isMirrored,
                                       std::make_shared<EncodedPhoto>(file));
}

TEST_F(Photo, ARawFrameIsSavedMirroredPixelForPixel) {
  const Picture scene = photoPicture(67, 41, 1);
  ASSERT_TRUE(save(rgbFrame(scene), path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(scene));
}

TEST_F(Photo, AFrameThatIsNotToBeMirroredIsSavedAsItIs) {
  const Picture scene = photoPicture(67, 41, 2);
  auto frame = rgbFrame(scene);
  frame.isMirrored = false;
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), scene);
}

TEST_F(Photo, AJpegFrameIsSavedAsItsDecodedPixelsMirrored) {
  auto frame = jpegFrame(photoPicture(64, 48, 3));
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(referenceDecode(frame.taken.bytes)));
}

TEST_F(Photo, NothingButThePhotoIsLeftInTheFolder) {
  ASSERT_TRUE(save(rgbFrame(flatPicture(8, 8, 0)), path("a.png")));
  EXPECT_THAT(names(), ElementsAre("a.png"));
}

TEST_F(Photo, ADamagedJpegLeavesNoFileAndSaysWhy) {
  auto frame = jpegFrame(photoPicture(640, 480, 4));
  auto& bytes = frame.taken.bytes;
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.end(), std::uint8_t{0});
  EXPECT_FALSE(save(frame, path("a.png")));
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("Cannot save " + path("a.png"))));
}

TEST_F(Photo, BytesThatAreNoPictureMakeNoBitmap) {
  Captured frame;
  frame.taken.bytes = {1, 2, 3};
  EXPECT_EQ(BitmapImageRep::imageRepWithData(frame.data(), log_), nullptr);
  EXPECT_EQ(BitmapImageRep::imageRepWithData(nullptr, log_), nullptr);
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

TEST_F(Photo, AFrameThatIsKnownToBeDamagedIsSavedAsFarAsItGoes) {
  auto frame = jpegFrame(photoPicture(640, 480, 4));
  frame.taken.bytes.resize(frame.taken.bytes.size() / 2);
  frame.taken.isDamaged = true;
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))).height, 480U);
}

TEST_F(Photo, ASidewaysFrameIsSavedUprightAndMirrored) {
  const Picture scene = photoPicture(67, 41, 6);
  auto frame = rgbFrame(turnedClockwise(scene));
  frame.taken.transform = picture::Transform::Rotated270;
  ASSERT_TRUE(save(frame, path("a.png")));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(scene));
}

TEST_F(Photo, AFileThatHasBeenMadeAlreadyIsWhatIsSaved) {
  const auto frame = jpegFrame(photoPicture(64, 48, 3));
  const auto data = encoded(frame, /*isFileMirrored=*/true);
  const auto bitmap = BitmapImageRep::imageRepWithData(data, log_, &thumbnails_);
  EXPECT_EQ(data->takeFile(), nullptr) << "nor is it kept by what a view may still show";
  const auto png = bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG);
  ASSERT_TRUE(png->writeToFile(path("a.png"), true));
  EXPECT_EQ(contents(path("a.png")), Bytes({'m', 'a', 'd', 'e'}));
  EXPECT_EQ(thumbnails_.of(path("a.png")), kMadeThumbnail);
  EXPECT_THAT(names(), ElementsAre("a.png"));

  ASSERT_TRUE(png->writeToFile(path("b.png"), true));
  EXPECT_EQ(decodePng(contents(path("b.png"))), mirrored(referenceDecode(frame.taken.bytes)))
      << "once more it is made anew";
}

TEST_F(Photo, AFileThatHasBeenMadeTheOtherWayRoundIsOfNoUse) {
  const auto frame = jpegFrame(photoPicture(64, 48, 3));
  const auto bitmap = BitmapImageRep::imageRepWithData(encoded(frame, /*isFileMirrored=*/false), log_);
  const auto png = bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG);
  ASSERT_TRUE(png->writeToFile(path("a.png"), true));
  EXPECT_EQ(decodePng(contents(path("a.png"))), mirrored(referenceDecode(frame.taken.bytes)));
}

TEST_F(Photo, AFileThatHasBeenMadeButCannotBeSavedSaysWhy) {
  const auto bitmap = BitmapImageRep::imageRepWithData(
      encoded(jpegFrame(photoPicture(64, 48, 3)), /*isFileMirrored=*/true), log_, &thumbnails_);
  const auto png = bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG);
  EXPECT_FALSE(png->writeToFile(path("missing/a.png"), true));
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("No such file or directory")));
  EXPECT_FALSE(thumbnails_.of(path("missing/a.png")));
}

TEST_F(Photo, MayBeWrittenTwice) {
  const Picture scene = photoPicture(64, 48, 3);
  const auto bitmap = BitmapImageRep::imageRepWithData(rgbFrame(scene).data(), log_);
  const auto png = bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG);
  ASSERT_TRUE(png->writeToFile(path("a.png"), true));
  ASSERT_TRUE(png->writeToFile(path("b.png"), true));
  ASSERT_TRUE(bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG)
                  ->writeToFile(path("c.png"), true));
  for (const char* name : {"a.png", "b.png", "c.png"})
    EXPECT_EQ(decodePng(contents(path(name))), mirrored(scene)) << name;
}

TEST_F(Photo, AFolderThatIsMissingFailsAndSaysWhy) {
  EXPECT_FALSE(save(rgbFrame(flatPicture(8, 8, 0)), path("missing/a.png")));
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("No such file or directory")));
}

TEST_F(Photo, AnOlderFileOfTheNameStaysWhenTheNewOneFails) {
  ASSERT_TRUE(save(rgbFrame(flatPicture(8, 8, 0xFF0000)), path("a.png")));
  const Bytes before = contents(path("a.png"));
  auto damaged = jpegFrame(photoPicture(64, 64, 5));
  damaged.taken.bytes.resize(damaged.taken.bytes.size() / 2);
  EXPECT_FALSE(save(damaged, path("a.png")));
  EXPECT_EQ(contents(path("a.png")), before);
}

TEST_F(Photo, ThePictureForALayerIsTheFrameItself) {
  auto frame = rgbFrame(flatPicture(8, 8, 0));
  const auto data = frame.data();
  const auto image = BitmapImageRep::imageRepWithData(data, log_)->cgImage();
  const auto picture = std::dynamic_pointer_cast<PictureImage>(image);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->picture(), data);
}

}  // namespace
}  // namespace platform_linux
