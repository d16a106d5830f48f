#include <sys/wait.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/storage/SettingText.h"
#include "platform/linux/storage/UserDefaults.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/storage/ChildProcess.h"
#include "tests/storage/Files.h"
#include "tests/storage/LockHolder.h"

namespace storage_tests {

namespace {

using platform_linux::UserDefaults;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class UserDefaultsTest : public testing::Test {
 protected:
  UserDefaults open(const std::string& group = "CameraShot") { return {path_, group, log_}; }

  TemporaryFolder folder_;
  const std::string path_ = folder_ / "settings.ini";
  fakes::Journal journal_;
  fakes::FakeLog log_{journal_};
};

TEST_F(UserDefaultsTest, WithoutAFileThereAreNoValuesAndNoneIsMade) {
  auto defaults = open();
  EXPECT_FALSE(defaults.objectForKey("ShowPreview"));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_THAT(folder_.names(), IsEmpty());
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(UserDefaultsTest, KeepsCommentsAndWhatItDoesNotKnow) {
  makeFile(path_, "# mine\n\n[Other]\nkey=1\n\n[CameraShot]\n# why\nShowPreview=2\nUnknown=x\n");
  auto defaults = open();
  EXPECT_EQ(defaults.integerForKey("ShowPreview"), 2);
  defaults.setBool(false, "ShowPreview");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_EQ(contentOf(path_),
            "# mine\n\n[Other]\nkey=1\n\n[CameraShot]\n# why\nShowPreview=false\nUnknown=x\n");
}

TEST_F(UserDefaultsTest, CarriesOverOnlyWhatWasSetHere) {
  makeFile(path_, "[CameraShot]\nShowPreview=true\nVideoSourceID=desk\n");
  auto defaults = open();
  makeFile(path_, "[CameraShot]\nShowPreview=true\nVideoSourceID=door\n");
  defaults.setBool(false, "ShowPreview");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_EQ(open().stringForKey("VideoSourceID"), "door");
  EXPECT_EQ(open().integerForKey("ShowPreview"), 0);
}

TEST_F(UserDefaultsTest, GroupsOfOneFileDoNotDisturbEachOther) {
  auto tool = open();
  auto locations = open("Locations");
  tool.setBool(true, "ShowPreview");
  locations.setObject("/photos", "a5f597ea");
  ASSERT_TRUE(tool.synchronize());
  ASSERT_TRUE(locations.synchronize());
  EXPECT_EQ(open().integerForKey("ShowPreview"), 1);
  EXPECT_EQ(open("Locations").stringForKey("a5f597ea"), "/photos");
}

TEST_F(UserDefaultsTest, ProcessesThatWriteAtTheSameTimeLoseNothing) {
  constexpr int kProcesses = 4;
  // However long a busy disk takes for each of them.
  constexpr std::chrono::seconds kPatience{60};
  std::vector<pid_t> writers;
  for (int process = 0; process < kProcesses; ++process) {
    const pid_t writer = ::fork();
    if (writer == 0) {
      UserDefaults defaults(path_, "CameraShot", log_, kPatience);
      defaults.setObject("value", "Key" + std::to_string(process));
      std::_Exit(defaults.synchronize() && journal_.lines().empty() ? 0 : 1);
    }
    writers.push_back(writer);
  }
  for (const pid_t writer : writers) {
    int status = -1;
    ::waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const auto defaults = open();
  for (int process = 0; process < kProcesses; ++process)
    EXPECT_TRUE(defaults.objectForKey("Key" + std::to_string(process))) << process;
}

TEST_F(UserDefaultsTest, AForeignLockOfTheFolderIsNamedAndHoldsNothingBack) {
  makeFile(path_, "[CameraShot]\nVideoSourceID=desk\n");
  const LockHolder holder(folder_.path());
  auto defaults = open();
  defaults.setBool(true, "ShowPreview");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(contentOf(path_), "[CameraShot]\nVideoSourceID=desk\nShowPreview=true\n");
  EXPECT_THAT(journal_.lines(), ElementsAre(HasSubstr(folder_.path())));
}

TEST_F(UserDefaultsTest, AnyTextComesBackAsItWas) {
  auto defaults = open();
  const std::vector<std::string> texts{
      "  two spaces", "back\\slash", "two\nlines\r\t", "ünïcode", "\xff not UTF-8", "a;b=c[d]#e", "\\s"};
  for (std::size_t i = 0; i < texts.size(); ++i)
    defaults.setObject(texts[i], "Key" + std::to_string(i));
  ASSERT_TRUE(defaults.synchronize());
  const auto next = open();
  for (std::size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(next.stringForKey("Key" + std::to_string(i)), texts[i]);
}

TEST_F(UserDefaultsTest, ANumberWithMoreBehindItIsNone) {
  makeFile(path_, "[CameraShot]\nA=12 cameras\nB=99999999999999999999\nC=-3\n");
  EXPECT_EQ(open().integerForKey("A"), std::nullopt);
  EXPECT_EQ(open().integerForKey("B"), std::nullopt);
  EXPECT_EQ(open().integerForKey("C"), -3);
}

TEST_F(UserDefaultsTest, WhatPeopleWriteByHandIsReadAsMeant) {
  makeFile(path_, "[CameraShot]\nA=True\nB=true \nC= yes\nD=FALSE\nE = off \nF=1\r\n");
  const auto defaults = open();
  for (const std::string key : {"A", "B", "C", "F"})
    EXPECT_EQ(defaults.integerForKey(key), 1) << key;
  for (const std::string key : {"D", "E"})
    EXPECT_EQ(defaults.integerForKey(key), 0) << key;
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(UserDefaultsTest, WhatCannotBeReadIsNamedInTheLogOnce) {
  makeFile(path_, "[CameraShot]\nShowPreview=perhaps\n");
  const auto defaults = open();
  EXPECT_EQ(defaults.integerForKey("ShowPreview"), std::nullopt);
  EXPECT_EQ(defaults.integerForKey("ShowPreview"), std::nullopt);
  EXPECT_THAT(journal_.lines(),
              ElementsAre(AllOf(HasSubstr("ShowPreview"), HasSubstr("\"perhaps\""), HasSubstr(path_))));
}

TEST_F(UserDefaultsTest, FilesByHandMayHaveStrayBackslashes) {
  EXPECT_EQ(platform_linux::unescapeKeyFileText("C:\\dir\\\\x\\"), "C:\\dir\\x\\");
}

TEST_F(UserDefaultsTest, ADamagedFileIsSetAsideAndNamedInTheLog) {
  makeFile(path_, "[CameraShot]\nShowPreview=false\n\x01garbage without meaning\n");
  auto defaults = open();
  EXPECT_FALSE(defaults.objectForKey("ShowPreview"));
  ASSERT_THAT(folder_.names(), ElementsAre(StartsWith("settings.ini.damaged-")));
  EXPECT_THAT(contentOf(folder_ / folder_.names().front()), HasSubstr("garbage"));
  EXPECT_THAT(journal_.lines(), ElementsAre(HasSubstr(folder_.names().front())));
  defaults.setBool(true, "ShowPreview");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(open().integerForKey("ShowPreview"), 1);
}

TEST_F(UserDefaultsTest, ADamagedFileThatCannotBeSetAsideIsNotWrittenOver) {
  makeFile(path_, "garbage\n");
  std::filesystem::permissions(path_, std::filesystem::perms(0644));
  const ClosedFolder closed(folder_.path());
  const int status = inChild([&] {
    if (!becomeNobody()) return 2;
    auto defaults = open();
    defaults.setBool(true, "ShowPreview");
    return defaults.integerForKey("ShowPreview") == 1 && !defaults.synchronize() ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(contentOf(path_), "garbage\n");
}

TEST_F(UserDefaultsTest, AFileOfOthersIsSetAsideToo) {
  makeFile(path_, "[CameraShot]\nShowPreview=false\n");
  std::filesystem::permissions(path_, std::filesystem::perms(0));
  std::filesystem::permissions(folder_.path(), std::filesystem::perms(0777));
  const int status = inChild([&] {
    if (!becomeNobody()) return 2;
    auto defaults = open();
    defaults.setBool(true, "ShowPreview");
    return defaults.synchronize() && open().integerForKey("ShowPreview") == 1 ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder_.names().size(), 2U);
}

TEST_F(UserDefaultsTest, WhatIsNoPlainFileIsNeitherReadNorMovedNorWrittenOver) {
  ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(folder_ / "folder");
  for (const std::string& target : {folder_ / "fifo", folder_ / "folder", std::string("/dev/full")}) {
    std::filesystem::remove(path_);
    std::filesystem::create_symlink(target, path_);
    const auto before = folder_.names().size();
    journal_.clear();
    auto defaults = open();
    EXPECT_FALSE(defaults.objectForKey("ShowPreview"));
    EXPECT_THAT(journal_.lines(), ElementsAre(HasSubstr(target)));
    defaults.setBool(true, "ShowPreview");
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(folder_.names().size(), before) << target;
    EXPECT_FALSE(std::filesystem::is_regular_file(target)) << target;
  }
}

TEST_F(UserDefaultsTest, ALinkedFileStaysLinked) {
  std::filesystem::create_directory(folder_ / "dotfiles");
  makeFile(folder_ / "dotfiles/settings.ini", "[CameraShot]\nShowPreview=true\n");
  std::filesystem::create_symlink("dotfiles/settings.ini", path_);
  auto defaults = open();
  defaults.setBool(false, "ShowPreview");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_TRUE(std::filesystem::is_symlink(path_));
  EXPECT_EQ(contentOf(folder_ / "dotfiles/settings.ini"), "[CameraShot]\nShowPreview=false\n");
}

TEST_F(UserDefaultsTest, ANewFileIsForTheUserAloneAndAnOldOneKeepsItsPermissions) {
  auto defaults = open();
  defaults.setBool(true, "ShowPreview");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_EQ(permissionsOf(path_), 0600U);
  std::filesystem::permissions(path_, std::filesystem::perms(0640));
  defaults.setBool(false, "ShowPreview");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_EQ(permissionsOf(path_), 0640U);
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenIsTriedAgain) {
  const std::string path = folder_ / "later/settings.ini";
  makeFile(folder_ / "later", "in the way");
  UserDefaults defaults(path, "CameraShot", log_);
  defaults.setBool(true, "ShowPreview");
  EXPECT_FALSE(defaults.synchronize());
  std::filesystem::remove(folder_ / "later");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(UserDefaults(path, "CameraShot", log_).integerForKey("ShowPreview"), 1);
}

}  // namespace

}  // namespace storage_tests
