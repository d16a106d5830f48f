// What the helper program asks of notification services of each kind.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/notifications/NotifierOnABus.h"

namespace camera_shot_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class NotifierOfAKind : public Notifier {};

TEST_F(NotifierOfAKind, EscapesTheBodyForAServiceThatReadsMarkup) {
  serve(ServiceAnswers({"body", "body-markup", "actions"}));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'Taken', 'Click &amp; see'"));
}

TEST_F(NotifierOfAKind, TheBubbleMayGoWhereAListKeepsTheNotification) {
  serve(ServiceAnswers({"actions", "persistence"}, 1, "Plasma"));
  ASSERT_TRUE(post(service_->client(), kFailure));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0],
              HasSubstr("'suppress-sound': <true>, 'resident': <true>}, -1)"));
}

TEST_F(NotifierOfAKind, TheBubbleStaysWhereTheListIsNotToBeSeen) {
  serve(ServiceAnswers({"actions", "persistence"}, 1, "Notification Daemon"));
  ASSERT_TRUE(post(service_->client(), kFailure));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'suppress-sound': <true>}, 0)"));
}

/// As lxqt-notificationd: a new notification of the same words as one on the screen gets an id and nothing
/// more.
class ServiceWithoutDuplicates {
 public:
  GVariant* operator()(const MockService::Call& call) {
    GVariant* const reply = answers_(call);
    if (call.method == "CloseNotification") onScreen_.erase(firstNumber(call.arguments));
    if (call.method != "Notify") return reply;
    std::uint32_t id = 0;
    g_variant_get(reply, "(u)", &id);
    const std::string words = call.arguments.substr(0, call.arguments.find('['));
    const std::string said = words.substr(words.find("'com."));
    const bool isDuplicate = std::ranges::any_of(
        onScreen_, [&](const auto& shown) { return shown.first != id && shown.second == said; });
    if (!isDuplicate) onScreen_[id] = said;
    return reply;
  }
  std::size_t onScreen() const { return onScreen_.size(); }

 private:
  ServiceAnswers answers_{{"actions", "body", "persistence"}, 1, "lxqt-notificationd"};
  std::map<std::uint32_t, std::string> onScreen_;  ///< the words by their id
};

TEST_F(NotifierOfAKind, TheSecondPhotosBubbleIsOnTheScreenWhereDuplicatesAreDropped) {
  ServiceWithoutDuplicates answers;
  serve(std::ref(answers));
  for (const std::size_t photo : {1U, 2U}) {
    ASSERT_TRUE(post(service_->client(), kPhoto));
    ASSERT_TRUE(waitForNotifications(photo));
  }
  // What the helper does about the second one it has done before it shows the next.
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(3));
  EXPECT_EQ(answers.onScreen(), 2U) << "the photo's and the failure's";
  // Its list shows what it has kept under a new id, so a bubble must not go by itself.
  EXPECT_THAT(service_->callsOf("Notify")[1], HasSubstr("'suppress-sound': <true>}, 0)"));
}

TEST_F(NotifierOfAKind, WhereAListKeepsTheEarlierOneTheNextIsShownAnewAndTakesItsPlace) {
  // As Plasma: what replaces a notification that has moved to the list moves there unseen.
  serve(ServiceAnswers({"actions", "persistence"}, 1, "Plasma"));
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForCallsOf("CloseNotification", 1));
  EXPECT_THAT(service_->callsOf("CloseNotification"), ElementsAre("(1,)"));
  ASSERT_THAT(service_->callsOf("Notify"), SizeIs(2));
  EXPECT_THAT(service_->callsOf("Notify")[1], HasSubstr("('Camera Shot', 0, "));
  close(1);
  click(2, "default");
  EXPECT_TRUE(application->waitForCalls(1)) << "the second one is the application's";
}

TEST_F(NotifierOfAKind, ARefusalLeavesTheOneInTheListStanding) {
  ServiceAnswers answers({"actions", "persistence"}, 1, "Plasma");
  int notifications = 0;
  serve([&](const MockService::Call& call) {
    if (call.method == "Notify" && ++notifications == 2)
      throw std::runtime_error("org.freedesktop.Notifications.Error.ExcessNotificationGeneration");
    return answers(call);
  });
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(2));
  // The helper has the refusal before it has what this client says afterwards.
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(3));
  EXPECT_THAT(service_->callsOf("CloseNotification"), IsEmpty());
  click(1, "default");
  EXPECT_TRUE(application->waitForCalls(1));
}

TEST_F(NotifierOfAKind, OffersNoActionsToAServiceWithout) {
  serve(ServiceAnswers({"body"}));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'Click & see', [], {"));
}

TEST_F(NotifierOfAKind, LetsAServiceWithoutActionsTakeTheBubbleAway) {
  // notify-osd makes a dialog box of a bubble that is to stay.
  serve(ServiceAnswers({"body"}));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'suppress-sound': <true>}, -1)"));
}

}  // namespace
}  // namespace camera_shot_tests
