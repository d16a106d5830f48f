#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace platform {

/// Permission bits for `requestAuthorizationWithOptions`.
enum UNAuthorizationOptions : unsigned { UNAuthorizationOptionSound = 2, UNAuthorizationOptionAlert = 4 };

/// How a notification is shown while the application is in front.
enum UNNotificationPresentationOptions : unsigned {
  UNNotificationPresentationOptionBadge = 1,
  UNNotificationPresentationOptionSound = 2,
  UNNotificationPresentationOptionAlert = 4,
  UNNotificationPresentationOptionList = 8,
  UNNotificationPresentationOptionBanner = 16,
};

/// The action identifier of a click on the notification itself.
inline const std::string UNNotificationDefaultActionIdentifier = "UNNotificationDefaultActionIdentifier";

/// A button on a notification.
struct UNNotificationAction {
  std::string identifier;
  std::string title;
  unsigned options = 0;

  bool operator==(const UNNotificationAction&) const = default;
  // NOLINTNEXTLINE(modernize-use-nullptr): its comparisons with 0 are taken for ones with a pointer.
  auto operator<=>(const UNNotificationAction&) const = default;
};

/// A kind of notification with its buttons.
struct UNNotificationCategory {
  std::string identifier;
  std::vector<UNNotificationAction> actions;
  std::vector<std::string> intentIdentifiers;
  unsigned options = 0;

  bool operator==(const UNNotificationCategory&) const = default;
  // NOLINTNEXTLINE(modernize-use-nullptr): the same.
  auto operator<=>(const UNNotificationCategory&) const = default;
};

enum class UNNotificationSound { None, DefaultSound };

/// What a notification says and carries.
struct UNMutableNotificationContent {
  std::string body;
  std::string categoryIdentifier;
  std::map<std::string, std::string> userInfo;
  UNNotificationSound sound = UNNotificationSound::None;

  bool operator==(const UNMutableNotificationContent&) const = default;
};

/// When a notification is delivered, counted from the moment it is added.
struct UNTimeIntervalNotificationTrigger {
  std::chrono::milliseconds timeInterval{0};
  bool repeats = false;

  bool operator==(const UNTimeIntervalNotificationTrigger&) const = default;
};

/// A notification to be delivered; a later one of the same identifier replaces it.
struct UNNotificationRequest {
  std::string identifier;
  UNMutableNotificationContent content;
  UNTimeIntervalNotificationTrigger trigger;

  bool operator==(const UNNotificationRequest&) const = default;
};

struct UNNotification {
  UNNotificationRequest request;

  bool operator==(const UNNotification&) const = default;
};

/// What the user did with a notification.
struct UNNotificationResponse {
  UNNotification notification;
  std::string actionIdentifier;

  bool operator==(const UNNotificationResponse&) const = default;
};

}  // namespace platform
