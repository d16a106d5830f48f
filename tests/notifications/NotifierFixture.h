#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/notifications/CenterFixture.h"
#include "tests/notifications/MockService.h"
#include "tests/support/BusClient.h"

namespace camera_shot_tests {

/// The name of the helper, which the program bears whatever application it works for.
inline const std::string kNotifier = "com.verrano.quillo.CameraShot.Notifier";

/// A notification with an action for a click and one for a button, as the notification centre sends it.
inline const std::string kPhoto =
    "{'title': <'Taken'>, 'body': <'Click & see'>, 'default-action': <'app.show-photo'>, "
    "'default-action-target': "
    "<'/a.png'>, 'default-action-label': <'Show'>, 'buttons': <[{'label': <'Open'>, 'action': "
    "<'app.open-photo'>, "
    "'target': <'/a.png'>}]>}";
/// One with nothing to click.
inline const std::string kFailure = "{'title': <'Camera not found.'>, 'default-action': <'app.show-photo'>}";

/// Posts through the helper, which the bus starts where it does not run, and waits until it has taken the
/// notification.
testing::AssertionResult post(const test_support::BusClient& client, const std::string& dictionary,
                              const std::string& identifier = "Photo",
                              const std::string& applicationId = kApplication);

/// Answers as a notification service: with `capabilities`, and with an id one higher each time, or the
/// replaced one.
class ServiceAnswers {
 public:
  explicit ServiceAnswers(std::vector<std::string> capabilities = {"body", "actions"},
                          std::uint32_t firstId = 1, std::string serverName = "Test");

  GVariant* operator()(const MockService::Call& call);

 private:
  std::vector<std::string> capabilities_;
  std::uint32_t nextId_;
  std::string serverName_;
};

/// Whether the user may be disturbed, and whether the service knows that.
enum class Disturbing { Unknown, Yes, No };

std::unique_ptr<MockService> makeService(const std::string& address,
                                         MockService::Answer answer = ServiceAnswers(),
                                         Disturbing disturbing = Disturbing::Unknown);
/// The running application: notes which actions it is asked for.
std::unique_ptr<MockService> makeApplication(const std::string& address);
/// What `test_application` reports to.
std::unique_ptr<MockService> makeJournal(const std::string& address);

/// The number that a call names first, such as the id in CloseNotification.
std::uint32_t firstNumber(const std::string& arguments);

}  // namespace camera_shot_tests
