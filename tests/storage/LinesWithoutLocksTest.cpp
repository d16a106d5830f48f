// Event lines on file systems that have no locks, as some network and user-space ones.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/storage/FileManager.h"
#include "tests/storage/FaultySystem.h"
#include "tests/storage/Files.h"

namespace storage_tests {
namespace {

using platform_linux::FileManager;

class LinesWithoutLocks : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const std::string events_ = folder_ / "events";
  FileManager files_;
  const FaultySystem system_{"flock", ENOLCK};
};

TEST_F(LinesWithoutLocks, AFullFileIsSetAsideToo) {
  makeFile(events_, "old\n");
  EXPECT_TRUE(files_.appendLine(events_, "new", 5));
  EXPECT_EQ(contentOf(events_ + ".1"), "old\n");
  EXPECT_EQ(contentOf(events_), "new\n");
  EXPECT_FALSE(std::filesystem::exists(events_ + ".turn"));
}

TEST_F(LinesWithoutLocks, WhileAnotherProcessSetsTheFileAsideLinesGoOnIntoIt) {
  makeFile(events_, "old\n");
  makeFile(events_ + ".turn", "");
  EXPECT_TRUE(files_.appendLine(events_, "new", 5));
  EXPECT_EQ(contentOf(events_), "old\nnew\n");
  EXPECT_TRUE(std::filesystem::exists(events_ + ".turn"));
}

TEST_F(LinesWithoutLocks, AProcessThatWasKilledMeanwhileDoesNotKeepTheFileGrowing) {
  makeFile(events_, "old\n");
  makeFile(events_ + ".turn", "");
  std::filesystem::last_write_time(events_ + ".turn",
                                   std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_TRUE(files_.appendLine(events_, "new", 5));
  EXPECT_TRUE(files_.appendLine(events_, "newer", 5));
  EXPECT_EQ(contentOf(events_ + ".1"), "old\nnew\n");
  EXPECT_EQ(contentOf(events_), "newer\n");
}

/// What one of many processes writes; together they fill the file one and a half times.
constexpr int kProcesses = 8;
constexpr int kLines = 50;
constexpr std::int64_t kFull = 26'000;

std::string eventLine(int process, int line) {
  return std::to_string(process) + ' ' + std::string(90, 'a') + ' ' + std::to_string(line);
}

bool writeLines(const std::string& path, int process) {
  FileManager files;
  bool all = true;
  for (int line = 0; line < kLines; ++line)
    all = files.appendLine(path, eventLine(process, line), kFull) && all;
  return all;
}

/// Runs `work(number)` in so many processes at the same time; whether it answered true in all of them.
template <typename Work>
bool inProcesses(int count, Work work) {
  std::vector<pid_t> processes;
  for (int number = 0; number < count; ++number) {
    const pid_t process = ::fork();
    if (process == 0) std::_Exit(work(number) ? 0 : 1);
    processes.push_back(process);
  }
  return std::count_if(processes.begin(), processes.end(), [](pid_t process) {
           int status = -1;
           return ::waitpid(process, &status, 0) == process && status == 0;
         }) == count;
}

TEST_F(LinesWithoutLocks, LinesOfManyProcessesAreAllThereAndWholeThoughTheFileIsSetAsideMeanwhile) {
  std::multiset<std::string> expected;
  for (int process = 0; process < kProcesses; ++process)
    for (int line = 0; line < kLines; ++line)
      expected.insert(eventLine(process, line));
  for (int round = 0; round < 20; ++round) {
    const std::string path = folder_ / std::to_string(round);
    EXPECT_TRUE(inProcesses(kProcesses, [&](int process) { return writeLines(path, process); }));
    std::multiset<std::string> written;
    std::istringstream all(contentOf(path + ".1") + contentOf(path));
    for (std::string line; std::getline(all, line);)
      written.insert(line);
    EXPECT_EQ(written, expected);
    EXPECT_LT(contentOf(path).size(), kFull);
  }
}

}  // namespace
}  // namespace storage_tests
