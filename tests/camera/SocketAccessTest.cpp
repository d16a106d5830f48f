#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/SocketAccess.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_test {
namespace {

using platform::AVAuthorizationStatus;
using platform_linux::daemonSocketPaths;
using platform_linux::SocketAccess;
using testing::ElementsAre;

// A runtime folder of its own; the environment is put back by the next test's.
class SocketAccessTest : public testing::Test {
 public:
  SocketAccessTest() {
    for (const char* name : {"PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "USERPROFILE"})
      ::unsetenv(name);
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
  }
  ~SocketAccessTest() override {
    if (::getuid() == 0) {
      EXPECT_EQ(::seteuid(0), 0);
    }
  }

 protected:
  void makeSocket(mode_t mode) {
    const std::string path = folder_ / "pipewire-0";
    ASSERT_EQ(::mknod(path.c_str(), S_IFSOCK | 0600, 0), 0);
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
    // A superuser could not be refused anything: this one stops being one for the question.
    if (::getuid() == 0) {
      ASSERT_EQ(::seteuid(65534), 0);
    }
  }

  const test_support::TemporaryFolder folder_;
};

TEST_F(SocketAccessTest, IsGrantedWithoutADaemon) {
  EXPECT_EQ(SocketAccess().status(), AVAuthorizationStatus::Authorized);
}

TEST_F(SocketAccessTest, IsGrantedToWhomMayOpenTheSocket) {
  makeSocket(0666);
  EXPECT_EQ(SocketAccess().status(), AVAuthorizationStatus::Authorized);
}

TEST_F(SocketAccessTest, IsDeniedToWhomMayNotOpenTheSocket) {
  makeSocket(0);
  EXPECT_EQ(SocketAccess().status(), AVAuthorizationStatus::Denied);
  bool granted = true;
  SocketAccess().request([&](bool answer) { granted = answer; });
  EXPECT_FALSE(granted);
}

TEST_F(SocketAccessTest, LooksWhereTheLibraryLooks) {
  EXPECT_THAT(daemonSocketPaths(), ElementsAre(folder_ / "pipewire-0", "/run/pipewire/pipewire-0"));
  ::setenv("PIPEWIRE_RUNTIME_DIR", "/other", 1);
  ::setenv("PIPEWIRE_REMOTE", "mine", 1);
  EXPECT_THAT(daemonSocketPaths(), ElementsAre("/other/mine", "/run/pipewire/mine"));
  ::setenv("PIPEWIRE_REMOTE", "/one/socket", 1);
  EXPECT_THAT(daemonSocketPaths(), ElementsAre("/one/socket"));
}

}  // namespace
}  // namespace camera_test
