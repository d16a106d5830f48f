#include "platform/linux/notifications/UserNotificationCenter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/linux/notifications/NotificationAuthorization.h"
#include "platform/linux/notifications/NotificationDelivery.h"
#include "platform/linux/notifications/NotificationMessage.h"

namespace platform_linux {
namespace {

using platform::UNNotificationRequest;

constexpr unsigned kVisible = platform::UNNotificationPresentationOptionAlert |
                              platform::UNNotificationPresentationOptionList |
                              platform::UNNotificationPresentationOptionBanner;

}  // namespace

/// A request that waits for its trigger.
class UserNotificationCenter::PendingRequest {
 public:
  PendingRequest(UserNotificationCenter& center, UNNotificationRequest request, std::shared_ptr<void> hold)
      : center_(center), request_(std::move(request)), hold_(std::move(hold)) {
    const auto delay = std::max(request_.trigger.timeInterval, std::chrono::milliseconds(0));
    timer_ = g_timeout_add(static_cast<guint>(delay.count()), onTrigger, this);
  }
  PendingRequest(const PendingRequest&) = delete;
  PendingRequest& operator=(const PendingRequest&) = delete;
  ~PendingRequest() {
    if (timer_) g_source_remove(timer_);
  }

 private:
  static gboolean onTrigger(gpointer data) noexcept {
    auto* const self = static_cast<PendingRequest*>(data);
    self->timer_ = 0;
    const auto owned = std::move(self->center_.pending_.extract(self->request_.identifier).mapped());
    owned->center_.present(owned->request_, std::move(owned->hold_));
    return G_SOURCE_REMOVE;
  }

  UserNotificationCenter& center_;
  const UNNotificationRequest request_;
  std::shared_ptr<void> hold_;
  guint timer_ = 0;
};

UserNotificationCenter::UserNotificationCenter(const SessionBus& bus, UserNotificationCenterSettings settings)
    : bus_(bus), settings_(std::move(settings)), self_(std::make_shared<UserNotificationCenter*>(this)) {}

UserNotificationCenter::~UserNotificationCenter() = default;

void UserNotificationCenter::setDelegate(std::weak_ptr<platform::UNUserNotificationCenterDelegate> delegate) {
  delegate_ = std::move(delegate);
}

void UserNotificationCenter::requestAuthorizationWithOptions(
    unsigned, std::function<void(bool, const std::optional<platform::NSError>&)> completionHandler) {
  findNotificationService(bus_, settings_.applicationId, std::move(completionHandler));
}

void UserNotificationCenter::setNotificationCategories(
    std::set<platform::UNNotificationCategory> categories) {
  categories_ = std::move(categories);
}

void UserNotificationCenter::addNotificationRequest(const UNNotificationRequest& request) {
  pending_[request.identifier] = std::make_unique<PendingRequest>(*this, request, hold());
}

void UserNotificationCenter::receiveResponse(const platform::UNNotificationResponse& response) {
  const auto delegate = delegate_.lock();
  if (!delegate) return;
  delegate->userNotificationCenterDidReceiveNotificationResponse(response,
                                                                 [held = hold()]() mutable { held.reset(); });
}

void UserNotificationCenter::present(const UNNotificationRequest& request, std::shared_ptr<void> held) {
  const auto delegate = delegate_.lock();
  if (!delegate) {
    deliver(request, kVisible | platform::UNNotificationPresentationOptionSound, std::move(held));
    return;
  }
  delegate->userNotificationCenterWillPresentNotification(
      {request}, [self = std::weak_ptr(self_), request, held = std::move(held)](unsigned options) {
        if (const auto center = self.lock()) (*center)->deliver(request, options, held);
      });
}

void UserNotificationCenter::deliver(const UNNotificationRequest& request, unsigned presentationOptions,
                                     std::shared_ptr<void> held) {
  if (!(presentationOptions & kVisible)) return;
  auto content = request.content;
  if (!(presentationOptions & platform::UNNotificationPresentationOptionSound))
    content.sound = platform::UNNotificationSound::None;
  auto dictionary = [content, categories = categories_, actions = settings_.actions,
                     defaultActionTitle = settings_.defaultActionTitle,
                     thumbnail = thumbnailFor(content)](NotificationService service) {
    return notificationDictionary(content, categories, actions, defaultActionTitle, thumbnail, service);
  };
  const bool withSound = content.sound == platform::UNNotificationSound::DefaultSound;
  auto& newest = deliveries_[request.identifier];
  if (const auto earlier = newest.lock()) earlier->supersede();
  const auto delivery = std::make_shared<NotificationDelivery>(
      bus_, OutgoingNotification{.applicationId = settings_.applicationId,
                                 .identifier = request.identifier,
                                 .dictionary = std::move(dictionary),
                                 .playSound = withSound ? settings_.playSound : nullptr,
                                 .hold = std::move(held)});
  newest = delivery;
  delivery->start();
}

picture::Thumbnail UserNotificationCenter::thumbnailFor(
    const platform::UNMutableNotificationContent& content) const {
  const auto path = content.userInfo.find(settings_.actions.userInfoKey);
  if (path == content.userInfo.end() || !settings_.thumbnailOf) return {};
  return settings_.thumbnailOf(path->second).value_or(picture::Thumbnail{});
}

std::shared_ptr<void> UserNotificationCenter::hold() const {
  return settings_.holdTermination ? settings_.holdTermination() : nullptr;
}

}  // namespace platform_linux
