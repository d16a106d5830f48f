#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/CameraPortal.h"
#include "tests/camera/MockPortal.h"
#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace camera_test {
namespace {

using platform_linux::CameraPortal;
using platform_linux::FileDescriptor;
using platform_linux::SessionBus;
using test_support::BusClient;
using test_support::PrivateBus;
using test_support::waitUntil;
using testing::ElementsAre;
using Answer = platform_linux::CameraPortal::Answer;

// Short where a test waits for a portal that never answers, long where nothing may be given up.
constexpr std::chrono::milliseconds kImpatient{50};
constexpr std::chrono::milliseconds kPatient{20000};

/// The portal of a private bus, on which a mock may play it.
class CameraPortalTest : public testing::Test {
 protected:
  void startMock() { mock_.emplace(testBus_.address()); }
  void makePortal(std::chrono::milliseconds patience = kPatient) {
    portal_ = std::make_shared<CameraPortal>([this]() -> const SessionBus& { return bus_; }, patience);
  }
  void ask() {
    portal_->ask([this](Answer answer) { answers_.push_back(answer); });
  }
  /// Asks a portal that does not answer `silent`, with little patience. On a busy machine that may run out
  /// where the portal would have answered: then it asks anew, with more, until `wentAsMeant`.
  bool askImpatiently(const std::string& silent, const std::function<bool()>& wentAsMeant) {
    for (auto patience = kImpatient; patience < kPatient; patience *= 2) {
      settle();
      answers_.clear();
      mock_.reset();
      startMock();
      mock_->silent = {silent};
      makePortal(patience);
      ask();
      if (wentAsMeant()) return true;
    }
    return false;
  }
  bool waitForAnswer() {
    return waitUntil([this] { return !answers_.empty(); });
  }
  /// Everything that was sent to the program before has been handled once this returns.
  void settle() const {
    bool isDone = false;
    bus_.call(
        {"org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer", "Ping", g_variant_new("()"), kPatient},
        [&](GVariant*, const GError*) { isDone = true; });
    waitUntil([&] { return isDone; });
  }

  PrivateBus testBus_;
  SessionBus bus_{kPatient};
  std::optional<MockPortal> mock_;
  std::shared_ptr<CameraPortal> portal_;
  std::vector<Answer> answers_;
};

class CameraPortalResponse : public CameraPortalTest,
                             public testing::WithParamInterface<std::pair<unsigned, Answer>> {};

TEST_P(CameraPortalResponse, IsTheAnswer) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  EXPECT_THAT(answers_, ElementsAre());
  mock_->respond(GetParam().first);
  ASSERT_TRUE(waitForAnswer());
  settle();
  EXPECT_THAT(answers_, ElementsAre(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(Of, CameraPortalResponse,
                         testing::Values(std::pair(0U, Answer::Granted), std::pair(1U, Answer::Refused),
                                         std::pair(2U, Answer::Refused)),
                         [](const auto& each) { return "Code" + std::to_string(each.param.first); });

TEST_F(CameraPortalTest, ResponseMayComeBeforeTheReplyToTheCall) {
  startMock();
  mock_->silent = {"AccessCamera"};
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  mock_->respond(0);
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::Granted));
}

TEST_F(CameraPortalTest, OnlyThePortalItselfAnswers) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  const BusClient stranger(testBus_.address());
  MockPortal::emitResponse(stranger.connection(), mock_->request(), 0);
  stranger.ask("GetId", nullptr);  // by now the bus has passed it on
  settle();
  EXPECT_THAT(answers_, ElementsAre());
  mock_->respond(1);
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::Refused));
}

TEST_F(CameraPortalTest, WithoutAPortalThereIsNobodyToAsk) {
  makePortal();
  ask();
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::NoPortal));
}

TEST_F(CameraPortalTest, OnABusThatDiedThereIsNobodyToAsk) {
  testBus_.kill();
  makePortal();
  ask();
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::NoPortal));
}

