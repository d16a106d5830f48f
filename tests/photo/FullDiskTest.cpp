// A disk that is filled by what killed runs have left: this program's own `write` fails while they are there.
#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/photo/BitmapImageRep.h"
#include "platform/linux/storage/TemporaryName.h"
#include "tests/support/TemporaryFolder.h"

namespace {

/// The disk is full while this file is there.
std::string fillsTheDisk;

}  // namespace

extern "C" ssize_t write(int file, const void* bytes, size_t size) {
  static auto* const real =
      reinterpret_cast<ssize_t (*)(int, const void*, size_t)>(::dlsym(RTLD_NEXT, "write"));
  if (fillsTheDisk.empty() || !std::filesystem::exists(fillsTheDisk)) return real(file, bytes, size);
  errno = ENOSPC;
  return -1;
}

namespace platform_linux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct KeptLog : platform::NSLog {
  void log(const std::string& line) override { lines.push_back(line); }

  std::vector<std::string> lines;
};

class FullDisk : public testing::Test {
 protected:
  ~FullDisk() override { fillsTheDisk.clear(); }

  void fillWith(const std::string& name) {
    fillsTheDisk = folder_ / name;
    std::ofstream(fillsTheDisk) << "as large as the disk";
  }
  bool save(const std::shared_ptr<const EncodedPhoto>& file = nullptr) {
    auto frame = std::make_shared<picture::Frame>();
    frame->format = picture::PixelFormat::RGB;
    frame->width = 2;
    frame->height = 1;
    frame->stride = 6;
    frame->bytes = {1, 2, 3, 4, 5, 6};
    const auto picture = std::make_shared<PictureData>(frame, /*mirrored=*/true, file);
    const auto bitmap = BitmapImageRep::imageRepWithData(picture, log_);
    const auto png = bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG);
    return png->writeToFile(folder_ / "photo.png", true);
  }

  const test_support::TemporaryFolder folder_;
  KeptLog log_;
};

const std::string kLeftover = makeTemporaryName("photo.png");

TEST_F(FullDisk, OfWhatKilledRunsHaveLeftTakesThePhotoAtOnce) {
  fillWith(kLeftover);
  EXPECT_TRUE(save());
  EXPECT_THAT(folder_.names(), ElementsAre("photo.png"));
  EXPECT_THAT(log_.lines, IsEmpty());
}

TEST_F(FullDisk, OfWhatKilledRunsHaveLeftTakesAPhotoWhoseFileHasBeenMadeToo) {
  fillWith(kLeftover);
  EXPECT_TRUE(save(std::make_shared<EncodedPhoto>(EncodedPhoto{true, {{'m', 'a'}, {'d', 'e'}}, {}})));
  EXPECT_THAT(folder_.names(), ElementsAre("photo.png"));
}

TEST_F(FullDisk, OfOtherFilesTakesNothingAndTheLogSaysSoOnce) {
  fillWith("film.mkv");
  EXPECT_FALSE(save());
  EXPECT_THAT(folder_.names(), ElementsAre("film.mkv"));
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("No space left on device")));
}

}  // namespace
}  // namespace platform_linux
