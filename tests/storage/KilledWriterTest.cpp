// Writers that are killed at any moment leave a whole file or none under the final name.
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/storage/AtomicFile.h"
#include "platform/linux/storage/UserDefaults.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/storage/ChildProcess.h"
#include "tests/storage/Files.h"

namespace storage_tests {

namespace {

using platform_linux::AtomicFile;
using platform_linux::FileDescriptor;

constexpr int kPieces = 40;
const std::vector<std::uint8_t> kPiece(3000, 'p');

/// Writes one file, telling of each step by a byte.
[[noreturn]] void writeSlowly(const std::string& path, int tell) {
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  bool fine = file != nullptr;
  for (int i = 0; fine && i < kPieces; ++i)
    fine = file->write(kPiece) && ::write(tell, "w", 1) == 1;
  fine = fine && file->commit() && ::write(tell, "c", 1) == 1;
  std::_Exit(fine ? 0 : 1);
}

/// Kills a writer once it has told of `steps` steps; it goes on meanwhile, so the blow falls anywhere after
/// them.
void killAfter(int steps, const std::string& path) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(::pipe(ends), 0);
  const FileDescriptor told(ends[0]);
  const pid_t writer = ::fork();
  if (writer == 0) writeSlowly(path, ends[1]);
  ::close(ends[1]);
  char step = 0;
  for (int i = 0; i < steps && ::read(told.get(), &step, 1) == 1; ++i) {
  }
  ::kill(writer, SIGKILL);
  ::waitpid(writer, nullptr, 0);
}

TEST(KilledWriter, LeavesAWholeFileOrNone) {
  const TemporaryFolder folder;
  const std::size_t whole = kPiece.size() * kPieces;
  int killedHalfWay = 0;
  for (int round = 0; round < 10; ++round)
    for (int steps = 0; steps <= kPieces + 1; ++steps) {
      const std::string path = folder / "photo.png";
      std::filesystem::remove(path);
      killAfter(steps, path);
      EXPECT_TRUE(!std::filesystem::exists(path) || std::filesystem::file_size(path) == whole);
      killedHalfWay += platform_linux::removeLeftovers(folder.path());
      EXPECT_LE(folder.names().size(), 1U);
    }
  EXPECT_GT(killedHalfWay, 0);
}

TEST(KilledWriter, TheOldFileStaysWhole) {
  const TemporaryFolder folder;
  const std::string path = folder / "photo.png";
  const std::size_t whole = kPiece.size() * kPieces;
  for (int steps = 0; steps <= kPieces + 1; ++steps) {
    makeFile(path, "old");
    killAfter(steps, path);
    const std::string content = contentOf(path);
    EXPECT_TRUE(content == "old" || content.size() == whole) << content.size();
  }
}

TEST(KilledWriter, OfSettingsLeavesNothingPastTheNextWrite) {
  const TemporaryFolder folder;
  fakes::Journal journal;
  fakes::FakeLog log(journal);
  const std::string path = folder / "settings.ini";
  makeFile(path, "[Defaults]\nShowPreview=true\n");
  const int status = inChild([&]() -> int {
    int error = 0;
    const auto file = AtomicFile::open(path, error);
    // Ends as a kill does: nothing is tidied up.
    std::_Exit(file && file->write(kPiece) ? 0 : 1);
  });
  ASSERT_EQ(status, 0);
  ASSERT_EQ(folder.names().size(), 2U);

  platform_linux::UserDefaults defaults(path, "Defaults", log);
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(folder.names().size(), 2U) << "nothing had changed, nothing was to be written";
  defaults.setBool(false, "ShowPreview");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_THAT(folder.names(), testing::ElementsAre("settings.ini"));
  EXPECT_EQ(contentOf(path), "[Defaults]\nShowPreview=false\n");
}

TEST(KilledWriter, IsClearedAwayAfterWithoutHarmToTheLiving) {
  const TemporaryFolder folder;
  const pid_t test = ::getpid();
  const pid_t cleaner = ::fork();
  while (cleaner == 0 && ::getppid() == test)
    platform_linux::removeLeftovers(folder.path());
  if (cleaner == 0) std::_Exit(0);
  for (int i = 0; i < 100; ++i) {
    int error = 0;
    const auto file = AtomicFile::open(folder / "photo.png", error);
    EXPECT_TRUE(file && file->write(kPiece) && file->commit()) << i << ": " << error;
  }
  ::kill(cleaner, SIGKILL);
  ::waitpid(cleaner, nullptr, 0);
  EXPECT_THAT(folder.names(), testing::ElementsAre("photo.png"));
}

}  // namespace

}  // namespace storage_tests
