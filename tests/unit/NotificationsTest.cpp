#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using platform::AVAuthorizationStatus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kPath = "/home/ada/Pictures/Camera shot.png";

platform::UNNotificationRequest request(const std::string& identifier, const std::string& body) {
  platform::UNNotificationRequest expected;
  expected.identifier = identifier;
  expected.content.body = body;
  expected.content.sound = platform::UNNotificationSound::DefaultSound;
  expected.trigger = {100ms, false};
  return expected;
}

TEST(NotificationCategory, IsTheOnlyOneAndHasTheOpenAction) {
  ToolFixture tool;
  tool.launch();
  platform::UNNotificationAction open;
  open.identifier = "OPEN_ACTION";
  open.title = "Open";
  platform::UNNotificationCategory category;
  category.identifier = "TAKE_PHOTO_CATEGORY";
  category.actions = {open};
  EXPECT_THAT(tool.notifications.categories, ElementsAre(category));
  EXPECT_EQ(tool.journal.count("notifications setCategories"), 1);
}

TEST(NotificationCategory, HasATranslatedAction) {
  ToolFixture tool;
  tool.bundle.translations["Open"] = "Öffnen";
  tool.launch();
  EXPECT_EQ(tool.notifications.categories.begin()->actions.front().title, "Öffnen");
}

TEST(SuccessNotification, ActivatesThenPostsWhatTheFileNeeds) {
  ToolFixture tool;
  tool.launch();
  tool.files.existing.insert(kPath);
  tool.journal.clear();
  tool.controller().showNotificationForPath(kPath);
  EXPECT_THAT(
      tool.journal.lines(),
      ElementsAre("application activateIgnoringOtherApps YES",
                  "notify Photo_Taken_Notification: Camera shot taken.\\nClick here to show in Finder."));
  auto expected = request("Photo_Taken_Notification", "Camera shot taken.\nClick here to show in Finder.");
  expected.content.categoryIdentifier = "TAKE_PHOTO_CATEGORY";
  expected.content.userInfo = {{"Path", kPath}};
  EXPECT_EQ(tool.notifications.requests.back(), expected);
}

TEST(SuccessNotification, OfAMissingFileSaysSoAndLeadsNowhere) {
  ToolFixture tool;
  tool.launch();
  tool.controller().showNotificationForPath(kPath);
  EXPECT_EQ(tool.notifications.requests.back(),
            request("Photo_Taken_Notification", "Unable to take camera shot."));
}

TEST(SuccessNotification, OfAWriteThatFailedSaysSo) {
  ToolFixture tool;
  tool.appKit.writeFails = true;
  tool.launch();
  tool.pressShoot();
  tool.savePhoto();
  EXPECT_EQ(tool.notifications.requests.back(),
            request("Photo_Taken_Notification", "Unable to take camera shot."));
  EXPECT_EQ(tool.controller().count(), 0);
}

struct Reason {
  std::vector<std::string> cameras;
  AVAuthorizationStatus access;
  std::string body;
};

TEST(FailureNotification, GivesTheReasonOfTheMomentTheCameraFirst) {
  const std::string kAllow = "Allow access to the camera in the macOS Privacy settings.";
  const std::vector<Reason> reasons{
      {{}, AVAuthorizationStatus::Authorized, "Camera not found."},
      {{}, AVAuthorizationStatus::Denied, "Camera not found."},
      {{}, AVAuthorizationStatus::NotDetermined, "Camera not found."},
      {{"Desk camera"}, AVAuthorizationStatus::Denied, kAllow},
      {{"Desk camera"}, AVAuthorizationStatus::NotDetermined, kAllow},
      {{"Desk camera"}, AVAuthorizationStatus::Authorized, "Error occured"},
  };
  for (const auto& [cameras, access, body] : reasons) {
    ToolFixture tool{{.cameras = cameras, .authorization = access}};
    tool.launch();
    tool.journal.clear();
    tool.controller().showErrorNotification();
    EXPECT_EQ(tool.journal.lines().front(), "application activateIgnoringOtherApps YES");
    EXPECT_EQ(tool.notifications.requests.back(), request("Photo_Taken_Notification_Error", body));
  }
}

TEST(FailureNotification, OfAShotWhoseCameraIsGoneByNowSaysThatItIsGone) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.unplug("Desk camera");
  tool.failShot();
  EXPECT_THAT(tool.journal.of("notify"),
              ElementsAre("notify Photo_Taken_Notification_Error: Camera not found."));
}

