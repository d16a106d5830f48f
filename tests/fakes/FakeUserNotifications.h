#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/UserNotifications/UNUserNotificationCenter.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/Journal.h"

namespace fakes {

/// A desktop that answers and shows when a test says so, by the given clock.
class FakeUserNotificationCenter : public platform::UNUserNotificationCenter {
 public:
  using Answer = std::function<void(bool granted, const std::optional<platform::NSError>& error)>;

  /// A notification as the user sees it.
  struct Shown {
    std::string body;
    std::vector<std::string> buttons;
    bool hasSound = false;
  };

  FakeUserNotificationCenter(Journal& journal, const platform::NSDate& clock)
      : journal_(journal), clock_(clock) {}
  void setDelegate(std::weak_ptr<platform::UNUserNotificationCenterDelegate> value) override;
  void requestAuthorizationWithOptions(unsigned options, Answer completionHandler) override;
  void setNotificationCategories(std::set<platform::UNNotificationCategory> value) override;
  void addNotificationRequest(const platform::UNNotificationRequest& request) override;

  /// Answers every question for authorisation that is still open.
  void answerAuthorization(bool granted, const std::optional<platform::NSError>& error = {});
  /// Shows the requests whose triggers have come by now, in the order of their triggers, as the delegate
  /// says.
  void deliver();
  /// The user acts on a notification.
  void act(const platform::UNNotificationResponse& response) const;

  std::weak_ptr<platform::UNUserNotificationCenterDelegate> delegate;
  std::vector<Answer> questions;  ///< the open ones
  std::set<platform::UNNotificationCategory> categories;
  std::vector<platform::UNNotificationRequest> requests;  ///< all that were added
  std::map<std::string, Shown> shown;                     ///< by identifier

 private:
  struct Waiting {
    platform::NSDate::TimePoint due;
    platform::UNNotificationRequest request;
  };
  void present(const platform::UNNotificationRequest& request);
  void show(const platform::UNNotificationRequest& request, unsigned presentationOptions);

  Journal& journal_;
  const platform::NSDate& clock_;
  std::vector<Waiting> waiting_;
};

}  // namespace fakes
