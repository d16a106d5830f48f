#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/AppKit/NSWorkspace.h"

namespace contract {

/// A desktop with a file manager and a default application for photos.
class NSWorkspaceFactory {
 public:
  virtual ~NSWorkspaceFactory() = default;
  virtual platform::NSWorkspace& workspace() = 0;
  /// A photo that exists.
  virtual std::string photo() const = 0;
  /// The files that the file manager was asked to show.
  virtual std::vector<std::string> selected() const = 0;
  /// The files that the default application was asked to open.
  virtual std::vector<std::string> opened() const = 0;
  /// Lets the desktop and the main loop go on until `condition` holds; answers whether it does.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

using MakeNSWorkspaceFactory = std::unique_ptr<NSWorkspaceFactory> (*)();

/// What every workspace promises.
class NSWorkspaceContract : public testing::TestWithParam<MakeNSWorkspaceFactory> {
 protected:
  std::unique_ptr<NSWorkspaceFactory> factory_ = GetParam()();
};

TEST_P(NSWorkspaceContract, AFileIsShownAndNotOpened) {
  factory_->workspace().selectFile(factory_->photo(), "");
  ASSERT_TRUE(factory_->runUntil([this] { return !factory_->selected().empty(); }));
  EXPECT_THAT(factory_->selected(), testing::ElementsAre(factory_->photo()));
  EXPECT_THAT(factory_->opened(), testing::IsEmpty());
}

TEST_P(NSWorkspaceContract, AFileIsOpenedAndNotShown) {
  factory_->workspace().openFileURL(factory_->photo());
  ASSERT_TRUE(factory_->runUntil([this] { return !factory_->opened().empty(); }));
  EXPECT_THAT(factory_->opened(), testing::ElementsAre(factory_->photo()));
  EXPECT_THAT(factory_->selected(), testing::IsEmpty());
}

TEST_P(NSWorkspaceContract, AFileThatIsGoneIsTheFileManagersToTell) {
  const std::string gone = factory_->photo() + " that is gone";
  factory_->workspace().selectFile(gone, "");
  ASSERT_TRUE(factory_->runUntil([this] { return !factory_->selected().empty(); }));
  EXPECT_THAT(factory_->selected(), testing::ElementsAre(gone));
}

}  // namespace contract
