#include <algorithm>
#include <cerrno>
#include <map>
#include <sstream>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/base/WriteSignals.h"
#include "platform/linux/storage/FileManager.h"
#include "tests/storage/ChildProcess.h"
#include "tests/storage/Files.h"
#include "tests/storage/LockHolder.h"

namespace storage_tests {

namespace {

using platform_linux::FileManager;

constexpr std::int64_t kMostBytes = 1'000'000;

TEST(FileManager, ALinkThatLeadsNowhereIsThere) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("nothing", folder / "link");
  EXPECT_TRUE(FileManager().fileExistsAtPath(folder / "link"));
  EXPECT_TRUE(FileManager().fileExistsAtPath(folder.path()));
}

TEST(FileManager, SaysWhyAFolderTakesNoFiles) {
  const TemporaryFolder folder;
  makeFile(folder / "file", "");
  const ClosedFolder closed(folder.path());
  EXPECT_EQ(FileManager().whyNotWritableDirectory(folder / "file"), ENOTDIR);
  EXPECT_EQ(FileManager().whyNotWritableDirectory(folder / "nothing"), ENOENT);
  EXPECT_EQ(FileManager().whyNotWritableDirectory("sftp://server/photos"), ENOENT);
  EXPECT_EQ(
      inChild([&] { return becomeNobody() ? FileManager().whyNotWritableDirectory(folder.path()) : -1; }),
      EACCES);
}

/// What a process with its own home folder and nothing else in its environment says.
template <typename Question>
int atHome(const std::string& home, Question question) {
  return inChild([&] {
    ::clearenv();
    ::setenv("HOME", home.c_str(), 1);
    FileManager files;
    return question(files) ? 0 : 1;
  });
}

TEST(FileManager, WritesTheHomeFolderAsATilde) {
  EXPECT_EQ(atHome("/home/ada",
                   [](FileManager& files) {
                     return files.abbreviatingWithTilde("/home/ada/Pictures") == "~/Pictures" &&
                            files.abbreviatingWithTilde("/home/ada") == "~" &&
                            files.abbreviatingWithTilde("/home/adam") == "/home/adam" &&
                            files.abbreviatingWithTilde("/mnt/home/ada") == "/mnt/home/ada";
                   }),
            0);
}

TEST(FileManager, ThePicturesFolderIsMadeWhenMissing) {
  const TemporaryFolder home;
  EXPECT_EQ(
      atHome(home.path(), [&](FileManager& files) { return files.picturesDirectory() == home / "Pictures"; }),
      0);
  EXPECT_TRUE(std::filesystem::is_directory(home / "Pictures"));
}

TEST(FileManager, ThePicturesFoldersPathIsToldWithoutMakingIt) {
  const TemporaryFolder home;
  EXPECT_EQ(
      atHome(home.path(), [&](FileManager& files) { return files.picturesPath() == home / "Pictures"; }), 0);
  EXPECT_FALSE(std::filesystem::exists(home / "Pictures"));
}

TEST(FileManager, ThePicturesFolderIsTheOneThatTheUserChose) {
  const TemporaryFolder home;
  std::filesystem::create_directory(home / ".config");
  makeFile(home / ".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Bilder/Kamera\"\n");
  EXPECT_EQ(atHome(home.path(),
                   [&](FileManager& files) { return files.picturesDirectory() == home / "Bilder/Kamera"; }),
            0);
  EXPECT_TRUE(std::filesystem::is_directory(home / "Bilder/Kamera"));
  makeFile(home / ".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/\"\n");
  EXPECT_EQ(atHome(home.path(), [&](FileManager& files) { return files.picturesDirectory() == home.path(); }),
            0);
}

TEST(FileManager, WithoutAHomeThereIsNoPicturesFolder) {
  const TemporaryFolder folder;
  EXPECT_EQ(atHome(folder / "nobody", [](FileManager& files) { return !files.picturesDirectory(); }), 0);
  EXPECT_FALSE(std::filesystem::exists(folder / "nobody"));
}

TEST(AppendLine, MakesFoldersAndFileForTheUserAlone) {
  const TemporaryFolder folder;
  EXPECT_TRUE(FileManager().appendLine(folder / "a/b/events", "line", kMostBytes));
  EXPECT_EQ(permissionsOf(folder / "a"), 0700U);
  EXPECT_EQ(permissionsOf(folder / "a/b"), 0700U);
  EXPECT_EQ(permissionsOf(folder / "a/b/events"), 0600U);
}

TEST(AppendLine, EndsALineThatWasCutOffFirst) {
  const TemporaryFolder folder;
  makeFile(folder / "events", "whole\nhal");
  EXPECT_TRUE(FileManager().appendLine(folder / "events", "next", kMostBytes));
  EXPECT_EQ(contentOf(folder / "events"), "whole\nhal\nnext\n");
}

TEST(AppendLine, ALineThatDoesNotFitLeavesNothingBehind) {
  const TemporaryFolder folder;
  makeFile(folder / "events", "whole\n");
  const int status = inChild([&] {
    const rlimit limit{20, 20};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    platform_linux::surviveFailedWrites();
    FileManager files;
    return !files.appendLine(folder / "events", std::string(100, 'x'), kMostBytes) &&
                   files.appendLine(folder / "events", "fits", kMostBytes)
               ? 0
               : 1;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(contentOf(folder / "events"), "whole\nfits\n");
}

TEST(AppendLine, AForeignLockHoldsNoLineBack) {
  const TemporaryFolder folder;
  makeFile(folder / "events", "whole\nhal");
  const LockHolder holder(folder / "events");
  EXPECT_TRUE(FileManager().appendLine(folder / "events", "next", kMostBytes));
  EXPECT_EQ(contentOf(folder / "events"), "whole\nhal\nnext\n");
}

TEST(AppendLine, ALineThatDoesNotFitIsNotTakenBackWithoutTheLock) {
  const TemporaryFolder folder;
  makeFile(folder / "events", "whole\n");
  const LockHolder holder(folder / "events");
  const int status = inChild([&] {
    const rlimit limit{20, 20};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    platform_linux::surviveFailedWrites();
    return FileManager().appendLine(folder / "events", std::string(100, 'x'), kMostBytes) ? 1 : 0;
  });
  EXPECT_EQ(status, 0);
  // Cutting the file could cut off what others have added meanwhile.
  EXPECT_EQ(contentOf(folder / "events"), "whole\n" + std::string(14, 'x'));
}

TEST(AppendLine, ADeviceIsWrittenToAsItIs) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("/dev/null", folder / "off");
  std::filesystem::create_symlink("/dev/full", folder / "full");
  EXPECT_TRUE(FileManager().appendLine(folder / "off", "line", kMostBytes));
  EXPECT_FALSE(FileManager().appendLine(folder / "full", "line", kMostBytes));
}

TEST(AppendLine, FailsWhereNoFileCanBe) {
  const TemporaryFolder folder;
  makeFile(folder / "file", "");
  EXPECT_FALSE(FileManager().appendLine(folder / "file/events", "line", kMostBytes));
  EXPECT_FALSE(FileManager().appendLine(folder.path(), "line", kMostBytes));
}

TEST(AppendLine, AFullFileBehindALinkIsKeptBesideItsTarget) {
  const TemporaryFolder folder;
  makeFile(folder / "elsewhere", "old\n");
  std::filesystem::create_symlink(folder / "elsewhere", folder / "events");
  EXPECT_TRUE(FileManager().appendLine(folder / "events", "new", 5));
  EXPECT_EQ(contentOf(folder / "elsewhere.1"), "old\n");
  EXPECT_EQ(contentOf(folder / "elsewhere"), "new\n");
}

/// They fill the file one and a half times: it is set aside once meanwhile, and no line is lost by that.
TEST(AppendLine, LinesOfManyProcessesNeverMix) {
  constexpr int kProcesses = 8;
  constexpr int kLines = 1000;
  const TemporaryFolder folder;
  std::vector<pid_t> writers;
  for (int process = 0; process < kProcesses; ++process) {
    const pid_t writer = ::fork();
    if (writer == 0) {
      bool fine = true;
      FileManager files;
      for (int line = 0; line < kLines; ++line)
        fine = files.appendLine(folder / "events",
                                std::to_string(process) + std::string(200, 'a') + std::to_string(line),
                                kMostBytes) &&
               fine;
      std::_Exit(fine ? 0 : 1);
    }
    writers.push_back(writer);
  }
  for (const pid_t writer : writers) {
    int status = -1;
    ::waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
  }
  std::map<std::string, int> next;
  std::istringstream all(contentOf(folder / "events.1") + contentOf(folder / "events"));
  for (std::string line; std::getline(all, line);) {
    const std::string process = line.substr(0, 1);
    EXPECT_EQ(line, process + std::string(200, 'a') + std::to_string(next[process]++));
  }
  EXPECT_EQ(next.size(), std::size_t{kProcesses});
  EXPECT_TRUE(std::all_of(next.begin(), next.end(), [](const auto& each) { return each.second == kLines; }));
}

}  // namespace

}  // namespace storage_tests
