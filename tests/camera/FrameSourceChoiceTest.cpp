#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/FrameSourceChoice.h"
#include "tests/camera/v4l2/DeviceFixture.h"
#include "tests/camera/v4l2/ManualLoop.h"

namespace camera_test {
namespace {

using platform::AVAuthorizationStatus;
using platform_linux::Camera;
using platform_linux::CameraAccess;
using platform_linux::CameraCensus;
using platform_linux::CameraLoop;
using platform_linux::CameraMode;
using platform_linux::FrameSource;
using platform_linux::FrameSourceChoice;
using platform_linux::FrameStream;
using State = CameraCensus::State;
using testing::ElementsAre;
using testing::IsEmpty;

class GivenAccess final : public CameraAccess {
 public:
  [[nodiscard]] AVAuthorizationStatus status() const override { return answer; }
  void request(std::function<void(bool granted)> completion) override {
    completion(answer == AVAuthorizationStatus::Authorized);
  }
  void ask() override {}
  [[nodiscard]] bool hidesCamera() const override { return answer == AVAuthorizationStatus::Denied; }

  AVAuthorizationStatus answer = AVAuthorizationStatus::Authorized;
};

/// Tells what the test says.
class ScriptedSource final : public FrameSource {
 public:
  void start(CameraLoop&, Client& client) override { client_ = &client; }
  void stop() override { isStopped = true; }
  [[nodiscard]] std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode&,
                                                  FrameStream::Client&) override {
    opened.push_back(camera.serial);
    return std::make_unique<FrameStream>();
  }
  [[nodiscard]] CameraAccess& access() override { return givenAccess; }

  [[nodiscard]] bool isStarted() const { return client_ != nullptr; }
  void tell(State state, const std::vector<std::string>& identities = {}) {
    CameraCensus census{state, {}};
    for (const auto& identity : identities) {
      census.cameras.emplace_back().uniqueID = identity;
      census.cameras.back().serial = 1;
    }
    client_->camerasChanged(*this, census);
  }

  GivenAccess givenAccess;
  std::vector<std::uint64_t> opened;
  bool isStopped = false;

 private:
  Client* client_ = nullptr;
};

class Choice : public testing::Test {
 protected:
  Choice() { choice_.start(loop_, told_); }

  std::vector<std::string> identities() {
    loop_.run();
    std::vector<std::string> names;
    for (const auto& camera : told_.census.cameras)
      names.push_back(camera.uniqueID);
    return names;
  }

  const std::shared_ptr<ScriptedSource> usual_ = std::make_shared<ScriptedSource>();
  const std::shared_ptr<ScriptedSource> other_ = std::make_shared<ScriptedSource>();
  ManualLoop loop_;
  CensusRecorder told_;
  StreamRecorder client_;
  FrameSourceChoice choice_{usual_, other_};
};

TEST_F(Choice, WhileTheUsualSourceHasCamerasTheOtherIsNotEvenBegun) {
  usual_->tell(State::Complete, {"a"});
  EXPECT_THAT(identities(), ElementsAre("a"));
  EXPECT_FALSE(other_->isStarted());
}

TEST_F(Choice, CamerasThatMayStillComeAreWaitedFor) {
  usual_->tell(State::Gathering);
  EXPECT_FALSE(other_->isStarted());
  EXPECT_EQ(told_.census.state, State::Gathering);
}

TEST_F(Choice, WhereNobodyServesTheOtherDoes) {
  usual_->tell(State::NobodyServes);
  ASSERT_TRUE(other_->isStarted());
  EXPECT_EQ(told_.count, 0);
  other_->tell(State::Complete, {"a"});
  EXPECT_THAT(identities(), ElementsAre("a"));
}

TEST_F(Choice, WhereTheUsualSourceKnowsNoCameraTheOtherServes) {
  usual_->tell(State::Complete);
  other_->tell(State::Complete, {"a"});
  EXPECT_THAT(identities(), ElementsAre("a"));
}

TEST_F(Choice, WhereNeitherHasACameraThereIsNone) {
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete);
  EXPECT_THAT(identities(), IsEmpty());
  EXPECT_EQ(told_.census.state, State::Complete);
}

TEST_F(Choice, TheUsualSourceTakesOverWhenItsCamerasCome) {
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete, {"a"});
  usual_->tell(State::Complete, {"b"});
  EXPECT_THAT(identities(), ElementsAre("b"));
}

TEST_F(Choice, ACameraInUseStaysUntilItIsNotUsed) {
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete, {"a"});
  auto stream = choice_.open(told_.census.cameras.at(0), {}, client_);
  usual_->tell(State::Complete, {"b"});
  EXPECT_THAT(identities(), ElementsAre("a"));
  stream.reset();
  EXPECT_THAT(identities(), ElementsAre("b"));
}

TEST_F(Choice, EachCameraIsOpenedByItsSource) {
  usual_->tell(State::Complete, {"a"});
  const auto first = told_.census.cameras.at(0);
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete, {"a"});
  const auto second = told_.census.cameras.at(0);
  EXPECT_NE(first.serial, second.serial);
  const auto one = choice_.open(first, {}, client_);
  const auto two = choice_.open(second, {}, client_);
  EXPECT_THAT(usual_->opened, ElementsAre(1));
  EXPECT_THAT(other_->opened, ElementsAre(1));
}

TEST_F(Choice, TheRightIsThatOfTheSourceThatServes) {
  other_->givenAccess.answer = AVAuthorizationStatus::Denied;
  usual_->tell(State::Complete, {"a"});
  EXPECT_EQ(choice_.access().status(), AVAuthorizationStatus::Authorized);
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete);
  EXPECT_EQ(choice_.access().status(), AVAuthorizationStatus::Denied);
  EXPECT_TRUE(choice_.access().hidesCamera());
}

TEST_F(Choice, WhereDevicesAreRefusedTheQuestionWaitsForTheChoice) {
  other_->givenAccess.answer = AVAuthorizationStatus::Denied;
  auto answer = std::async(std::launch::async, [this] { return choice_.access().status(); });
  usual_->tell(State::NobodyServes);
  other_->tell(State::Complete);
  EXPECT_EQ(answer.get(), AVAuthorizationStatus::Denied);
}

TEST_F(Choice, StopsWhatItHasStarted) {
  choice_.stop();
  EXPECT_TRUE(usual_->isStopped);
  EXPECT_FALSE(other_->isStopped);
}

}  // namespace
}  // namespace camera_test
