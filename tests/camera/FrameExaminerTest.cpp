#include <algorithm>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "platform/linux/camera/CameraThread.h"
#include "platform/linux/camera/FrameExaminer.h"
#include "tests/picture/PngReading.h"
#include "tests/picture/TestJpegs.h"

namespace camera_test {
namespace {

using namespace camera_shot_test;
using picture::Frame;
using platform_linux::CameraThread;
using platform_linux::EncodedPhoto;
using platform_linux::Exposure;
using platform_linux::FrameExaminerThread;
using platform_linux::FrameFinding;

const Picture kScene = photoPicture(320, 240, 1);

Frame jpegFrame() {
  Frame frame;
  frame.bytes = encodeJpeg(kScene);
  return frame;
}

Frame withoutItsSecondHalf(Frame frame) {
  frame.bytes.resize(frame.bytes.size() / 2);
  return frame;
}

Picture pictureIn(const EncodedPhoto& photo) {
  Bytes png;
  for (const auto& piece : photo.pieces)
    png.insert(png.end(), piece.begin(), piece.end());
  return decodePng(png);
}

/// The niceness of the thread of this process that has the highest.
int lowestPriority() {
  int niceness = ::getpriority(PRIO_PROCESS, 0);
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task"))
    niceness = std::max(niceness,
                        ::getpriority(PRIO_PROCESS, static_cast<id_t>(std::stoi(thread.path().filename()))));
  return niceness;
}

class FrameExaminer : public testing::Test {
 protected:
  ~FrameExaminer() override {
    loop_.end([] {});
  }

  FrameFinding examine(const Frame& frame, bool isMirrored = true) {
    std::promise<FrameFinding> finding;
    examiner_.examine(std::make_shared<Frame>(frame), {.isMirrored = isMirrored},
                      [&](const FrameFinding& found) { finding.set_value(found); });
    return finding.get_future().get();
  }
  std::optional<Exposure> measure(const Frame& frame) {
    std::promise<std::optional<Exposure>> finding;
    examiner_.measure(std::make_shared<Frame>(frame), [&](const auto& found) { finding.set_value(found); });
    return finding.get_future().get();
  }

  CameraThread loop_;
  FrameExaminerThread examiner_{loop_};
};

TEST_F(FrameExaminer, MakesTheFileOfAWholeJpegFrameAsItIsWanted) {
  const Frame frame = jpegFrame();
  const Picture decoded = referenceDecode(frame.bytes);
  const auto mirroredFinding = examine(frame);
  EXPECT_EQ(mirroredFinding.lost, 0);
  ASSERT_TRUE(mirroredFinding.file);
  EXPECT_TRUE(mirroredFinding.file->isMirrored);
  EXPECT_EQ(pictureIn(*mirroredFinding.file), mirrored(decoded));
  const auto finding = examine(frame, /*isMirrored=*/false);
  ASSERT_TRUE(finding.file);
  EXPECT_FALSE(finding.file->isMirrored);
  EXPECT_EQ(pictureIn(*finding.file), decoded);
}

TEST_F(FrameExaminer, OfADamagedFrameThereIsNoFileButHowMuchIsLost) {
  const auto finding = examine(withoutItsSecondHalf(jpegFrame()));
  EXPECT_FALSE(finding.file);
  EXPECT_EQ(finding.whyNot, "parts of it are missing");
  EXPECT_GT(finding.lost, 0.3);
  EXPECT_LT(finding.lost, 0.7);
}

TEST_F(FrameExaminer, OfWhatIsNoPictureAllIsLost) {
  Frame frame;
  frame.bytes = {0xFF, 0xD8, 1, 2, 3};
  const auto finding = examine(frame);
  EXPECT_FALSE(finding.file);
  EXPECT_EQ(finding.lost, 1);
}

TEST_F(FrameExaminer, LeavesTheFileOfAnUncompressedFrameToWhoKnowsWhereItGoes) {
  Frame frame;
  frame.format = picture::PixelFormat::RGB;
  frame.width = static_cast<int>(kScene.width);
  frame.height = static_cast<int>(kScene.height);
  frame.stride = frame.width * 3;
  frame.bytes = kScene.pixels;
  const auto whole = examine(frame);
  EXPECT_EQ(whole.lost, 0);
  EXPECT_FALSE(whole.file);
  EXPECT_EQ(examine(withoutItsSecondHalf(frame)).lost, 1);
}

TEST_F(FrameExaminer, MeasuresTheExposureOfWholeFramesOnly) {
  EXPECT_TRUE(measure(jpegFrame()));
  EXPECT_FALSE(measure(withoutItsSecondHalf(jpegFrame())));
}

TEST_F(FrameExaminer, YieldsWhileSomebodyWatches) {
  const int own = ::getpriority(PRIO_PROCESS, 0);
  examine(jpegFrame());
  EXPECT_EQ(lowestPriority(), own);
  std::promise<void> examined;
  examiner_.examine(std::make_shared<Frame>(jpegFrame()), {.isWatched = true},
                    [&](const FrameFinding&) { examined.set_value(); });
  examined.get_future().wait();
  EXPECT_EQ(lowestPriority(), std::max(own, 5));
  EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), own) << "of the examiner alone";
}

}  // namespace
}  // namespace camera_test
