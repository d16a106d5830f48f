#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/camera/CaptureFlow.h"
#include "tests/camera/FakeFrameSource.h"
#include "tests/fakes/FakeFoundation.h"

namespace camera_test {

inline constexpr std::chrono::milliseconds kFrame{33};
inline constexpr std::uint8_t kBright = 120;

inline platform_linux::Camera desk(std::uint64_t serial = 7) {
  return {.uniqueID = "desk",
          .localizedName = "Desk camera",
          .serial = serial,
          .modes = {{picture::PixelFormat::MJPG, 640, 480, {30, 1}}}};
}

/// A session with a camera and a clock that the test plays.
class CaptureFlowTest : public testing::Test {
 protected:
  CaptureFlowTest() {
    auto loop = std::make_unique<FakeCameraLoop>();
    loop_ = loop.get();
    auto examiner = std::make_unique<FakeExaminer>(*loop);
    examiner_ = examiner.get();
    service_ = std::make_shared<platform_linux::CaptureService>(platform_linux::CaptureService::Parts{
        queue_, log_, std::make_shared<platform_linux::CameraList>(queue_, center_), std::move(loop),
        std::move(examiner), source_});
    flow_ = std::make_shared<platform_linux::CaptureFlow>(service_);
    flow_->setCamera(desk());
    source_->show({desk()});
  }
  ~CaptureFlowTest() override { service_->shutDown(); }

  void start() {
    flow_->start();
    loop_->run();
  }
  /// The outcome is the fifth byte of the frame, or an error as a negative number.
  void capture() {
    flow_->requestStill([this](const auto& still, int error) {
      outcomes_.push_back(still.frame ? still.frame->bytes.at(5) : -error);
    });
    loop_->run();
  }
  /// One frame: `lost` hundredths are missing. Frames are numbered from 1, of which the photo tells.
  void frame(std::uint8_t lost = 0, std::uint8_t level = kBright) {
    loop_->advance(kFrame);
    source_->deliver({lost, level, ++number_});
    loop_->run();
  }
  /// Frames until a camera that began to send has settled.
  void settle() {
    for (int i = 0; i < 32; ++i)
      frame();
  }

  /// Frames until nobody asks for its exposure any more.
  void outliveItsYouth() {
    for (int i = 0; i < 100; ++i)
      frame();
  }

  /// Somebody looks at the live picture.
  std::shared_ptr<platform_linux::FrameFeed> watch() {
    auto feed = std::make_shared<platform_linux::FrameFeed>();
    feed->setListener([] {});
    flow_->addFeed(feed);
    return feed;
  }

  fakes::Journal journal_;
  fakes::FakeMainLoop queue_;
  fakes::FakeNotificationCenter center_{journal_};
  fakes::FakeLog log_{journal_};
  std::shared_ptr<FakeFrameSource> source_ = std::make_shared<FakeFrameSource>();
  FakeCameraLoop* loop_ = nullptr;
  FakeExaminer* examiner_ = nullptr;
  std::shared_ptr<platform_linux::CaptureService> service_;
  std::shared_ptr<platform_linux::CaptureFlow> flow_;
  std::vector<int> outcomes_;
  std::uint8_t number_ = 0;
};

}  // namespace camera_test
