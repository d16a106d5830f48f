#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/AVFoundation/AVFoundation.h"

namespace contract {

/// Cameras that can be plugged in and unplugged.
class AVFoundationFactory {
 public:
  virtual ~AVFoundationFactory() = default;
  virtual platform::AVFoundation& cameras() = 0;
  virtual void plugIn(const std::string& identity, const std::string& title) = 0;
  /// One that sends no picture.
  virtual void plugInSilent(const std::string& identity, const std::string& title) = 0;
  virtual void unplug(const std::string& identity) = 0;
  /// Has the main loop turn once more. From any thread.
  virtual void wake() = 0;
  /// Lets the service and the main loop go on until `condition` holds; answers whether it does. The condition
  /// changes with what the main loop runs, or before it is woken.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

using MakeAVFoundationFactory = std::unique_ptr<AVFoundationFactory> (*)();

/// Gathers what became of captures.
class CaptureOutcomes : public platform::AVCapturePhotoCaptureDelegate {
 public:
  struct Outcome {
    bool hasPicture;
    bool hasError;
    bool onMainThread;
  };

  /// `wake` is called after each.
  explicit CaptureOutcomes(std::function<void()> wake) : wake_(std::move(wake)) {}

  void captureOutputDidFinishProcessingPhoto(platform::AVCapturePhotoOutput&,
                                             std::shared_ptr<platform::AVCapturePhoto> photo,
                                             const std::optional<platform::NSError>& error) override {
    {
      const std::scoped_lock lock(mutex_);
      all_.push_back({photo && photo->fileDataRepresentation(), error.has_value(),
                      std::this_thread::get_id() == mainThread_});
    }
    wake_();
  }

  std::vector<Outcome> all() const {
    const std::scoped_lock lock(mutex_);
    return all_;
  }

 private:
  const std::function<void()> wake_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::vector<Outcome> all_;
};

/// What every set of cameras promises.
class AVFoundationContract : public testing::TestWithParam<MakeAVFoundationFactory> {
 protected:
  /// A session on one camera, and what its captures came to.
  struct Taking {
    std::shared_ptr<platform::AVCaptureSession> session;
    std::shared_ptr<platform::AVCapturePhotoOutput> output;
    std::shared_ptr<CaptureOutcomes> outcomes;

    void capture() const {
      output->capturePhotoWithSettings(platform::AVCapturePhotoSettings::photoSettingsWithFormat(
                                           {{platform::AVVideoCodecKey, platform::AVVideoCodecTypeJPEG}}),
                                       outcomes);
    }
  };

  std::vector<std::string> identities() {
    std::vector<std::string> identities;
    for (const auto& device : cameras().devicesWithMediaType(platform::AVMediaTypeVideo))
      identities.push_back(device->uniqueID());
    return identities;
  }

  /// Unplugs or plugs in and waits until the list is told.
  void changeAndWait(const std::function<void()>& change, const std::vector<std::string>& expected) {
    change();
    EXPECT_TRUE(factory_->runUntil([&] { return identities() == expected; }));
  }

  Taking take(const std::shared_ptr<platform::AVCaptureDevice>& device) {
    Taking taking{cameras().session(), cameras().photoOutput(),
                  std::make_shared<CaptureOutcomes>([this] { factory_->wake(); })};
    std::optional<platform::NSError> error;
    taking.session->setSessionPreset(platform::AVCaptureSessionPresetHigh);
    taking.session->addInput(cameras().deviceInputWithDevice(device, error));
    EXPECT_FALSE(error);
    taking.session->addOutput(taking.output);
    taking.session->startRunning();
    return taking;
  }

  platform::AVFoundation& cameras() { return factory_->cameras(); }

  std::unique_ptr<AVFoundationFactory> factory_ = GetParam()();
};

TEST_P(AVFoundationContract, CamerasAreNamedInTheOrderOfTheirComing) {
  changeAndWait([&] { factory_->plugIn("zebra", "Zebra camera"); }, {"zebra"});
  changeAndWait([&] { factory_->plugIn("apricot", "Apricot camera"); }, {"zebra", "apricot"});
  EXPECT_EQ(cameras().deviceWithUniqueID("apricot")->localizedName(), "Apricot camera");
  changeAndWait([&] { factory_->unplug("zebra"); }, {"apricot"});
  changeAndWait([&] { factory_->plugIn("zebra", "Zebra camera"); }, {"apricot", "zebra"});
}

TEST_P(AVFoundationContract, OtherKindsOfMediaHaveNoDevices) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  EXPECT_THAT(cameras().devicesWithMediaType("soun"), testing::IsEmpty());
}

TEST_P(AVFoundationContract, AnIdentityThatIsNotPresentIsNoDevice) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  EXPECT_EQ(cameras().deviceWithUniqueID("nobody"), nullptr);
  EXPECT_EQ(cameras().deviceWithUniqueID(""), nullptr);
  changeAndWait([&] { factory_->unplug("desk"); }, {});
  EXPECT_EQ(cameras().deviceWithUniqueID("desk"), nullptr);
}

