// The whole way of a notification with a notification service that people use, in a private desktop: from the
// centre through the helper to the screen, and from a click there to an application that has to be started
// for it. The variable NOTIFICATION_SERVICE says which service the desktop has.

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/notifications/NotifierFixture.h"
#include "tests/notifications/NotifyWatch.h"
#include "tests/support/BusClient.h"

namespace camera_shot_tests {

using test_support::BusClient;

namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

const std::string kTool = "com.verrano.quillo.CameraShot";

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  if (!value) throw std::runtime_error(std::string("not in a private desktop: there is no ") + name);
  return value;
}

/// Runs a program and returns what it says, or nothing when it fails.
std::string output(const std::string& command) {
  char* text = nullptr;
  int status = 0;
  const bool ran = g_spawn_command_line_sync(command.c_str(), &text, nullptr, &status, nullptr);
  const platform_linux::GStringHandle owned(text);
  return ran && status == 0 ? owned.get() : "";
}

/// Where a service puts things in its bubble.
struct Bubble {
  std::string windowName;
  /// In pixels from the bubble's left and top; negative ones from its right and bottom.
  int clickX, clickY;
  int buttonX, buttonY;
};

const std::map<std::string, Bubble> kBubbles{
    // Passes a click on the body over and shows the default action as a button, left of the other.
    {"xfce4-notifyd", {"xfce4-notifyd", -150, -30, -57, -30}},
    {"notification-daemon", {"Notification", 100, 55, -80, -37}},
};

class RealService : public testing::Test {
 protected:
  void postPhoto(const std::string& path) {
    Center center(kTool);
    center->addNotificationRequest(photoRequest(path));
    ASSERT_TRUE(center.waitForRelease());
  }

  /// The bubbles on the screen, once there are any.
  std::vector<std::string> bubbles() const {
    std::istringstream lines(
        output("xdotool search --sync --onlyvisible --name ^" + kBubbles.at(service_).windowName + "$"));
    std::vector<std::string> windows;
    for (std::string line; std::getline(lines, line);)
      windows.push_back(line);
    return windows;
  }

  /// A click on the notification itself.
  void click() const {
    if (service_ == "dunst")
      output("dunstctl action");
    else
      clickAt(kBubbles.at(service_).clickX, kBubbles.at(service_).clickY);
  }

  void clickAt(int x, int y) const {
    const auto windows = bubbles();
    ASSERT_THAT(windows, SizeIs(1)) << "exactly one bubble";
    std::istringstream geometry(output("xdotool getwindowgeometry --shell " + windows[0]));
    std::map<std::string, int> values;
    for (std::string line; std::getline(geometry, line);)
      values[line.substr(0, line.find('='))] = std::atoi(line.c_str() + line.find('=') + 1);
    const int column = values["X"] + (x < 0 ? values["WIDTH"] : 0) + x;
    const int row = values["Y"] + (y < 0 ? values["HEIGHT"] : 0) + y;
    const std::string target = std::to_string(column) + " " + std::to_string(row);
    // By way of another point inside, so that the bubble sees the pointer arrive.
    output("xdotool mousemove " + std::to_string(values["X"] + 5) + " " + std::to_string(values["Y"] + 5) +
           " mousemove " + target + " click 1");
  }

  /// What the application was asked for, in the end.
  std::string reported() const {
    EXPECT_TRUE(journal_->waitForCalls(1));
    return journal_->calls().empty() ? "" : journal_->calls()[0].arguments;
  }

  const std::string service_ = variable("NOTIFICATION_SERVICE");
  const std::string address_ = variable("DBUS_SESSION_BUS_ADDRESS");
  const BusClient client_{address_};
  const std::unique_ptr<MockService> journal_ = makeJournal(address_);
  const NotifyWatch watch_{address_};
};

TEST_F(RealService, AClickStartsTheApplicationAndTheHelperLeaves) {
  postPhoto("/home/me/A shot.png");
  ASSERT_THAT(watch_.waitForIds(1), SizeIs(1));
  click();
  const std::string report = reported();
  EXPECT_THAT(report, HasSubstr("'show-photo'"));
  EXPECT_THAT(report, HasSubstr("/home/me/A shot.png"));
  EXPECT_TRUE(client_.waitUntilUnowned(kNotifier)) << "the bubble was not closed";
}

TEST_F(RealService, TheButtonStartsTheApplicationWithItsOwnAction) {
  postPhoto("/home/me/A shot.png");
  ASSERT_THAT(watch_.waitForIds(1), SizeIs(1));
  clickAt(kBubbles.at(service_).buttonX, kBubbles.at(service_).buttonY);
  EXPECT_THAT(reported(), HasSubstr("'open-photo'"));
  EXPECT_TRUE(client_.waitUntilUnowned(kNotifier)) << "the bubble was not closed";
}

TEST_F(RealService, ALaterRunsNotificationTakesTheEarliersPlace) {
  postPhoto("/first.png");
  ASSERT_THAT(watch_.waitForIds(1), SizeIs(1));
  postPhoto("/second.png");
  const auto ids = watch_.waitForIds(2);
  ASSERT_THAT(ids, SizeIs(2));
  EXPECT_EQ(ids[0], ids[1]);
  click();
  EXPECT_THAT(reported(), HasSubstr("/second.png"));
}

TEST_F(RealService, ANotificationAfterTheServiceWasKilledIsShownByTheNextOne) {
  postPhoto("/first.png");
  ASSERT_THAT(watch_.waitForIds(1), SizeIs(1));
  const pid_t service = client_.processOf(kService);
  const platform_linux::GStringHandle program(
      g_file_read_link(("/proc/" + std::to_string(service) + "/exe").c_str(), nullptr));
  kill(service, SIGKILL);
  ASSERT_TRUE(client_.waitUntilUnowned(kService));
  ASSERT_TRUE(g_spawn_command_line_async(program.get(), nullptr));
  ASSERT_FALSE(output("sh -c 'gdbus wait --session --timeout 20 " + kService + " && echo there'").empty());
  postPhoto("/second.png");
  ASSERT_THAT(watch_.waitForIds(2), SizeIs(2));
  click();
  EXPECT_THAT(reported(), HasSubstr("/second.png"));
}

}  // namespace
}  // namespace camera_shot_tests
