#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/UserNotifications/UNUserNotificationCenter.h"
#include "tests/fakes/Journal.h"

namespace fakes {

class FakeUserNotificationCenter : public platform::UNUserNotificationCenter {
 public:
  explicit FakeUserNotificationCenter(Journal& journal) : journal_(journal) {}

  void setDelegate(std::weak_ptr<platform::UNUserNotificationCenterDelegate> value) override {
    delegate = std::move(value);
    journal_.add("notifications setDelegate");
  }
  void requestAuthorizationWithOptions(
      unsigned options,
      std::function<void(bool granted, const std::optional<platform::NSError>& error)> completion) override {
    journal_.add("notifications requestAuthorization " + std::to_string(options));
    authorizationCompletion = std::move(completion);
  }
  void setNotificationCategories(std::set<platform::UNNotificationCategory> value) override {
    categories = std::move(value);
    journal_.add("notifications setCategories");
  }
  void addNotificationRequest(const platform::UNNotificationRequest& request) override {
    requests.push_back(request);
    std::string body = request.content.body;
    for (std::size_t at = body.find('\n'); at != std::string::npos; at = body.find('\n', at))
      body.replace(at, 1, "\\n");
    journal_.add("notify " + request.identifier + ": " + body);
  }

  std::weak_ptr<platform::UNUserNotificationCenterDelegate> delegate;
  std::function<void(bool, const std::optional<platform::NSError>&)> authorizationCompletion;
  std::set<platform::UNNotificationCategory> categories;
  std::vector<platform::UNNotificationRequest> requests;

 private:
  Journal& journal_;
};

}  // namespace fakes
