#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Foundation/NSFileManager.h"

namespace contract {

/// A file manager, and a way to bring about what it is asked for. Each is made afresh for a test.
class NSFileManagerFactory {
 public:
  virtual ~NSFileManagerFactory() = default;
  virtual platform::NSFileManager& fileManager() = 0;
  /// An empty folder that can be written to, and paths in it.
  virtual std::string folder() = 0;
  virtual std::string makeFile(const std::string& name) = 0;
  /// What stands in the file at `path`, line by line.
  virtual std::string content(const std::string& path) = 0;
  /// Turns the main loop until it is true; whether it became so.
  virtual bool turnUntil(const std::function<bool()>& condition) = 0;
};

using MakeNSFileManagerFactory = std::unique_ptr<NSFileManagerFactory> (*)();

/// What every file manager promises.
class NSFileManagerContract : public testing::TestWithParam<MakeNSFileManagerFactory> {
 protected:
  std::unique_ptr<NSFileManagerFactory> factory_ = GetParam()();
  platform::NSFileManager& files_ = factory_->fileManager();
};

TEST_P(NSFileManagerContract, SeesWhatExists) {
  EXPECT_TRUE(files_.fileExistsAtPath(factory_->makeFile("photo.png")));
  EXPECT_FALSE(files_.fileExistsAtPath(factory_->folder() + "/nothing"));
}

TEST_P(NSFileManagerContract, TellsFoldersThatTakeFilesFromOthers) {
  EXPECT_EQ(files_.whyNotWritableDirectory(factory_->folder()), 0);
  EXPECT_NE(files_.whyNotWritableDirectory(factory_->folder() + "/nothing"), 0);
}

TEST_P(NSFileManagerContract, TellsItLaterToWhoeverDoesNotWait) {
  std::map<std::string, int> answers;
  const std::vector<std::string> folders{factory_->folder(), factory_->folder() + "/nothing"};
  for (const std::string& folder : folders)
    files_.askWhyNotWritableDirectory(folder, [&answers, folder](int why) { answers[folder] = why; });
  EXPECT_TRUE(answers.empty());
  ASSERT_TRUE(factory_->turnUntil([&] { return answers.size() == 2; }));
  for (const std::string& folder : folders)
    EXPECT_EQ(answers[folder], files_.whyNotWritableDirectory(folder)) << folder;
}

inline constexpr std::int64_t kMostBytes = 1000;

TEST_P(NSFileManagerContract, AppendsLinesInOrder) {
  const std::string path = factory_->folder() + "/events.jsonl";
  EXPECT_TRUE(files_.appendLine(path, "first", kMostBytes));
  EXPECT_TRUE(files_.appendLine(path, "", kMostBytes));
  EXPECT_TRUE(files_.appendLine(path, "second", kMostBytes));
  EXPECT_EQ(factory_->content(path), "first\n\nsecond\n");
}

TEST_P(NSFileManagerContract, KeepsAFullFileBesideTheNewOne) {
  const std::string path = factory_->folder() + "/events.jsonl";
  const std::string half(kMostBytes / 2 - 1, 'h');
  for (const std::string& line : {half, half, std::string("new"), half, half})
    EXPECT_TRUE(files_.appendLine(path, line, kMostBytes));
  EXPECT_EQ(factory_->content(path + ".1"), "new\n" + half + "\n");
  EXPECT_EQ(factory_->content(path), half + "\n");
}

TEST_P(NSFileManagerContract, KeepsALineThatIsLongerThanAFile) {
  const std::string path = factory_->folder() + "/events.jsonl";
  EXPECT_TRUE(files_.appendLine(path, std::string(2 * kMostBytes, 'l'), kMostBytes));
  EXPECT_EQ(factory_->content(path), std::string(2 * kMostBytes, 'l') + "\n");
}

}  // namespace contract
