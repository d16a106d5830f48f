#pragma once

#include <cerrno>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/FrameSource.h"

namespace contract {

/// A source of frames with cameras that the test plugs in, and the loop on which it lives.
class FrameSourceStage {
 public:
  virtual ~FrameSourceStage() = default;

  virtual platform_linux::FrameSource& source() = 0;
  virtual platform_linux::CameraLoop& loop() = 0;
  /// Runs `action` on the loop's thread and returns after it.
  virtual void onLoop(const std::function<void()>& action) = 0;
  /// Something has been told; on the loop's thread.
  virtual void told() = 0;
  /// Lets time pass, in which cameras deliver what they are asked for, until `condition`, asked on the loop's
  /// thread, holds; false when it never does.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;

  /// The camera called `name`, plugged in anew each time.
  virtual void plugIn(const std::string& name) = 0;
  /// What the source calls it.
  [[nodiscard]] virtual std::string titleOf(const std::string& name) const { return name; }
  virtual void unplug(const std::string& name) = 0;
  /// Whether a stream learns that its camera is busy or has failed. Where it does not, no picture comes.
  [[nodiscard]] virtual bool areFailuresTold() const { return true; }
  /// From now on another program has it.
  virtual void occupy(const std::string& name) = 0;
  /// It fails in the midst of its stream.
  virtual void breakDown(const std::string& name) = 0;
  /// It offers pictures of another size from now on, and those of before no more.
  virtual void changePictures(const std::string& name) = 0;
};

/// The promises of a FrameSource, each kept by whoever brings the frames.
class FrameSourceContract : public testing::TestWithParam<std::unique_ptr<FrameSourceStage> (*)()>,
                            protected platform_linux::FrameSource::Client {
 protected:
  using Camera = platform_linux::Camera;
  using State = platform_linux::CameraCensus::State;

  /// Remembers what one stream tells.
  class Listener final : public platform_linux::FrameStream::Client {
   public:
    explicit Listener(FrameSourceStage& stage) : stage_(stage) {}
    void frameArrived(const platform_linux::FrameBuffer& picture) override {
      EXPECT_FALSE(isOpening) << "inside the call that opens the stream";
      EXPECT_TRUE(ends.empty()) << "after its end";
      frames.push_back(picture.copy(frames.size()));
      stage_.told();
    }
    void frameUnusable() override { EXPECT_TRUE(ends.empty()) << "after its end"; }
    void streamEnded(int error) override {
      EXPECT_FALSE(isOpening) << "inside the call that opens the stream";
      ends.push_back(error);
      stage_.told();
    }

    bool isOpening = false;
    std::vector<std::shared_ptr<const picture::Frame>> frames;
    std::vector<int> ends;

   private:
    FrameSourceStage& stage_;
  };

  void TearDown() override {
    stage_->onLoop([this] {
      stream_.reset();
      stage_->source().stop();
      hasStopped_ = true;
    });
    stage_.reset();
  }

  void start() { stage_->source().start(stage_->loop(), *this); }
  [[nodiscard]] bool awaitCameras(std::size_t count) {
    return stage_->runUntil(
        [&] { return census_.state == State::Complete && census_.cameras.size() == count; });
  }
  /// Starts with one camera there.
  Camera startWithOne() {
    stage_->plugIn("desk");
    start();
    EXPECT_TRUE(awaitCameras(1));
    return camera();
  }
  Camera camera() {
    Camera first;
    stage_->onLoop([&] { first = census_.cameras.at(0); });
    return first;
  }
  /// Stays until the stream has gone.
  Listener& newListener() { return listeners_.emplace_back(*stage_); }
  void open(const Camera& camera, Listener& listener) {
    stage_->onLoop([&] {
      stream_.reset();
      listener.isOpening = true;
      stream_ = stage_->source().open(camera, camera.modes.at(0), listener);
      listener.isOpening = false;
    });
  }
  [[nodiscard]] bool awaitFrames(const Listener& listener, std::size_t count) {
    return stage_->runUntil([&] { return listener.frames.size() >= count; });
  }
  [[nodiscard]] bool awaitEnd(const Listener& listener) {
    return stage_->runUntil([&] { return !listener.ends.empty(); });
  }

  /// The stream has ended for that reason; or it delivers nothing, while another camera does.
  void expectEnd(const Listener& listener, int reason) {
    EXPECT_TRUE(!stage_->areFailuresTold() || awaitEnd(listener));
    std::size_t before = 0;
    Listener other(*stage_);
    std::unique_ptr<platform_linux::FrameStream> stream;
    stage_->plugIn("other");
    EXPECT_TRUE(stage_->runUntil([&] { return find("other") != nullptr; }));
    stage_->onLoop([&] {
      before = listener.frames.size();
      stream = stage_->source().open(*find("other"), find("other")->modes.at(0), other);
    });
    EXPECT_TRUE(awaitFrames(other, 10));
    stage_->onLoop([&] {
      stream.reset();
      EXPECT_EQ(listener.frames.size(), before);
      EXPECT_THAT(listener.ends, testing::Each(reason));
      EXPECT_LE(listener.ends.size(), 1U);
      EXPECT_TRUE(!stage_->areFailuresTold() || !listener.ends.empty());
    });
  }
  [[nodiscard]] const Camera* find(const std::string& name) const {
    for (const Camera& camera : census_.cameras)
      if (camera.localizedName == stage_->titleOf(name)) return &camera;
    return nullptr;
  }

  void camerasChanged(const platform_linux::FrameSource& source,
                      platform_linux::CameraCensus census) override {
    EXPECT_EQ(&source, &stage_->source());
    EXPECT_FALSE(hasStopped_);
    census_ = std::move(census);
    stage_->told();
  }

  std::unique_ptr<FrameSourceStage> stage_ = GetParam()();
  platform_linux::CameraCensus census_;  // the loop's thread only
  std::deque<Listener> listeners_;
  std::unique_ptr<platform_linux::FrameStream> stream_;
  bool hasStopped_ = false;
};

TEST_P(FrameSourceContract, TellsEachCameraWithWhatItOffers) {
  stage_->plugIn("desk");
  stage_->plugIn("door");
  start();
  ASSERT_TRUE(awaitCameras(2));
  stage_->onLoop([this] {
    for (const Camera& camera : census_.cameras) {
      EXPECT_FALSE(camera.uniqueID.empty());
      EXPECT_FALSE(camera.localizedName.empty());
      EXPECT_NE(camera.serial, 0U);
      EXPECT_FALSE(camera.modes.empty());
    }
    EXPECT_NE(census_.cameras[0].uniqueID, census_.cameras[1].uniqueID);
    EXPECT_NE(census_.cameras[0].serial, census_.cameras[1].serial);
  });
}

TEST_P(FrameSourceContract, TellsOfCamerasThatComeAndGo) {
  const Camera desk = startWithOne();
  stage_->plugIn("door");
  ASSERT_TRUE(awaitCameras(2));
  stage_->unplug("door");
  ASSERT_TRUE(awaitCameras(1));
  EXPECT_EQ(camera().uniqueID, desk.uniqueID);
  EXPECT_EQ(camera().serial, desk.serial);
}

TEST_P(FrameSourceContract, ACameraPluggedInAgainIsTheSameByItsIdentityOnly) {
  const Camera before = startWithOne();
  stage_->unplug("desk");
  ASSERT_TRUE(awaitCameras(0));
  stage_->plugIn("desk");
  ASSERT_TRUE(awaitCameras(1));
  EXPECT_EQ(camera().uniqueID, before.uniqueID);
  EXPECT_GT(camera().serial, before.serial);
}

TEST_P(FrameSourceContract, AStreamDeliversPicturesOfItsMode) {
  const Camera desk = startWithOne();
  Listener& listener = newListener();
  open(desk, listener);
  ASSERT_TRUE(awaitFrames(listener, 3));
  stage_->onLoop([&] {
    const picture::Frame& frame = *listener.frames.back();
    EXPECT_EQ(frame.format, desk.modes[0].format);
    EXPECT_EQ(static_cast<std::uint32_t>(frame.width), desk.modes[0].width);
    EXPECT_EQ(static_cast<std::uint32_t>(frame.height), desk.modes[0].height);
    EXPECT_FALSE(frame.bytes.empty());
    EXPECT_TRUE(listener.ends.empty());
  });
}

TEST_P(FrameSourceContract, ACameraThatWasGivenBackCanBeOpenedAgain) {
  const Camera desk = startWithOne();
  Listener& first = newListener();
  open(desk, first);
  ASSERT_TRUE(awaitFrames(first, 1));
  Listener& second = newListener();
  open(desk, second);
  const std::size_t before = first.frames.size();
  ASSERT_TRUE(awaitFrames(second, 2));
  EXPECT_EQ(first.frames.size(), before) << "its stream has gone";
  EXPECT_TRUE(first.ends.empty()) << "nobody ended it but its owner";
}

TEST_P(FrameSourceContract, AnUnpluggedCameraEndsItsStreamOnce) {
  Listener& listener = newListener();
  open(startWithOne(), listener);
  ASSERT_TRUE(awaitFrames(listener, 1));
  stage_->unplug("desk");
  ASSERT_TRUE(awaitEnd(listener));
  ASSERT_TRUE(awaitCameras(0));
  stage_->onLoop([&] { EXPECT_THAT(listener.ends, testing::ElementsAre(ENODEV)); });
}

TEST_P(FrameSourceContract, ACameraThatHasGoneIsOpenedAsOneThatEndsAtOnce) {
  const Camera gone = startWithOne();
  stage_->unplug("desk");
  ASSERT_TRUE(awaitCameras(0));
  Listener& listener = newListener();
  open(gone, listener);
  ASSERT_TRUE(awaitEnd(listener));
  stage_->onLoop([&] { EXPECT_THAT(listener.ends, testing::ElementsAre(ENODEV)); });
}

TEST_P(FrameSourceContract, ABusyCameraEndsTheStreamWithThatReason) {
  const Camera desk = startWithOne();
  stage_->occupy("desk");
  Listener& listener = newListener();
  open(desk, listener);
  expectEnd(listener, EBUSY);
  EXPECT_THAT(listener.frames, testing::IsEmpty());
}

TEST_P(FrameSourceContract, AFailingCameraEndsItsStream) {
  Listener& listener = newListener();
  open(startWithOne(), listener);
  ASSERT_TRUE(awaitFrames(listener, 1));
  stage_->breakDown("desk");
  expectEnd(listener, EIO);
}

TEST_P(FrameSourceContract, ACameraWithOtherPicturesIsTheSameAndOffersThese) {
  const Camera before = startWithOne();
  Listener& first = newListener();
  open(before, first);
  ASSERT_TRUE(awaitFrames(first, 1));
  stage_->changePictures("desk");
  ASSERT_TRUE(stage_->runUntil(
      [&] { return census_.cameras.size() == 1 && census_.cameras[0].modes != before.modes; }));
  const Camera after = camera();
  EXPECT_EQ(after.uniqueID, before.uniqueID);
  EXPECT_EQ(after.serial, before.serial);
  Listener& second = newListener();
  open(after, second);
  ASSERT_TRUE(awaitFrames(second, 1));
  stage_->onLoop(
      [&] { EXPECT_EQ(static_cast<std::uint32_t>(second.frames[0]->width), after.modes[0].width); });
}

}  // namespace contract
