// The helper program against a notification service played by the test.

#include <algorithm>
#include <chrono>
#include <memory>
#include <signal.h>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/notifications/NotifierOnABus.h"
#include "tests/notifications/Processes.h"
#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

using test_support::BusClient;
using test_support::waitUntil;

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(Notifier, ShowsTheNotificationAndWaitsForTheUser) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(
      service_->callsOf("Notify"),
      ElementsAre(
          "('Camera Shot', 0, 'com.verrano.quillo.CameraShot', 'Taken', 'Click & see', ['default', 'Show', "
          "'button-0', 'Open'], {'desktop-entry': <'com.verrano.quillo.CameraShot'>, 'urgency': <byte 0x01>, "
          "'suppress-sound': <true>}, 0)"));
}

TEST_F(Notifier, ShowsThePhoto) {
  ASSERT_TRUE(post(service_->client(),
                   "{'title': <'Taken'>, 'image-data': <(2, 1, 6, false, 8, 3, [byte 1, 2, "
                   "3, 4, 5, 6])>}"));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(
      service_->callsOf("Notify")[0],
      HasSubstr("'image-data': <(2, 1, 6, false, 8, 3, [byte 0x01, 0x02, 0x03, 0x04, 0x05, 0x06])>}"));
}

TEST_F(Notifier, PassesOnNoPhotoWithFewerBytesThanItClaims) {
  for (const std::string image :
       {"(2, 2, 6, false, 8, 3, [byte 1, 2, 3, 4, 5, 6])",
        "(-2, -1, 6, false, 8, 3, [byte 1, 2, 3, 4, 5, 6])", "(2, 1, 6, true, 8, 3, [byte 1, 2, 3, 4, 5, 6])",
        "(100000, 100000, 300000, false, 8, 3, @ay [])"})
    ASSERT_TRUE(post(service_->client(), "{'title': <'Taken'>, 'image-data': <" + image + ">}", image));
  ASSERT_TRUE(waitForNotifications(4));
  EXPECT_THAT(service_->callsOf("Notify"), ::testing::Each(::testing::Not(HasSubstr("image-data"))));
}

TEST_F(Notifier, OffersNoActionThatHasNothingToActUpon) {
  ASSERT_TRUE(post(service_->client(), kFailure));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'Camera not found.', '', [], {"));
}

TEST_F(Notifier, RefusesWhatIsNoApplication) {
  EXPECT_FALSE(post(service_->client(), kPhoto, "Photo", "not an application"));
  EXPECT_THAT(service_->calls(), IsEmpty());
}

TEST_F(Notifier, RefusesApplicationsOfOtherSuites) {
  for (const std::string id : {"com.example.App", "com.verrano.quillonaire.App", "com.verrano.quillo"})
    EXPECT_FALSE(post(service_->client(), kPhoto, "Photo", id)) << id;
  EXPECT_THAT(service_->calls(), IsEmpty());
}

TEST_F(Notifier, OffersNoActionThatIsNotANotificationsOwn) {
  ASSERT_TRUE(post(service_->client(),
                   "{'title': <'Taken'>, 'default-action': <'app.preferences'>, 'default-action-target': "
                   "<'/a.png'>, 'default-action-label': <'Show'>, 'buttons': <[{'label': <'Open'>, 'action': "
                   "<'app.open-photo'>, 'target': <'/a.png'>}, {'label': <'Quit'>, 'action': <'app.quit'>, "
                   "'target': <''>}]>}"));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_THAT(service_->callsOf("Notify")[0], HasSubstr("'Taken', '', ['button-0', 'Open'], {"));
}

TEST_F(Notifier, ReplacesTheBubbleOfTheSameIdentifierOnly) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(2));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(3));
  EXPECT_THAT(service_->callsOf("Notify")[1], HasSubstr("('Camera Shot', 0, "));
  EXPECT_THAT(service_->callsOf("Notify")[2], HasSubstr("('Camera Shot', 1, "));
}

TEST_F(Notifier, OfSeveralAtOnceShowsTheNewestInOneBubble) {
  for (const char* title : {"one", "two", "three"})
    ASSERT_TRUE(post(service_->client(), "{'title': <'" + std::string(title) + "'>}"));
  ASSERT_TRUE(waitUntil([&] {
    const auto calls = service_->callsOf("Notify");
    return !calls.empty() && calls.back().find("three") != std::string::npos;
  }));
  const auto calls = service_->callsOf("Notify");
  for (std::size_t index = 1; index < calls.size(); ++index)
    EXPECT_EQ(firstNumber(calls[index]), 1U);
}

