#include <cerrno>
#include <chrono>
#include <climits>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/base/WriteSignals.h"
#include "platform/linux/storage/AtomicFile.h"
#include "platform/linux/storage/TemporaryName.h"
#include "tests/storage/ChildProcess.h"
#include "tests/storage/Files.h"

namespace storage_tests {

namespace {

using platform_linux::AtomicFile;
using platform_linux::isTemporaryName;
using platform_linux::makeTemporaryName;
using testing::ElementsAre;
using testing::IsEmpty;

bool write(AtomicFile& file, std::string_view text) {
  const void* const bytes = text.data();
  return file.write({static_cast<const std::uint8_t*>(bytes), text.size()});
}

std::unique_ptr<AtomicFile> open(const std::string& path, std::optional<mode_t> mode = std::nullopt) {
  int error = 0;
  auto file = AtomicFile::open(path, error, mode);
  EXPECT_TRUE(file) << error;
  return file;
}

int whyNotOpened(const std::string& path) {
  int error = 0;
  EXPECT_FALSE(AtomicFile::open(path, error));
  return error;
}

TEST(AtomicFile, AppearsWholeAtTheCommitAndNotBefore) {
  const TemporaryFolder folder;
  const auto file = open(folder / "photo.png");
  ASSERT_TRUE(write(*file, "first "));
  ASSERT_TRUE(write(*file, "second"));
  EXPECT_FALSE(std::filesystem::exists(folder / "photo.png"));
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(contentOf(folder / "photo.png"), "first second");
  EXPECT_THAT(folder.names(), ElementsAre("photo.png"));
}

TEST(AtomicFile, ReplacesWhatHadTheName) {
  const TemporaryFolder folder;
  makeFile(folder / "photo.png", "old");
  const auto file = open(folder / "photo.png");
  ASSERT_TRUE(write(*file, "new"));
  EXPECT_EQ(contentOf(folder / "photo.png"), "old");
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(contentOf(folder / "photo.png"), "new");
}

TEST(AtomicFile, LeavesNoTraceWithoutACommit) {
  const TemporaryFolder folder;
  ASSERT_TRUE(write(*open(folder / "photo.png"), "bytes"));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(AtomicFile, TakesNothingAfterTheCommit) {
  const TemporaryFolder folder;
  const auto file = open(folder / "photo.png");
  ASSERT_TRUE(write(*file, "bytes"));
  ASSERT_TRUE(file->commit());
  EXPECT_FALSE(write(*file, "more"));
  EXPECT_EQ(contentOf(folder / "photo.png"), "bytes");
}

TEST(AtomicFile, ReplacesALinkAndNotWhatItLeadsTo) {
  const TemporaryFolder folder;
  makeFile(folder / "target", "kept");
  std::filesystem::create_symlink("target", folder / "photo.png");
  const auto file = open(folder / "photo.png");
  ASSERT_TRUE(write(*file, "new") && file->commit());
  EXPECT_FALSE(std::filesystem::is_symlink(folder / "photo.png"));
  EXPECT_EQ(contentOf(folder / "target"), "kept");
}

TEST(AtomicFile, FollowsTheUmaskUnlessAModeIsGiven) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0027);
  EXPECT_TRUE(open(folder / "photo.png")->commit());
  EXPECT_TRUE(open(folder / "settings", 0606)->commit());
  ::umask(before);
  EXPECT_EQ(permissionsOf(folder / "photo.png"), 0640U);
  EXPECT_EQ(permissionsOf(folder / "settings"), 0606U);
}

TEST(AtomicFile, AFolderOfThatNameStays) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder / "photo.png");
  const auto file = open(folder / "photo.png");
  EXPECT_FALSE(file->commit());
  EXPECT_EQ(file->error(), EISDIR);
  EXPECT_TRUE(std::filesystem::is_directory(folder / "photo.png"));
}

TEST(AtomicFile, SaysWhyItCannotBegin) {
  const TemporaryFolder folder;
  makeFile(folder / "file", "");
  EXPECT_EQ(whyNotOpened(folder / "nowhere/photo.png"), ENOENT);
  EXPECT_EQ(whyNotOpened(folder / "file/photo.png"), ENOTDIR);
  EXPECT_EQ(whyNotOpened(folder / ""), EISDIR);
  const ClosedFolder closed(folder.path());
  EXPECT_EQ(inChild([&] { return becomeNobody() ? whyNotOpened(folder / "photo.png") : -1; }), EACCES);
}

