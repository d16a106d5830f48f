// What tests leave that are killed: nothing, once the next one has run.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/base/FileDescriptor.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

/// Another test, which stays within its work until it is killed.
class OtherTest {
 public:
  /// `work` is to call the function that it is given, with a text for this test, and never to return from it.
  explicit OtherTest(const std::function<void(const std::function<void(const std::string&)>&)>& work) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    const platform_linux::FileDescriptor told(ends[0]);
    platform_linux::FileDescriptor tell(ends[1]);
    process_ = ::fork();
    if (process_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      work([&](const std::string& text) { stay(tell.get(), text); });
    }
    tell = platform_linux::FileDescriptor();
    char text[256] = {};
    EXPECT_GT(::read(told.get(), text, sizeof text - 1), 0);
    text_ = text;
  }
  OtherTest(const OtherTest&) = delete;
  OtherTest& operator=(const OtherTest&) = delete;
  ~OtherTest() { kill(); }

  const std::string& text() const { return text_; }
  pid_t id() const { return process_; }
  void kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = 0;
  }

 private:
  [[noreturn]] static void stay(int tell, const std::string& text) {
    if (::write(tell, text.data(), text.size()) < 0) std::_Exit(EXIT_FAILURE);
    while (true)
      ::pause();
  }

  pid_t process_ = 0;
  std::string text_;
};

/// Where this test's folders are, and no other's: one that runs beside it would clear up, too.
class OwnPlace {
 public:
  OwnPlace() : before_(fs::temp_directory_path()) { ::setenv("TMPDIR", place_.path().c_str(), 1); }
  OwnPlace(const OwnPlace&) = delete;
  OwnPlace& operator=(const OwnPlace&) = delete;
  ~OwnPlace() { ::setenv("TMPDIR", before_.c_str(), 1); }

 private:
  const fs::path before_;
  const TemporaryFolder place_;
};

TEST(TemporaryFolder, OfAKilledTestIsRemovedByTheNextOneAndOfALivingOneStays) {
  const OwnPlace place;
  OtherTest other([](const auto& stay) {
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << "text";
    stay(folder.path());
  });
  { const TemporaryFolder next; }
  EXPECT_TRUE(fs::exists(other.text() + "/file"));
  other.kill();
  EXPECT_TRUE(fs::exists(other.text() + "/file"));
  { const TemporaryFolder next; }
  EXPECT_FALSE(fs::exists(other.text()));
  EXPECT_FALSE(fs::exists(fs::path(other.text()).parent_path()));
}

TEST(TemporaryFolder, LeavesNothing) {
  fs::path path;
  {
    const TemporaryFolder folder;
    path = folder.path();
    EXPECT_TRUE(folder.names().empty());
  }
  EXPECT_FALSE(fs::exists(path.parent_path()));
}

TEST(PrivateBus, EndsWithATestThatIsKilled) {
  OtherTest other([](const auto& stay) {
    const PrivateBus bus{PrivateBus::Environment{}};
    stay("started");
  });
  const std::string number = std::to_string(other.id());
  pid_t bus = 0;
  std::ifstream("/proc/" + number + "/task/" + number + "/children") >> bus;
  ASSERT_NE(bus, 0);
  pollfd end{static_cast<int>(::syscall(SYS_pidfd_open, bus, 0)), POLLIN, 0};
  ASSERT_GE(end.fd, 0);
  const platform_linux::FileDescriptor owned(end.fd);
  other.kill();
  EXPECT_EQ(::poll(&end, 1, std::chrono::milliseconds(kPatience).count()), 1);
  ::kill(bus, SIGKILL);
}

}  // namespace
}  // namespace test_support