TEST_P(AVFoundationContract, AnUnpluggedDeviceStaysWhatItWasAndGivesNoInput) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const auto device = cameras().deviceWithUniqueID("desk");
  changeAndWait([&] { factory_->unplug("desk"); }, {});
  EXPECT_EQ(device->uniqueID(), "desk");
  EXPECT_EQ(device->localizedName(), "Desk camera");
  std::optional<platform::NSError> error;
  EXPECT_EQ(cameras().deviceInputWithDevice(device, error), nullptr);
  ASSERT_TRUE(error);
  EXPECT_NE(error->code, 0);
}

TEST_P(AVFoundationContract, AnOutputHasNoWayToItBeforeItsSessionHasAnInput) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const auto session = cameras().session();
  const auto output = cameras().photoOutput();
  EXPECT_THAT(output->connections(), testing::IsEmpty());
  session->addInput(nullptr);
  session->addOutput(output);
  EXPECT_THAT(output->connections(), testing::IsEmpty());
}

TEST_P(AVFoundationContract, AnOutputsWayBringsVideoAndCanBeMirrored) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const Taking taking = take(cameras().deviceWithUniqueID("desk"));
  const auto connections = taking.output->connections();
  ASSERT_EQ(connections.size(), 1U);
  ASSERT_EQ(connections[0]->inputPorts().size(), 1U);
  EXPECT_EQ(connections[0]->inputPorts()[0].mediaType, platform::AVMediaTypeVideo);
  ASSERT_TRUE(connections[0]->isVideoMirroringSupported());
  EXPECT_FALSE(connections[0]->isVideoMirrored());
  connections[0]->setAutomaticallyAdjustsVideoMirroring(false);
  connections[0]->setVideoMirrored(true);
  EXPECT_TRUE(taking.output->connections()[0]->isVideoMirrored());
}

TEST_P(AVFoundationContract, EachCaptureHasOneOutcomeAwayFromTheMainThread) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const Taking taking = take(cameras().deviceWithUniqueID("desk"));
  for (int i = 0; i < 3; ++i)
    taking.capture();
  ASSERT_TRUE(factory_->runUntil([&] { return taking.outcomes->all().size() >= 3; }));
  taking.capture();
  ASSERT_TRUE(factory_->runUntil([&] { return taking.outcomes->all().size() >= 4; }));
  const auto outcomes = taking.outcomes->all();
  EXPECT_EQ(outcomes.size(), 4U);
  for (const auto& outcome : outcomes) {
    EXPECT_TRUE(outcome.hasPicture);
    EXPECT_FALSE(outcome.hasError);
    EXPECT_FALSE(outcome.onMainThread);
  }
}

TEST_P(AVFoundationContract, ACaptureStillPendingWhenTheSessionStopsFails) {
  changeAndWait([&] { factory_->plugInSilent("desk", "Desk camera"); }, {"desk"});
  const Taking taking = take(cameras().deviceWithUniqueID("desk"));
  taking.capture();
  taking.session->stopRunning();
  taking.session->stopRunning();
  ASSERT_TRUE(factory_->runUntil([&] { return !taking.outcomes->all().empty(); }));
  const auto outcomes = taking.outcomes->all();
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_TRUE(outcomes[0].hasError);
  EXPECT_FALSE(outcomes[0].hasPicture);
}

TEST_P(AVFoundationContract, ASessionGoesOnWhenItsCameraComesBack) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const Taking taking = take(cameras().deviceWithUniqueID("desk"));
  changeAndWait([&] { factory_->unplug("desk"); }, {});
  taking.capture();
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  ASSERT_TRUE(factory_->runUntil([&] { return !taking.outcomes->all().empty(); }));
  EXPECT_TRUE(taking.outcomes->all()[0].hasPicture);
}

TEST_P(AVFoundationContract, APreviewOfACameraHasAConnection) {
  changeAndWait([&] { factory_->plugIn("desk", "Desk camera"); }, {"desk"});
  const Taking taking = take(cameras().deviceWithUniqueID("desk"));
  const auto layer = cameras().previewLayerWithSession(taking.session);
  ASSERT_NE(layer, nullptr);
  EXPECT_NE(layer->connection(), nullptr);
}

}  // namespace contract
