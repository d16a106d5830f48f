#include <array>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <set>
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
                                                  FrameStream::Client& client) override {
    opened.push_back(camera.serial);
    streamClient_ = &client;
    return std::make_unique<FrameStream>();
  }
  [[nodiscard]] CameraAccess& access() override { return givenAccess; }

  [[nodiscard]] bool isStarted() const { return client_ != nullptr; }
  void tell(State state, const std::vector<std::string>& identities = {}) {
    CameraCensus census{.state = state, .cameras = {}, .unread = unread};
    for (const auto& identity : identities) {
      census.cameras.emplace_back().uniqueID = identity;
      census.cameras.back().serial = serial;
      if (hasPlaces) census.cameras.back().place = "/dev/" + identity;
    }
    client_->camerasChanged(*this, census);
  }
  /// The stream that was opened last delivers one picture.
  void deliver() {
    const std::array<std::uint8_t, 5> bytes{0xff, 0xd8, 0xff, 0xff, 0xd9};
    const std::array blocks{platform_linux::FrameBlock{bytes}};
    streamClient_->frameArrived(*platform_linux::FrameBuffer::pictureIn(blocks, {}));
  }
  /// The same delivers one that cannot be used.
  void deliverUseless() { streamClient_->frameUnusable(); }
  /// The same ends.
  void endStream(int error) { streamClient_->streamEnded(error); }

  GivenAccess givenAccess;
  std::uint64_t serial = 1;  ///< of the cameras that are told
  bool hasPlaces = true;     ///< whether these have devices
  std::set<std::string> unread;
  std::vector<std::uint64_t> opened;
  bool isStopped = false;

 private:
  Client* client_ = nullptr;
  FrameStream::Client* streamClient_ = nullptr;
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

TEST_F(Choice, WhatTheUsualSourceCannotReadIsTheOthers) {
  usual_->unread = {"/dev/grabber"};
  usual_->tell(State::Complete, {"a"});
  EXPECT_THAT(identities(), ElementsAre("a")) << "not held up by the other";
  ASSERT_TRUE(other_->isStarted());
  other_->serial = 5;
  other_->tell(State::Complete, {"a", "grabber"});
  EXPECT_THAT(identities(), ElementsAre("a", "grabber"));
  const auto stream = choice_.open(told_.census.cameras.back(), {}, client_);
  EXPECT_THAT(other_->opened, ElementsAre(5U));
  EXPECT_THAT(usual_->opened, IsEmpty());
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

/// A camera of the usual source, whose device the other source can open, too.
class FailingCamera : public Choice {
 protected:
  FailingCamera() {
    other_->serial = 5;
    usual_->tell(State::Complete, {"a"});
  }

  /// Opens the camera as it is told now, as whoever heals a session does.
  void open() {
    stream_.reset();
    stream_ = choice_.open(told_.census.cameras.at(0), {}, client_);
  }
  /// The same, and the usual source has no picture to bring.
  void failToOpen(int error) {
    open();
    usual_->endStream(error);
    if (other_->isStarted()) other_->tell(State::Complete, {"a"});
  }

  /// Opens the camera, which the other source is to do.
  void openByOther() {
    const std::size_t before = other_->opened.size();
    open();
    ASSERT_EQ(other_->opened.size(), before + 1);
    EXPECT_EQ(other_->opened.back(), 5U);
  }

  std::unique_ptr<FrameStream> stream_;
};

TEST_F(FailingCamera, IsOpenedByTheOtherSourceNextTime) {
  failToOpen(EIO);
  EXPECT_THAT(client_.ends, ElementsAre(EIO));
  ASSERT_NO_FATAL_FAILURE(openByOther());
  other_->deliver();
  EXPECT_EQ(client_.frames.size(), 1U);
  EXPECT_THAT(identities(), ElementsAre("a"));
  EXPECT_EQ(told_.census.cameras[0].serial, 1U) << "it is the usual source's camera still";
}

TEST_F(FailingCamera, StaysWithTheSourceThatBringsItsPictures) {
  failToOpen(EIO);
  ASSERT_NO_FATAL_FAILURE(openByOther());
  other_->deliver();
  other_->endStream(EIO);
  openByOther();
  EXPECT_THAT(usual_->opened, ElementsAre(1));
}

TEST_F(FailingCamera, IsTheUsualSourcesAgainWhenTheOtherFailsToo) {
  failToOpen(EIO);
  ASSERT_NO_FATAL_FAILURE(openByOther());
  other_->endStream(EBUSY);
  EXPECT_THAT(client_.ends, ElementsAre(EIO, EBUSY));
  open();
  EXPECT_THAT(usual_->opened, ElementsAre(1, 1));
}

TEST_F(FailingCamera, ThatWasPluggedInAnewIsTheUsualSourcesAgain) {
  failToOpen(EIO);
  usual_->serial = 2;
  usual_->tell(State::Complete, {"a"});
  open();
  EXPECT_THAT(usual_->opened, ElementsAre(1, 2));
}

TEST_F(Choice, TellsOfPicturesThatAreOfNoUse) {
  usual_->tell(State::Complete, {"a"});
  const auto stream = choice_.open(told_.census.cameras.at(0), {}, client_);
  usual_->deliverUseless();
  EXPECT_EQ(client_.useless, 1);
}

TEST_F(FailingCamera, StaysWhereItHasBroughtPictures) {
  open();
  usual_->deliver();
  usual_->endStream(EIO);
  EXPECT_FALSE(other_->isStarted());
}

TEST_F(FailingCamera, ThatTheOtherSourceDoesNotKnowStays) {
  failToOpen(EIO);
  other_->tell(State::Complete, {"b"});
  open();
  EXPECT_THAT(usual_->opened, ElementsAre(1, 1));
}

TEST_F(FailingCamera, WithoutADeviceStays) {
  usual_->hasPlaces = false;
  usual_->tell(State::Complete, {"a"});
  failToOpen(EIO);
  EXPECT_FALSE(other_->isStarted());
}

// In use, refused, gone, with its service or alone, or without that mode.
TEST_F(FailingCamera, StaysForReasonsThatHoldForEverybody) {
  for (const int reason : {EBUSY, EACCES, EPERM, ENODEV, EPIPE, ESTALE, EINVAL, ENOSPC})
    failToOpen(reason);
  EXPECT_FALSE(other_->isStarted());
}

TEST_F(Choice, StopsWhatItHasStarted) {
  choice_.stop();
  EXPECT_TRUE(usual_->isStopped);
  EXPECT_FALSE(other_->isStopped);
}

}  // namespace
}  // namespace camera_test