TEST(Notifications, AreTranslated) {
  ToolFixture tool{{.cameras = {}}};
  tool.bundle.translations = {{"Camera not found.", "1"}, {"Unable to take camera shot.", "2"}};
  tool.launch();
  tool.controller().showErrorNotification();
  tool.controller().showNotificationForPath(kPath);
  EXPECT_THAT(tool.journal.of("notify"),
              ElementsAre("notify Photo_Taken_Notification_Error: 1", "notify Photo_Taken_Notification: 2"));
}

TEST(Notifications, ShareOneIdentifierForSuccessesAndAnotherForFailures) {
  ToolFixture tool;
  tool.launch();
  for (int shot = 0; shot < 2; ++shot) {
    tool.pressShoot();
    tool.savePhoto();
  }
  tool.pressShoot();
  tool.failShot();
  std::vector<std::string> identifiers;
  for (const auto& each : tool.notifications.requests)
    identifiers.push_back(each.identifier);
  EXPECT_THAT(identifiers, ElementsAre("Photo_Taken_Notification", "Photo_Taken_Notification",
                                       "Photo_Taken_Notification_Error"));
}

TEST(Notifications, InFrontAreSoundedListedAndShownAsABannerAtOnce) {
  ToolFixture tool;
  tool.launch();
  for (const std::string identifier : {"Photo_Taken_Notification", "anything"}) {
    std::vector<unsigned> answers;
    tool.controller().userNotificationCenterWillPresentNotification(
        {request(identifier, "")}, [&](unsigned options) { answers.push_back(options); });
    EXPECT_THAT(answers, ElementsAre(26U));
  }
}

TEST(Notifications, AreOnTheScreenATenthOfASecondLaterTheNewestOfAKindInPlaceOfTheOthers) {
  ToolFixture tool;
  tool.launch();
  tool.files.existing.insert(kPath);
  tool.controller().showNotificationForPath("/home/ada/Pictures/gone.png");
  tool.controller().showNotificationForPath(kPath);
  tool.notifications.deliver();
  EXPECT_THAT(tool.notifications.shown, IsEmpty());
  tool.loop.advance(100ms);
  tool.notifications.deliver();
  ASSERT_EQ(tool.notifications.shown.size(), 1U);
  const auto& shown = tool.notifications.shown.at("Photo_Taken_Notification");
  EXPECT_EQ(shown.body, "Camera shot taken.\nClick here to show in Finder.");
  EXPECT_THAT(shown.buttons, ElementsAre("Open"));
  EXPECT_TRUE(shown.hasSound);
}

TEST(NotificationClick, OnTheBodyRevealsTheFileWhetherOrNotItIsStillThere) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  tool.controller().handleNotificationClick(clickOn(kPath));
  EXPECT_THAT(tool.journal.lines(), ElementsAre("workspace select " + kPath + " root \"\""));
}

TEST(NotificationClick, OnAnyOtherActionOpensTheFile) {
  for (const std::string action : {"OPEN_ACTION", "anything"}) {
    ToolFixture tool;
    tool.launch();
    tool.journal.clear();
    tool.controller().handleNotificationClick(clickOn(kPath, action));
    EXPECT_THAT(tool.journal.lines(), ElementsAre("workspace open " + kPath));
  }
}

TEST(NotificationClick, WithoutAPathDoesNothing) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  tool.controller().handleNotificationClick(clickOn(""));
  tool.controller().handleNotificationClick(clickOn("", "OPEN_ACTION"));
  EXPECT_THAT(tool.journal.lines(), IsEmpty());
}

TEST(NotificationClick, WhileRunningIsHandledBeforeItIsAcknowledgedAndEndsNothing) {
  ToolFixture tool;
  tool.launch();
  tool.loop.advance(100ms);
  tool.journal.clear();
  tool.controller().userNotificationCenterDidReceiveNotificationResponse(
      clickOn(kPath), [&] { tool.journal.add("acknowledged"); });
  EXPECT_THAT(tool.journal.lines(), ElementsAre("workspace select " + kPath + " root \"\"", "acknowledged"));
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.application.ended);
  EXPECT_THAT(tool.journal.of("event"), IsEmpty());
}

}  // namespace
}  // namespace camera_shot
