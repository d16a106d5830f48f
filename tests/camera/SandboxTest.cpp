#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/Sandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_test {
namespace {

using platform_linux::runsInSandbox;
using test_support::TemporaryFolder;

/// A file system of its own with an executable in it.
class SandboxTest : public testing::Test {
 public:
  ~SandboxTest() override { ::unsetenv("SNAP"); }

 protected:
  SandboxTest() {
    ::unsetenv("SNAP");
    std::filesystem::create_directories(root_ / "snap/shot/1/bin");
    std::filesystem::create_directories(root_ / "snap/editor/1");
    makeFile("snap/shot/1/bin/shot");
    std::filesystem::create_symlink("1", root_ / "snap/shot/current");
  }

  void makeFile(const std::string& path) const { const std::ofstream file(root_ / path); }
  void startFromSnap(const std::string& folder) { ::setenv("SNAP", (root_ / folder).c_str(), 1); }
  bool answer() const { return runsInSandbox(root_, root_ / "snap/shot/1/bin/shot"); }

  const TemporaryFolder folder_;
  const std::filesystem::path root_ = folder_.path();
};

TEST_F(SandboxTest, NothingIsNoSandbox) {
  EXPECT_FALSE(answer());
}

TEST_F(SandboxTest, FlatpakIs) {
  makeFile(".flatpak-info");
  EXPECT_TRUE(answer());
}

TEST_F(SandboxTest, TheProgramsOwnSnapIs) {
  startFromSnap("snap/shot/1");
  EXPECT_TRUE(answer());
  startFromSnap("snap/shot/current");
  EXPECT_TRUE(answer());
}

TEST_F(SandboxTest, AnotherSnapThatStartedTheProgramIsNot) {
  startFromSnap("snap/editor/1");
  EXPECT_FALSE(answer());
  startFromSnap("snap/sh");
  EXPECT_FALSE(answer());
}

TEST_F(SandboxTest, ThisTestIsNot) {
  EXPECT_FALSE(runsInSandbox());
}

}  // namespace
}  // namespace camera_test
