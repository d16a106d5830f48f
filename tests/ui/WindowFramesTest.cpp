#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/linux/ui/WindowFrames.h"

namespace {

using platform_linux::WindowFrame;
using platform_linux::WindowFrames;

class WindowFramesTest : public testing::Test {
 public:
  WindowFramesTest() : folder_(testing::TempDir() + "/camera-shot-frames-" + std::to_string(getpid())) {}
  ~WindowFramesTest() override { std::filesystem::remove_all(folder_); }

 protected:
  void write(const std::string& text) {
    std::filesystem::create_directories(folder_);
    std::ofstream(folder_ + "/windows.ini") << text;
  }

  const std::string folder_;
};

TEST_F(WindowFramesTest, KeepsWhatWasSaved) {
  const WindowFrame frame{800, 600, true, WindowFrame::Position{-20, 40}};
  WindowFrames(folder_).save("Preview", frame);
  EXPECT_EQ(WindowFrames(folder_).load("Preview"), frame);
  EXPECT_EQ(WindowFrames(folder_).load("Other"), std::nullopt);
}

TEST_F(WindowFramesTest, KeepsTheFramesOfOthers) {
  WindowFrames frames(folder_);
  frames.save("One", {800, 600, false, {}});
  frames.save("Two", {400, 300, false, {}});
  EXPECT_EQ(frames.load("One"), (WindowFrame{800, 600, false, {}}));
}

TEST_F(WindowFramesTest, AnUnknownPlaceLeavesTheKnownOne) {
  WindowFrames frames(folder_);
  frames.save("One", {800, 600, false, WindowFrame::Position{1, 2}});
  frames.save("One", {801, 600, false, {}});
  EXPECT_EQ(frames.load("One"), (WindowFrame{801, 600, false, WindowFrame::Position{1, 2}}));
}

TEST_F(WindowFramesTest, WithoutAFileThereIsNoFrame) {
  EXPECT_EQ(WindowFrames(folder_).load("One"), std::nullopt);
}

TEST_F(WindowFramesTest, NonsenseIsNoFrame) {
  for (const auto* text :
       {"not a key file", "[One]\nWidth=0\nHeight=5\n", "[One]\nWidth=-3\nHeight=5\n",
        "[One]\nWidth=99999999\nHeight=5\n", "[One]\nWidth=abc\nHeight=5\n", "[One]\nWidth=5\n"}) {
    write(text);
    EXPECT_EQ(WindowFrames(folder_).load("One"), std::nullopt) << text;
  }
}

TEST_F(WindowFramesTest, AFolderThatCannotBeMadeIsSilence) {
  WindowFrames frames("/proc/no-such-folder");
  frames.save("One", {800, 600, false, {}});
  EXPECT_EQ(frames.load("One"), std::nullopt);
}

}  // namespace
