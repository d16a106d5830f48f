#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fakes/FakePlatform.h"

namespace suite {
namespace {

using platform::AVAuthorizationStatus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kTool = "a5f597ea-d3f3-4347-bbe6-344e240acc7e";

TEST(VQLog, PutsTheArgumentsInOrder) {
  fakes::FakePlatform desk;
  desk.suite.log.VQLogVariadic("%@ of %d at %@", {std::string("one"), 2, platform::NSError{5, "broken"}});
  EXPECT_THAT(desk.journal.lines(), ElementsAre("log one of 2 at broken (code 5)"));
}

TEST(VQLog, NeverReadsAnArgumentAsAFormat) {
  fakes::FakePlatform desk;
  desk.suite.log.VQLogVariadic("%@ %d", {std::string("%d %@ %s %n"), -1});
  EXPECT_THAT(desk.journal.lines(), ElementsAre("log %d %@ %s %n -1"));
}

TEST(VQLog, LeavesEverythingElseAsItStands) {
  fakes::FakePlatform desk;
  desk.suite.log.VQLogVariadic("100 % %s %@ %", {});
  desk.suite.log.VQLogVariadic("", {std::string("left over")});
  EXPECT_THAT(desk.journal.lines(), ElementsAre("log 100 % %s %@ %", "log "));
}

TEST(LocationManager, AnswersTheFolderForPicturesUntilOneIsStored) {
  fakes::FakePlatform desk;
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), "/home/ada/Pictures");
  desk.locations.values["another tool"] = "/elsewhere";
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), "/home/ada/Pictures");
}

TEST(LocationManager, KeepsTheStoredFolderAlsoWhenItIsGone) {
  fakes::FakePlatform desk;
  EXPECT_TRUE(desk.suite.locationManager.setLocationForCurrentTool("/mnt/stick"));
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("locations setObject " + kTool + " /mnt/stick", "locations synchronize"));
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), "/mnt/stick");
}

TEST(LocationManager, AnswersNothingOnlyWithoutAHome) {
  fakes::FakePlatform desk;
  desk.files.pictures = std::nullopt;
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), std::nullopt);
  desk.suite.locationManager.setLocationForCurrentTool("/mnt/stick");
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), "/mnt/stick");
}

TEST(LocationManager, SaysWhenItCannotStore) {
  fakes::FakePlatform desk;
  desk.locations.synchronizes = false;
  EXPECT_FALSE(desk.suite.locationManager.setLocationForCurrentTool("/mnt/stick"));
}

TEST(Auxiliary, RecordsTheRunNowAndMakesItDurableLater) {
  fakes::FakePlatform desk;
  desk.suite.auxiliary.updateLastRun();
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("last runs setObject " + kTool + " 2026-11-21T12:00:00+0000"));
  desk.loop.run();
  EXPECT_EQ(desk.journal.lines().back(), "last runs synchronize");
}

TEST(Auxiliary, MakesATextThatFitsInAFileName) {
  fakes::FakePlatform desk;
  const std::string text = desk.suite.auxiliary.getFilenameWithDateTime(desk.loop.date());
  EXPECT_EQ(text, "2026-11-21 12.00.00");
  EXPECT_EQ(text.find('/'), std::string::npos);
}

TEST(Auxiliary, TellsAllowedFromAnswered) {
  struct Row {
    AVAuthorizationStatus status;
    bool allowed;
    bool answered;
  };
  for (const auto& [status, allowed, answered] : {Row{AVAuthorizationStatus::NotDetermined, false, false},
                                                  Row{AVAuthorizationStatus::Denied, false, true},
                                                  Row{AVAuthorizationStatus::Authorized, true, true}}) {
    fakes::FakePlatform desk;
    desk.avFoundation.authorization = status;
    EXPECT_EQ(desk.suite.auxiliary.getStatusOfMediaType(platform::AVMediaTypeVideo), allowed);
    EXPECT_EQ(desk.suite.auxiliary.isStatusOfMediaTypeDetermind(platform::AVMediaTypeVideo), answered);
  }
}

TEST(Auxiliary, PassesTheAnswerOfTheUserOnWhateverItIs) {
  fakes::FakePlatform desk;
  int answers = 0;
  desk.suite.auxiliary.requestRightsForMediaType(platform::AVMediaTypeVideo, [&] { ++answers; });
  desk.suite.auxiliary.requestRightsForMediaType(platform::AVMediaTypeVideo, [&] { ++answers; });
  EXPECT_EQ(answers, 0);
  desk.avFoundation.accessRequests.at(0)(true);
  desk.avFoundation.accessRequests.at(1)(false);
  EXPECT_EQ(answers, 2);
}

TEST(CaptureDevices, ListNameAndIdentityInThePlatformsOrder) {
  fakes::FakePlatform desk;
  EXPECT_THAT(desk.suite.captureDevices.enumerateCameras(), IsEmpty());
  desk.avFoundation.devices = {std::make_shared<fakes::FakeDevice>("2", "Zoom"),
                               std::make_shared<fakes::FakeDevice>("1", "Arm")};
  EXPECT_THAT(desk.suite.captureDevices.enumerateCameras(),
              ElementsAre(CaptureDevice{"Zoom", "2"}, CaptureDevice{"Arm", "1"}));
}

TEST(ToolDataClientProvider, IsOneForTheWholeRunAndBearsAClickWithoutACallback) {
  fakes::FakePlatform desk;
  const auto provider = desk.suite.common.toolDataClientProvider();
  EXPECT_EQ(provider, desk.suite.common.toolDataClientProvider());
  EXPECT_EQ(provider->toolStatus(), 0);
  provider->clickMenuIcon();
  int clicks = 0;
  provider->setClickMenuIconBlock([&] { ++clicks; });
  provider->clickMenuIcon();
  EXPECT_EQ(clicks, 1);
}

}  // namespace
}  // namespace suite
