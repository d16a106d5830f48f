#include <gtest/gtest.h>

#include "tests/notifications/CenterFixture.h"

namespace camera_shot_tests {
namespace {

TEST(NotificationActions, LeadBackToTheClick) {
  const auto actions = applicationActions();
  for (const std::string& click :
       {platform::UNNotificationDefaultActionIdentifier, std::string("OPEN_ACTION")}) {
    ASSERT_TRUE(actions.nameFor(click));
    const auto response = actions.responseFor(*actions.nameFor(click), "/p");
    ASSERT_TRUE(response);
    EXPECT_EQ(response->actionIdentifier, click);
    EXPECT_EQ(response->notification.request.identifier, "Photo_Taken_Notification");
    EXPECT_EQ(response->notification.request.content.userInfo.at("Path"), "/p");
  }
}

TEST(NotificationActions, CarryEveryPathAsText) {
  const auto actions = applicationActions();
  for (const std::string path : {"/home/me/A shot.png", "/home/me/\xff\xfe 100 %.png", "/d/%41.png"}) {
    const std::string target = actions.targetFor({{"Path", path}});
    EXPECT_TRUE(g_utf8_validate(target.c_str(), -1, nullptr)) << target;
    const auto response = actions.responseFor("open-photo", target);
    ASSERT_TRUE(response);
    EXPECT_EQ(response->notification.request.content.userInfo.at("Path"), path);
  }
  EXPECT_EQ(actions.targetFor({{"Path", "/home/me/A shot.png"}}), "/home/me/A shot.png");
  EXPECT_EQ(actions.targetFor({}), "");
}

TEST(NotificationActions, AFailuresNotificationCarriesNothingToActUpon) {
  const auto response = applicationActions().responseFor("open-photo", "");
  ASSERT_TRUE(response);
  EXPECT_TRUE(response->notification.request.content.userInfo.empty());
}

TEST(NotificationActions, WhatIsUnknownIsNoClick) {
  EXPECT_EQ(applicationActions().nameFor("no such click"), nullptr);
  EXPECT_EQ(applicationActions().responseFor("no-such-action", "/p"), std::nullopt);
}

}  // namespace
}  // namespace camera_shot_tests
