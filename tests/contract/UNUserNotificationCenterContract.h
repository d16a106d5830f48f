#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/UserNotifications/UNUserNotificationCenter.h"

namespace contract {

/// A notification as the user sees it.
struct ShownNotification {
  std::string text;
  std::vector<std::string> buttons;
  bool hasSound = false;
};

/// A notification centre on a desktop that shows notifications.
class UNUserNotificationCenterFactory {
 public:
  virtual ~UNUserNotificationCenterFactory() = default;
  virtual platform::UNUserNotificationCenter& center() = 0;
  /// What is on the screen, by the identifiers of the requests.
  virtual std::map<std::string, ShownNotification> shown() const = 0;
  /// The user acts on a notification.
  virtual void act(const platform::UNNotificationResponse& response) = 0;
  /// Lets the desktop and the main loop go on until `condition` holds; answers whether it does.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

using MakeUNUserNotificationCenterFactory = std::unique_ptr<UNUserNotificationCenterFactory> (*)();

/// Says how to present notifications, at once or when the test lets it, and notes all that it hears.
class NotedDelegate : public platform::UNUserNotificationCenterDelegate {
 public:
  void userNotificationCenterWillPresentNotification(
      const platform::UNNotification& notification,
      std::function<void(unsigned presentationOptions)> completionHandler) override {
    EXPECT_EQ(std::this_thread::get_id(), mainThread_);
    presented.push_back(notification.request);
    if (answersLater)
      unanswered.push_back(std::move(completionHandler));
    else
      completionHandler(options);
  }
  void userNotificationCenterDidReceiveNotificationResponse(
      const platform::UNNotificationResponse& response, std::function<void()> completionHandler) override {
    EXPECT_EQ(std::this_thread::get_id(), mainThread_);
    responses.push_back(response);
    completionHandler();
  }

  unsigned options =
      platform::UNNotificationPresentationOptionBanner | platform::UNNotificationPresentationOptionSound;
  bool answersLater = false;
  std::vector<platform::UNNotificationRequest> presented;
  std::vector<std::function<void(unsigned)>> unanswered;
  std::vector<platform::UNNotificationResponse> responses;

 private:
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

/// What every notification centre promises.
class UNUserNotificationCenterContract : public testing::TestWithParam<MakeUNUserNotificationCenterFactory> {
 protected:
  static platform::UNNotificationRequest request(const std::string& identifier, const std::string& body) {
    platform::UNNotificationRequest made;
    made.identifier = identifier;
    made.content.body = body;
    made.content.categoryIdentifier = "photo";
    made.content.userInfo = {{"Path", "/home/ada/A shot.png"}};
    made.content.sound = platform::UNNotificationSound::DefaultSound;
    made.trigger.timeInterval = std::chrono::milliseconds(1);
    return made;
  }
  /// A set of one category, with one action.
  static std::set<platform::UNNotificationCategory> category(const std::string& identifier,
                                                             const std::string& actionTitle) {
    return {{identifier, {{"OPEN_ACTION", actionTitle, 0}}, {}, 0}};
  }

  std::shared_ptr<NotedDelegate> makeDelegate() {
    auto delegate = std::make_shared<NotedDelegate>();
    center().setDelegate(delegate);
    return delegate;
  }
  /// Counts the answers to one question for authorisation.
  std::shared_ptr<const int> ask() {
    auto answers = std::make_shared<int>(0);
    center().requestAuthorizationWithOptions(
        platform::UNAuthorizationOptionSound | platform::UNAuthorizationOptionAlert,
        [answers](bool granted, const std::optional<platform::NSError>& error) {
          ++*answers;
          EXPECT_TRUE(granted);
          EXPECT_FALSE(error);
        });
    return answers;
  }
  bool isShown(const std::string& identifier, const std::string& text) const {
    const auto shown = factory_->shown();
    const auto found = shown.find(identifier);
    return found != shown.end() && found->second.text == text;
  }
  /// Adds a request and waits until the user sees it.
  void show(const platform::UNNotificationRequest& request) {
    center().addNotificationRequest(request);
    EXPECT_TRUE(factory_->runUntil([&] { return isShown(request.identifier, request.content.body); }));
  }

  platform::UNUserNotificationCenter& center() { return factory_->center(); }

