#include "tests/fakes/FakeUserNotifications.h"

#include <algorithm>
#include <utility>

namespace fakes {
namespace {

constexpr unsigned kVisible = platform::UNNotificationPresentationOptionAlert |
                              platform::UNNotificationPresentationOptionList |
                              platform::UNNotificationPresentationOptionBanner;

}  // namespace

void FakeUserNotificationCenter::setDelegate(
    std::weak_ptr<platform::UNUserNotificationCenterDelegate> value) {
  delegate = std::move(value);
  journal_.add("notifications setDelegate");
}

void FakeUserNotificationCenter::requestAuthorizationWithOptions(unsigned options, Answer completionHandler) {
  journal_.add("notifications requestAuthorization " + std::to_string(options));
  questions.push_back(std::move(completionHandler));
}

void FakeUserNotificationCenter::setNotificationCategories(std::set<platform::UNNotificationCategory> value) {
  categories = std::move(value);
  journal_.add("notifications setCategories");
}

void FakeUserNotificationCenter::addNotificationRequest(const platform::UNNotificationRequest& request) {
  requests.push_back(request);
  std::erase_if(waiting_, [&](const Waiting& each) { return each.request.identifier == request.identifier; });
  waiting_.push_back({clock_.date() + request.trigger.timeInterval, request});
  std::string body = request.content.body;
  for (std::size_t at = body.find('\n'); at != std::string::npos; at = body.find('\n', at))
    body.replace(at, 1, "\\n");
  journal_.add("notify " + request.identifier + ": " + body);
}

void FakeUserNotificationCenter::answerAuthorization(bool granted,
                                                     const std::optional<platform::NSError>& error) {
  for (const auto& answer : std::exchange(questions, {}))
    answer(granted, error);
}

void FakeUserNotificationCenter::deliver() {
  const auto now = clock_.date();
  std::stable_sort(waiting_.begin(), waiting_.end(),
                   [](const Waiting& a, const Waiting& b) { return a.due < b.due; });
  while (!waiting_.empty() && waiting_.front().due <= now) {
    const auto request = std::move(waiting_.front().request);
    waiting_.erase(waiting_.begin());
    present(request);
  }
}

void FakeUserNotificationCenter::act(const platform::UNNotificationResponse& response) const {
  if (const auto told = delegate.lock())
    told->userNotificationCenterDidReceiveNotificationResponse(response, [] {});
}

void FakeUserNotificationCenter::present(const platform::UNNotificationRequest& request) {
  if (const auto asked = delegate.lock())
    asked->userNotificationCenterWillPresentNotification(
        {request}, [this, request](unsigned options) { show(request, options); });
  else
    show(request, kVisible | platform::UNNotificationPresentationOptionSound);
}

void FakeUserNotificationCenter::show(const platform::UNNotificationRequest& request,
                                      unsigned presentationOptions) {
  if (!(presentationOptions & kVisible)) return;
  const auto& content = request.content;
  Shown seen{content.body,
             {},
             content.sound != platform::UNNotificationSound::None &&
                 (presentationOptions & platform::UNNotificationPresentationOptionSound) != 0};
  for (const auto& category : categories)
    if (category.identifier == content.categoryIdentifier)
      for (const auto& action : category.actions)
        seen.buttons.push_back(action.title);
  shown[request.identifier] = std::move(seen);
}

}  // namespace fakes