TEST(CameraPortalWithoutABus, HasNobodyToAsk) {
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
  const SessionBus none;
  const auto portal = std::make_shared<CameraPortal>([&]() -> const SessionBus& { return none; });
  std::vector<Answer> answers;
  portal->ask([&](Answer answer) { answers.push_back(answer); });
  EXPECT_THAT(answers, ElementsAre(Answer::NoPortal));
  bool isNone = false;
  portal->openRemote([&](const FileDescriptor& socket) { isNone = !socket; });
  EXPECT_TRUE(isNone);
}

TEST_F(CameraPortalTest, APortalThatKnowsNoCamerasIsNone) {
  startMock();
  mock_->failing = {"Get"};
  mock_->error = "org.freedesktop.DBus.Error.InvalidArgs";
  makePortal();
  ask();
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::NoPortal));
}

TEST_F(CameraPortalTest, CamerasLockedByTheAdministratorAreRefused) {
  startMock();
  mock_->failing = {"AccessCamera"};
  makePortal();
  ask();
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::Refused));
}

TEST_F(CameraPortalTest, APortalThatNeverAnswersIsRefusal) {
  for (const std::string method : {"Get", "AccessCamera"}) {
    SCOPED_TRACE(method);
    EXPECT_TRUE(askImpatiently(method, [&] {
      EXPECT_TRUE(waitForAnswer());
      settle();
      EXPECT_THAT(answers_, ElementsAre(Answer::Refused));
      return mock_->countOf(method) == 1;
    }));
  }
}

TEST_F(CameraPortalTest, TheUserMayTakeLongerThanThePortal) {
  ASSERT_TRUE(askImpatiently("OpenPipeWireRemote", [this] {
    waitUntil([this] { return !answers_.empty() || mock_->countOf("AccessCamera") > 0; });
    // A call that runs into the same limit afterwards shows that it has passed.
    bool isOver = false;
    portal_->openRemote([&](const FileDescriptor&) { isOver = true; });
    EXPECT_TRUE(waitUntil([&] { return isOver; }));
    return answers_.empty();
  }));
  mock_->respond(0);
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::Granted));
}

TEST_F(CameraPortalTest, APortalThatDiesWhileItAsksIsRefusal) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  mock_.reset();
  ASSERT_TRUE(waitForAnswer());
  EXPECT_THAT(answers_, ElementsAre(Answer::Refused));
}

TEST_F(CameraPortalTest, ADeathAfterTheAnswerChangesNothing) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  mock_->respond(0);
  ASSERT_TRUE(waitForAnswer());
  mock_.reset();
  startMock();
  settle();
  EXPECT_THAT(answers_, ElementsAre(Answer::Granted));
  EXPECT_EQ(mock_->countOf("AccessCamera"), 0);
}

TEST_F(CameraPortalTest, ADroppedQuestionIsNotAnswered) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  portal_.reset();
  mock_->respond(0);
  mock_.reset();
  settle();
  EXPECT_THAT(answers_, ElementsAre());
}

TEST_F(CameraPortalTest, TellsWhetherThereIsACameraBeforeTheAnswer) {
  startMock();
  mock_->setCameraPresent(true);
  makePortal();
  EXPECT_FALSE(portal_->isCameraPresent());
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  EXPECT_TRUE(portal_->isCameraPresent());
  mock_->setCameraPresent(false);
  EXPECT_TRUE(waitUntil([&] { return !portal_->isCameraPresent(); }));
}

TEST_F(CameraPortalTest, ARemoteThatCannotBeOpenedIsNone) {
  startMock();
  makePortal();
  ask();
  ASSERT_TRUE(mock_->waitFor("AccessCamera"));
  bool isNone = false;
  portal_->openRemote([&](const FileDescriptor& socket) { isNone = !socket; });
  EXPECT_TRUE(waitUntil([&] { return isNone; }));
}

}  // namespace
}  // namespace camera_test
