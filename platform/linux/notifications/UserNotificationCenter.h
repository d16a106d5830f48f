#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "picture/Thumbnail.h"
#include "platform/UserNotifications/UNUserNotificationCenter.h"
#include "platform/linux/base/TerminationHold.h"
#include "platform/linux/bus/NotificationActions.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

class NotificationDelivery;

struct UserNotificationCenterSettings {
  std::string applicationId;
  NotificationActions actions;
  /// What a click on a notification does, for the services that show that as a button: in the user's
  /// language.
  std::string defaultActionTitle;
  TerminationHold holdTermination;
  /// Plays the sound of a notification, for the services that know of none.
  std::function<void()> playSound = {};
  /// A small copy of the photo that a notification is about.
  std::function<std::optional<picture::Thumbnail>(const std::string& path)> thumbnailOf = {};
};

/// The desktop's notifications over the session bus. Everything is asynchronous and bounded: a desktop
/// without a bus or a notification service costs nothing but the notification. A notification that is under
/// way holds the end of the application. Timers and replies come through the default main context.
class UserNotificationCenter : public platform::UNUserNotificationCenter {
 public:
  /// `bus` outlives this.
  UserNotificationCenter(const SessionBus& bus, UserNotificationCenterSettings settings);
  UserNotificationCenter(const UserNotificationCenter&) = delete;
  UserNotificationCenter& operator=(const UserNotificationCenter&) = delete;
  /// Notifications whose trigger has not come are dropped; those handed to the bus still go out.
  ~UserNotificationCenter() override;

  void setDelegate(std::weak_ptr<platform::UNUserNotificationCenterDelegate> delegate) override;
  /// The completion runs on the main thread. There is no permission to ask for: granted means that somebody
  /// shows them.
  void requestAuthorizationWithOptions(
      unsigned options,
      std::function<void(bool granted, const std::optional<platform::NSError>& error)> completionHandler)
      override;
  void setNotificationCategories(std::set<platform::UNNotificationCategory> categories) override;
  /// A request takes the place of an earlier one of its identifier at every stage: before its trigger, on the
  /// way and on the screen. A repeating trigger delivers once. The delegate is asked how to present every
  /// notification, since a program without windows does not learn whether it is in front.
  void addNotificationRequest(const platform::UNNotificationRequest& request) override;

  /// The user acted on a notification while the application runs: the application calls this when the action
  /// arrives. The end of the application is held until the delegate has completed.
  void receiveResponse(const platform::UNNotificationResponse& response);

 private:
  class PendingRequest;

  void present(const platform::UNNotificationRequest& request, std::shared_ptr<void> hold);
  void deliver(const platform::UNNotificationRequest& request, unsigned presentationOptions,
               std::shared_ptr<void> hold);
  /// Empty without one.
  [[nodiscard]] picture::Thumbnail thumbnailFor(const platform::UNMutableNotificationContent& content) const;
  [[nodiscard]] std::shared_ptr<void> hold() const;

  const SessionBus& bus_;
  const UserNotificationCenterSettings settings_;
  std::weak_ptr<platform::UNUserNotificationCenterDelegate> delegate_;
  std::set<platform::UNNotificationCategory> categories_;
  std::map<std::string, std::unique_ptr<PendingRequest>> pending_;  // by identifier, before the trigger
  std::map<std::string, std::weak_ptr<NotificationDelivery>>
      deliveries_;  // by identifier, the newest of each
  /// Gone with the centre: completions of the delegate look at it.
  std::shared_ptr<UserNotificationCenter*> self_;
};

}  // namespace platform_linux