TEST_F(Notifier, ShowsThoseOfSeveralIdentifiersInTheirOrder) {
  // The first of them still asks who the service is when the others come.
  const std::vector<std::string> titles{"One", "Two", "Three", "Four"};
  for (const std::string& title : titles)
    ASSERT_TRUE(post(service_->client(), "{'title': <'" + title + "'>}", title));
  ASSERT_TRUE(waitForNotifications(titles.size()));
  for (std::size_t i = 0; i < titles.size(); ++i)
    EXPECT_THAT(service_->callsOf("Notify")[i], HasSubstr("'" + titles[i] + "'"));
  EXPECT_THAT(service_->callsOf("GetCapabilities"), SizeIs(1));
}

TEST_F(Notifier, AClickRunsTheActionOfTheRunningApplicationAndRemovesTheBubble) {
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  click(1, "default");
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_EQ(application->calls()[0].arguments, "('show-photo', [<'/a.png'>], {})");
  ASSERT_TRUE(waitForCallsOf("CloseNotification", 1));
  EXPECT_THAT(service_->callsOf("CloseNotification"), ElementsAre("(1,)"));
  EXPECT_TRUE(helperLeaves());
}

TEST_F(Notifier, TheButtonRunsItsOwnActionWithTheTokenOfTheClick) {
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  service_->emit("ActivationToken", g_variant_new("(us)", 1U, "token-7"));
  click(1, "button-0");
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_EQ(
      application->calls()[0].arguments,
      "('open-photo', [<'/a.png'>], {'activation-token': <'token-7'>, 'desktop-startup-id': <'token-7'>})");
}

TEST_F(Notifier, AClickStartsTheApplication) {
  bus_.addService(kApplication, {TEST_APPLICATION_PROGRAM});
  const auto journal = makeJournal(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  click(1, "default");
  ASSERT_TRUE(journal->waitForCalls(1));
  EXPECT_THAT(journal->calls()[0].arguments, HasSubstr("show-photo"));
  EXPECT_THAT(journal->calls()[0].arguments, HasSubstr("/a.png"));
}

TEST_F(Notifier, AClickThatIsToldAfterTheClosingRunsItsActionOnce) {
  // As awesome's service tells it, all at once.
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  bus_.pause();
  close(1);
  service_->emit("ActivationToken", g_variant_new("(us)", 1U, "token-7"));
  click(1, "default");
  click(1, "default");
  g_dbus_connection_flush_sync(service_->client().connection(), nullptr, nullptr);
  bus_.resume();
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_TRUE(helperLeaves());
  ASSERT_THAT(application->calls(), SizeIs(1));
  EXPECT_THAT(application->calls()[0].arguments, HasSubstr("token-7"));
  EXPECT_THAT(service_->callsOf("CloseNotification"), IsEmpty());
}

TEST_F(Notifier, AClickOnABubbleThatWasClosedWhileTheNextIsSentRunsItsAction) {
  ServiceAnswers answers;
  serve([&](const MockService::Call& call) {
    if (call.method == "Notify" && firstNumber(call.arguments) == 1) {
      close(1);
      click(1, "default");
    }
    return answers(call);
  });
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  ASSERT_TRUE(post(service_->client(), kFailure));
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_THAT(application->calls()[0].arguments, HasSubstr("/a.png"));
}

TEST_F(Notifier, ClicksOnOthersBubblesAreNotItsBusiness) {
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  // An id that is another program's, a key that was not offered, and a sender that is not the service.
  click(99, "default");
  click(1, "button-9");
  const MockService impostor(bus_.address(), "org.example.Impostor", "", done);
  g_dbus_connection_emit_signal(impostor.client().connection(), nullptr, "/org/freedesktop/Notifications",
                                kService.c_str(), "ActionInvoked", g_variant_new("(us)", 1U, "default"),
                                nullptr);
  impostor.client().ask("GetId", nullptr);
  click(1, "button-0");
  ASSERT_TRUE(application->waitForCalls(1));
  ASSERT_TRUE(helperLeaves());
  ASSERT_THAT(application->calls(), SizeIs(1));
  EXPECT_THAT(application->calls()[0].arguments, HasSubstr("open-photo"));
}

TEST_F(Notifier, LeavesWhenItsLastBubbleHasGone) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(2));
  const pid_t helper = service_->client().processOf(kNotifier);
  close(1);
  close(2);
  EXPECT_TRUE(helperLeaves());
  EXPECT_TRUE(waitForEnd(helper));
}