  std::unique_ptr<UNUserNotificationCenterFactory> factory_ = GetParam()();
};

TEST_P(UNUserNotificationCenterContract, AQuestionForAuthorisationIsAnsweredLaterAndOnce) {
  const auto answers = ask();
  EXPECT_EQ(*answers, 0);
  EXPECT_TRUE(factory_->runUntil([&] { return *answers > 0; }));
  show(request("photo", "Taken."));
  EXPECT_EQ(*answers, 1);
}

TEST_P(UNUserNotificationCenterContract, EveryQuestionForAuthorisationIsAnswered) {
  const auto first = ask();
  const auto second = ask();
  EXPECT_TRUE(factory_->runUntil([&] { return *first > 0 && *second > 0; }));
  EXPECT_EQ(*first, 1);
  EXPECT_EQ(*second, 1);
}

TEST_P(UNUserNotificationCenterContract, ARequestIsShownLaterUnderItsIdentifierAsItStands) {
  center().setNotificationCategories(category("photo", "Open"));
  center().addNotificationRequest(request("photo", "Taken.\nClick here."));
  EXPECT_THAT(factory_->shown(), testing::IsEmpty());
  ASSERT_TRUE(factory_->runUntil([&] { return !factory_->shown().empty(); }));
  const auto shown = factory_->shown();
  ASSERT_TRUE(shown.contains("photo"));
  EXPECT_EQ(shown.at("photo").text, "Taken.\nClick here.");
  EXPECT_THAT(shown.at("photo").buttons, testing::ElementsAre("Open"));
  EXPECT_TRUE(shown.at("photo").hasSound);
}

TEST_P(UNUserNotificationCenterContract, ARequestWaitsForItsTrigger) {
  auto late = request("late", "Later.");
  late.trigger.timeInterval = std::chrono::hours(1);
  center().addNotificationRequest(late);
  show(request("photo", "Taken."));
  EXPECT_FALSE(factory_->shown().contains("late"));
}

TEST_P(UNUserNotificationCenterContract, ARequestTakesThePlaceOfOneThatWaits) {
  const auto delegate = makeDelegate();
  center().addNotificationRequest(request("photo", "First."));
  center().addNotificationRequest(request("failure", "Failed."));
  const auto second = request("photo", "Second.");
  show(second);
  ASSERT_TRUE(factory_->runUntil([&] { return isShown("failure", "Failed."); }));
  EXPECT_THAT(delegate->presented, testing::UnorderedElementsAre(request("failure", "Failed."), second));
}

TEST_P(UNUserNotificationCenterContract, ARequestTakesThePlaceOfOneThatIsShown) {
  show(request("photo", "First."));
  show(request("failure", "Failed."));
  show(request("photo", "Second."));
  EXPECT_THAT(factory_->shown(), testing::SizeIs(2));
}

TEST_P(UNUserNotificationCenterContract, CategoriesReplaceThoseKnownSoFar) {
  center().setNotificationCategories(category("photo", "Open"));
  center().setNotificationCategories(category("film", "Play"));
  auto film = request("film", "Filmed.");
  film.content.categoryIdentifier = "film";
  show(film);
  show(request("photo", "Taken."));
  EXPECT_THAT(factory_->shown().at("film").buttons, testing::ElementsAre("Play"));
  EXPECT_THAT(factory_->shown().at("photo").buttons, testing::IsEmpty());
}

TEST_P(UNUserNotificationCenterContract, TheDelegateIsAskedOnceAboutEachRequest) {
  const auto delegate = makeDelegate();
  const auto photo = request("photo", "Taken.");
  show(photo);
  show(request("failure", "Failed."));
  EXPECT_THAT(delegate->presented, testing::ElementsAre(photo, request("failure", "Failed.")));
}

TEST_P(UNUserNotificationCenterContract, TheDelegateMayWithholdSoundAndNotification) {
  const auto delegate = makeDelegate();
  delegate->options = platform::UNNotificationPresentationOptionBanner;
  show(request("silent", "Taken."));
  EXPECT_FALSE(factory_->shown().at("silent").hasSound);
  delegate->options = 0;
  center().addNotificationRequest(request("hidden", "Hidden."));
  ASSERT_TRUE(factory_->runUntil([&] { return delegate->presented.size() == 2; }));
  delegate->options = platform::UNNotificationPresentationOptionBanner;
  show(request("photo", "Taken."));
  EXPECT_FALSE(factory_->shown().contains("hidden"));
}

TEST_P(UNUserNotificationCenterContract, TheDelegateMayAnswerLater) {
  const auto delegate = makeDelegate();
  delegate->answersLater = true;
  center().addNotificationRequest(request("photo", "Taken."));
  ASSERT_TRUE(factory_->runUntil([&] { return delegate->unanswered.size() == 1; }));
  EXPECT_THAT(factory_->shown(), testing::IsEmpty());
  delegate->unanswered[0](delegate->options);
  EXPECT_TRUE(factory_->runUntil([&] { return isShown("photo", "Taken."); }));
}

TEST_P(UNUserNotificationCenterContract, AResponseReachesTheDelegateOnceAsItIs) {
  const auto delegate = makeDelegate();
  const platform::UNNotificationResponse click{{request("photo", "Taken.")}, "OPEN_ACTION"};
  factory_->act(click);
  ASSERT_TRUE(factory_->runUntil([&] { return !delegate->responses.empty(); }));
  show(request("photo", "Taken."));
  EXPECT_THAT(delegate->responses, testing::ElementsAre(click));
}

TEST_P(UNUserNotificationCenterContract, AFormerDelegateHearsNothing) {
  const auto former = makeDelegate();
  const auto delegate = makeDelegate();
  factory_->act({{request("photo", "Taken.")}, "OPEN_ACTION"});
  show(request("photo", "Taken."));
  EXPECT_THAT(former->responses, testing::IsEmpty());
  EXPECT_THAT(former->presented, testing::IsEmpty());
  EXPECT_THAT(delegate->responses, testing::SizeIs(1));
  EXPECT_THAT(delegate->presented, testing::SizeIs(1));
}

TEST_P(UNUserNotificationCenterContract, ADelegateThatIsGoneIsNotKeptAndTheNotificationIsShown) {
  auto delegate = makeDelegate();
  const std::weak_ptr<NotedDelegate> gone = delegate;
  center().addNotificationRequest(request("photo", "Taken."));
  delegate.reset();
  EXPECT_TRUE(gone.expired());
  factory_->act({{request("photo", "Taken.")}, "OPEN_ACTION"});
  EXPECT_TRUE(factory_->runUntil([&] { return isShown("photo", "Taken."); }));
}

}  // namespace contract
