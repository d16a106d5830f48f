#include <memory>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/desktop/Workspace.h"
#include "tests/notifications/WorkspaceFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace camera_shot_tests {

using test_support::PrivateBus;
using test_support::waitUntil;

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Workspace : public testing::Test {
 protected:
  platform_linux::TerminationHold holder() {
    return [this] {
      std::shared_ptr<void> held = std::make_shared<int>(0);
      hold_ = held;
      return held;
    };
  }
  bool waitForRelease() const {
    return waitUntil([this] { return hold_.expired(); });
  }
  /// What default applications were asked to open.
  std::vector<std::string> opened() const { return journal_->callsOf("Write"); }

  const Home& home_ = home();
  PrivateBus bus_;
  std::unique_ptr<MockService> journal_ = makeOpeningJournal(bus_.address());
  platform_linux::SessionBus session_{test_support::kPatience};
  std::weak_ptr<void> hold_;
  platform_linux::Workspace workspace_{session_, holder(), [] { return std::string("token-7"); }};
};

TEST_F(Workspace, ShowsTheFileInTheFileManagerWithTheRightToTheFocus) {
  bool heldAtTheCall = false;
  const auto files = makeFileManager(bus_.address(), [&](const MockService::Call&) {
    heldAtTheCall = !hold_.expired();
    return g_variant_new("()");
  });
  workspace_.selectFile(home_.photo(), "");
  ASSERT_TRUE(waitForRelease());
  EXPECT_TRUE(heldAtTheCall);
  EXPECT_THAT(files->callsOf("ShowItems"), ElementsAre("(['" + home_.photoUri() + "'], 'token-7')"));
  EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(Workspace, OpensTheFolderWithoutAFileManagerThatSelects) {
  workspace_.selectFile(home_.photo(), "");
  ASSERT_TRUE(journal_->waitForCalls(1));
  EXPECT_THAT(opened(), ElementsAre("('" + home_.folder() + "',)"));
  EXPECT_TRUE(waitForRelease());
}

TEST_F(Workspace, OpensTheFolderWhenTheFileManagerRefuses) {
  const auto files = makeFileManager(bus_.address(), [](const MockService::Call&) -> GVariant* {
    throw std::runtime_error("org.freedesktop.DBus.Error.NotSupported");
  });
  workspace_.selectFile(home_.photo(), "");
  ASSERT_TRUE(journal_->waitForCalls(1));
  EXPECT_THAT(opened(), ElementsAre("('" + home_.folder() + "',)"));
}

TEST_F(Workspace, GivesUpAFileManagerThatNeverAnswersAndOpensNothingElse) {
  const auto files =
      makeFileManager(bus_.address(), [](const MockService::Call&) -> GVariant* { return nullptr; });
  workspace_.selectFile(home_.photo(), "");
  ASSERT_TRUE(waitForRelease());
  EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(Workspace, OpensAFileWithItsDefaultApplication) {
  workspace_.openFileURL(home_.photo());
  ASSERT_TRUE(journal_->waitForCalls(1));
  EXPECT_THAT(opened(), ElementsAre("('" + home_.photo() + "',)"));
  EXPECT_TRUE(waitForRelease());
}

TEST_F(Workspace, AFileNameThatIsNoTextIsAFileNameAllTheSame) {
  workspace_.openFileURL(home_.photoOfNoText());
  ASSERT_TRUE(journal_->waitForCalls(1));
  workspace_.selectFile(home_.photoOfNoText(), "");
  ASSERT_TRUE(journal_->waitForCalls(2));
  EXPECT_THAT(opened(),
              ElementsAre("('" + home_.folder() + "/[ff]/[ff].png',)", "('" + home_.folder() + "/[ff]',)"));
  ASSERT_TRUE(waitForRelease());

  const auto files = makeFileManager(bus_.address());
  workspace_.selectFile(home_.photoOfNoText(), "");
  ASSERT_TRUE(waitForRelease());
  EXPECT_THAT(files->callsOf("ShowItems"),
              ElementsAre("(['file://" + home_.folder() + "/%FF/%FF.png'], 'token-7')"));
}

TEST_F(Workspace, AFileThatIsGoneIsNobodysMatter) {
  workspace_.openFileURL("/nowhere/photo.png");
  EXPECT_TRUE(waitForRelease());
  EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(Workspace, OfAFileThatIsGoneNotEvenTheFolderIsOpened) {
  workspace_.selectFile(home_.folder() + "/gone.png", "");
  ASSERT_TRUE(waitForRelease());
  const auto files = makeFileManager(bus_.address(), [](const MockService::Call&) -> GVariant* {
    throw std::runtime_error("org.gtk.GDBus.UnmappedGError.Quark._g_2dio_2derror_2dquark.Code1");
  });
  workspace_.selectFile(home_.folder() + "/gone.png", "");
  ASSERT_TRUE(waitForRelease());
  EXPECT_THAT(files->calls(), ::testing::SizeIs(1));
  // Nothing before what is opened last.
  workspace_.openFileURL(home_.photo());
  ASSERT_TRUE(journal_->waitForCalls(1));
  EXPECT_THAT(opened(), ElementsAre("('" + home_.photo() + "',)"));
}

TEST_F(Workspace, AnEmptyPathIsNoRequest) {
  const auto files = makeFileManager(bus_.address());
  workspace_.selectFile("", "");
  workspace_.openFileURL("");
  EXPECT_TRUE(hold_.expired());
  workspace_.selectFile(home_.photo(), "");
  ASSERT_TRUE(waitForRelease());
  EXPECT_THAT(files->calls(), ::testing::SizeIs(1));
}

}  // namespace
}  // namespace camera_shot_tests