TEST_F(Notifier, LeavesWhenItIsNeverUsed) {
  service_->client().ask("StartServiceByName", g_variant_new("(su)", kNotifier.c_str(), 0U));
  ASSERT_TRUE(service_->client().hasOwner(kNotifier));
  EXPECT_TRUE(helperLeaves());
}

TEST_F(Notifier, ABubbleThatIsClosedBeforeItsIdIsKnownIsNotWaitedFor) {
  ServiceAnswers answers;
  serve([&](const MockService::Call& call) {
    if (call.method == "Notify") close(1);
    return answers(call);
  });
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_TRUE(helperLeaves());
}

TEST_F(Notifier, GivesAnIdBackOnlyToTheServiceThatMadeIt) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  serve(ServiceAnswers({"actions"}, 40));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  EXPECT_EQ(firstNumber(service_->callsOf("Notify")[0]), 0U);
}

TEST_F(Notifier, ItsBubblesGoWithTheService) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  service_ = nullptr;
  const BusClient client(bus_.address());
  EXPECT_TRUE(client.waitUntilUnowned(kNotifier));
}

TEST_F(Notifier, ARefusedReplacementLeavesTheOldBubbleStandingForTheNewPhoto) {
  ServiceAnswers answers;
  serve([&](const MockService::Call& call) {
    if (call.method == "Notify" && firstNumber(call.arguments) != 0)
      throw std::runtime_error("org.freedesktop.Notifications.Error.ExcessNotificationGeneration");
    return answers(call);
  });
  const auto application = makeApplication(bus_.address());
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  ASSERT_TRUE(post(service_->client(),
                   "{'title': <'Taken'>, 'default-action': <'app.show-photo'>, 'default-action-target': "
                   "<'/b.png'>, 'default-action-label': <'Show'>}"));
  ASSERT_TRUE(waitForNotifications(2));
  // The helper has the refusal before it has what this client says afterwards.
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(3));
  click(1, "default");
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_THAT(application->calls()[0].arguments, HasSubstr("/b.png"));
}

TEST_F(Notifier, AServiceThatTakesNothingHoldsItUpForABoundedTime) {
  ServiceAnswers answers;
  serve([&](const MockService::Call& call) { return call.method == "Notify" ? nullptr : answers(call); });
  ASSERT_TRUE(post(service_->client(), kPhoto));
  EXPECT_TRUE(helperLeaves());
}

TEST_F(Notifier, AServiceThatIsLongInStartingShowsTheNotification) {
  // As on a cold start of Plasma, whose service is started by waiting for the shell.
  service_ = nullptr;
  bus_.addService(kService, {"/usr/bin/gdbus", "wait", "--session", kService});
  const BusClient client(bus_.address());
  ASSERT_TRUE(post(client, kPhoto));
  constexpr std::chrono::seconds kLongStart{14};
  EXPECT_FALSE(waitUntil([&] { return !client.hasOwner(kNotifier); }, kLongStart)) << "it has given up";
  service_ = makeService(bus_.address());
  EXPECT_TRUE(waitForNotifications(1));
}

TEST_F(Notifier, WithoutAServiceItTakesTheNotificationAndLeaves) {
  service_ = nullptr;
  const BusClient client(bus_.address());
  ASSERT_TRUE(post(client, kPhoto));
  EXPECT_TRUE(client.waitUntilUnowned(kNotifier));
}

TEST_F(Notifier, StartsAfreshAfterItWasKilled) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  const pid_t killed = service_->client().processOf(kNotifier);
  kill(killed, SIGKILL);
  ASSERT_TRUE(service_->client().waitUntilUnowned(kNotifier));
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(2));
  EXPECT_EQ(firstNumber(service_->callsOf("Notify")[1]), 0U);
}

TEST_F(Notifier, EndsWithTheBus) {
  ASSERT_TRUE(post(service_->client(), kPhoto));
  ASSERT_TRUE(waitForNotifications(1));
  const pid_t helper = service_->client().processOf(kNotifier);
  bus_.kill();
  EXPECT_TRUE(waitForEnd(helper));
}

}  // namespace
}  // namespace camera_shot_tests
