// Every system call of a save, of the settings and of the event lines fails once, in each way in which disks
// fail: what was there stays, what is announced is there, and the cause is told.
#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/storage/AtomicFile.h"
#include "platform/linux/storage/FileManager.h"
#include "platform/linux/storage/UserDefaults.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/storage/FaultySystem.h"
#include "tests/storage/Files.h"

namespace storage_tests {
namespace {

using platform_linux::AtomicFile;
using platform_linux::FileManager;
using platform_linux::UserDefaults;

constexpr std::array kDiskErrors{EIO, ENOSPC, EDQUOT, EROFS, EINTR, EMFILE};
/// More calls than any of the operations makes.
constexpr int kMostCalls = 60;

const std::vector<std::uint8_t> kBytes(100'000, 'n');
const std::string kNew(kBytes.begin(), kBytes.end());

struct Save {
  bool succeeded = false;
  int error = 0;
};

Save save(const std::string& path) {
  int error = 0;
  const auto file = AtomicFile::open(path, error, 0600);
  if (!file) return {false, error};
  const bool succeeded = file->write(kBytes) && file->commit();
  return {succeeded, file->error()};
}

/// Runs `attempt(which)` with each of the calls failing in turn, until one attempt makes no such call.
template <typename Attempt>
void withEachCallFailing(int error, FaultySystem::Fault fault, Attempt attempt) {
  int which = 0;
  for (bool failed = true; failed; ++which) {
    ASSERT_LT(which, kMostCalls);
    failed = attempt(which, error, fault);
  }
  EXPECT_GT(which, 1) << "no call was made to fail";
}

bool savesWholeOrNot(int which, int error, FaultySystem::Fault fault) {
  const TemporaryFolder folder;
  const std::string path = folder / "photo.png";
  makeFile(path, "old");
  Save result;
  std::string failed;
  {
    FaultySystem system(which, error, fault);
    result = save(path);
    failed = system.failedCall();
  }
  const std::string context =
      failed + " number " + std::to_string(which) + ", error " + std::to_string(error);
  if (result.succeeded) {
    EXPECT_EQ(contentOf(path), kNew) << context;
  } else {
    EXPECT_EQ(result.error, error) << context;
    // Only a folder that cannot be written to the disk leaves open which of the two it is.
    EXPECT_TRUE(contentOf(path) == "old" || (failed == "fsync" && contentOf(path) == kNew)) << context;
    EXPECT_EQ(folder.names().size(), 1U) << context;
  }
  return !failed.empty();
}

TEST(SystemFaults, ASaveIsWholeOrSaysWhyNot) {
  for (const int error : kDiskErrors)
    withEachCallFailing(error, FaultySystem::Fault::Error, savesWholeOrNot);
}

TEST(SystemFaults, AFileIsSynchronisedBeforeAndAfterItGetsItsName) {
  // FAT writes a renamed file's size and place only with the file itself.
  const TemporaryFolder folder;
  std::vector<std::string> calls;
  withEachCallFailing(EIO, FaultySystem::Fault::Error, [&](int which, int error, FaultySystem::Fault fault) {
    const FaultySystem system(which, error, fault);
    std::ignore = save(folder / "photo.png");
    const std::string call(system.failedCall());
    if (!call.empty()) calls.push_back(call);
    return !call.empty();
  });
  const auto rename = std::find(calls.begin(), calls.end(), "rename");
  EXPECT_EQ(std::count(calls.begin(), rename, "fsync"), 1);
  EXPECT_EQ(std::count(rename, calls.end(), "fsync"), 2);
}

TEST(SystemFaults, AShortWriteGoesOn) {
  const TemporaryFolder folder;
  {
    const FaultySystem system(0, 0, FaultySystem::Fault::ShortWrite);
    EXPECT_TRUE(save(folder / "photo.png").succeeded);
    EXPECT_EQ(system.failedCall(), "write");
  }
  EXPECT_EQ(contentOf(folder / "photo.png"), kNew);
}

TEST(SystemFaults, AnInterruptedCallIsMadeAgain) {
  const TemporaryFolder folder;
  withEachCallFailing(
      EINTR, FaultySystem::Fault::Error, [&](int which, int error, FaultySystem::Fault fault) {
        const FaultySystem system(which, error, fault);
        const Save result = save(folder / "photo.png");
        const std::string call(system.failedCall());
        EXPECT_TRUE(result.succeeded || (call != "open" && call != "write" && call != "fsync"))
            << call << ' ' << which;
        return !call.empty();
      });
}

TEST(SystemFaults, AFileSystemThatCannotSynchroniseKeepsThePhoto) {
  // Network and user-space file systems answer so.
  for (const int error : {EINVAL, ENOTSUP, ENOSYS}) {
    const TemporaryFolder folder;
    {
      const FaultySystem system("fsync", error);
      EXPECT_TRUE(save(folder / "photo.png").succeeded) << error;
      EXPECT_EQ(system.failedCall(), "fsync");
    }
    EXPECT_EQ(contentOf(folder / "photo.png"), kNew) << error;
  }
}

class SettingsFaults : public testing::Test {
 protected:
  bool keepOldOrNew(int which, int error, FaultySystem::Fault fault) {
    const TemporaryFolder folder;
    const std::string path = folder / "settings.ini";
    makeFile(path, "[Defaults]\nOther=1\nShowPreview=true\n");
    UserDefaults defaults(path, "Defaults", log_);
    defaults.setBool(false, "ShowPreview");
    journal_.clear();
    bool stored = false;
    std::string failed;
    {
      FaultySystem system(which, error, fault);
      stored = defaults.synchronize();
      failed = system.failedCall();
    }
    const std::string context =
        failed + " number " + std::to_string(which) + ", error " + std::to_string(error);
    const std::string expected = "[Defaults]\nOther=1\nShowPreview=false\n";
    const std::string content = contentOf(path);
    EXPECT_TRUE(content == expected || (!stored && content == "[Defaults]\nOther=1\nShowPreview=true\n"))
        << context << ": " << content;
    EXPECT_EQ(folder.names().size(), 1U) << context;
    EXPECT_TRUE(stored || !journal_.lines().empty()) << context << ": nobody was told";
    // What could not be stored is stored by the next attempt.
    EXPECT_TRUE(defaults.synchronize()) << context;
    EXPECT_EQ(contentOf(path), expected) << context;
    return !failed.empty();
  }

  fakes::Journal journal_;
  fakes::FakeLog log_{journal_};
};

TEST_F(SettingsFaults, NothingIsLostAndTheJournalSaysWhatWasNotStored) {
  for (const int error : kDiskErrors)
    withEachCallFailing(
        error, FaultySystem::Fault::Error,
        [&](int which, int code, FaultySystem::Fault fault) { return keepOldOrNew(which, code, fault); });
}

bool appendsWholeLinesOnly(int which, int error, FaultySystem::Fault fault) {
  const TemporaryFolder folder;
  const std::string path = folder / "events/usage-events.jsonl";
  FileManager files;
  EXPECT_TRUE(files.appendLine(path, "first", 1000));
  bool appended = false;
  bool failed = false;
  {
    FaultySystem system(which, error, fault);
    appended = files.appendLine(path, "second", 1000);
    failed = !system.failedCall().empty();
  }
  EXPECT_TRUE(files.appendLine(path, "third", 1000));
  EXPECT_EQ(contentOf(path), appended ? "first\nsecond\nthird\n" : "first\nthird\n")
      << "call number " << which << ", error " << error;
  return failed;
}

TEST(SystemFaults, AnEventIsAWholeLineOrNone) {
  for (const int error : kDiskErrors)
    withEachCallFailing(error, FaultySystem::Fault::Error, appendsWholeLinesOnly);
  withEachCallFailing(0, FaultySystem::Fault::ShortWrite, appendsWholeLinesOnly);
}

}  // namespace
}  // namespace storage_tests