TEST(AtomicFile, AFullDiskIsAFailureThatLeavesTheOldFile) {
  const TemporaryFolder folder;
  makeFile(folder / "photo.png", "old");
  // A limit on the size of files fails a write in the middle, as a full disk does.
  const int why = inChild([&] {
    const rlimit limit{10000, 10000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    platform_linux::surviveFailedWrites();
    const auto file = open(folder / "photo.png");
    const std::string bytes(9000, 'x');
    const bool first = write(*file, bytes);
    const bool second = write(*file, bytes);
    return first && !second && !write(*file, "x") && !file->commit() ? file->error() : -1;
  });
  EXPECT_EQ(why, EFBIG);
  EXPECT_EQ(contentOf(folder / "photo.png"), "old");
}

TEST(AtomicFile, TheLongestNameIsStillPossible) {
  const TemporaryFolder folder;
  std::string name;
  while (name.size() + 2 <= NAME_MAX)
    name += "é";
  const auto file = open(folder / name);
  ASSERT_TRUE(file && write(*file, "bytes") && file->commit());
  EXPECT_THAT(folder.names(), ElementsAre(name));
}

TEST(AtomicFile, TemporaryNamesAreRecognised) {
  EXPECT_TRUE(isTemporaryName(makeTemporaryName("Camera shot 2026-11-21 12.00.00.png")));
  EXPECT_TRUE(isTemporaryName(makeTemporaryName("")));
  for (const char* const other : {"", ".quillo-part", "photo.png", ".photo.png.abcdef.quillo-par",
                                  ".photo.png.ABCDEF.quillo-part", "photo.png.abcdef.quillo-part"})
    EXPECT_FALSE(isTemporaryName(other)) << other;
}

TEST(Leftovers, OfTheLivingStay) {
  const TemporaryFolder folder;
  const auto file = open(folder / "photo.png");
  EXPECT_EQ(platform_linux::removeLeftovers(folder.path()), 0);
  ASSERT_TRUE(write(*file, "bytes") && file->commit());
  EXPECT_EQ(contentOf(folder / "photo.png"), "bytes");
}

TEST(Leftovers, OfTheDeadGoAndNothingElseDoes) {
  const TemporaryFolder folder;
  makeFile(folder / makeTemporaryName("photo.png"), "half");
  makeFile(folder / makeTemporaryName("other.png"), "half");
  std::filesystem::create_directory(folder / makeTemporaryName("folder"));
  makeFile(folder / "photo.png", "whole");
  std::filesystem::create_symlink("photo.png", folder / makeTemporaryName("link"));
  EXPECT_EQ(platform_linux::removeLeftovers(folder.path()), 2);
  EXPECT_EQ(folder.names().size(), 3U);
  EXPECT_EQ(contentOf(folder / "photo.png"), "whole");
}

/// As other machines name them, and as this program did before it named machines.
const std::vector<std::string> kOthersNames{".photo.png.a1b2c3.d4e5f6.quillo-part",
                                            ".photo.png.d4e5f6.quillo-part"};

TEST(Leftovers, OfOtherMachinesStayForADayBecauseTheirLocksMayNotBeSeen) {
  const TemporaryFolder folder;
  for (const std::string& name : kOthersNames)
    makeFile(folder / name, "on its way");
  EXPECT_EQ(platform_linux::removeLeftovers(folder.path()), 0);
  EXPECT_EQ(folder.names().size(), kOthersNames.size());
}

TEST(Leftovers, OfOtherMachinesGoAfterADay) {
  const TemporaryFolder folder;
  for (const std::string& name : kOthersNames) {
    makeFile(folder / name, "half");
    std::filesystem::last_write_time(folder / name,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(25));
  }
  EXPECT_EQ(platform_linux::removeLeftovers(folder.path()), 2);
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(Leftovers, OfAFolderThatIsNotThereAreNone) {
  EXPECT_EQ(platform_linux::removeLeftovers("/nowhere"), 0);
}

}  // namespace

}  // namespace storage_tests
