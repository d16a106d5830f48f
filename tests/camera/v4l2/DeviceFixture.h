#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "tests/camera/v4l2/FakeDevices.h"
#include "tests/camera/v4l2/ManualLoop.h"

namespace camera_test {

/// Remembers what a source tells.
class CensusRecorder final : public platform_linux::FrameSource::Client {
 public:
  void camerasChanged(const platform_linux::FrameSource&, platform_linux::CameraCensus news) override {
    census = std::move(news);
    ++count;
  }

  platform_linux::CameraCensus census;
  int count = 0;
};

/// Remembers what a stream delivers.
class StreamRecorder final : public platform_linux::FrameStream::Client {
 public:
  void frameArrived(const platform_linux::FrameBuffer& picture) override {
    frames.push_back(picture.copy(frames.size()));
  }
  void streamEnded(int error) override { ends.push_back(error); }

  std::vector<std::shared_ptr<const picture::Frame>> frames;
  std::vector<int> ends;
};

/// A source over played devices.
class DeviceFixture : public testing::Test {
 protected:
  DeviceFixture() : source_(givenCalls(), givenFolder()) {}
  ~DeviceFixture() override { source_.stop(); }

  /// Plugs a device into `socket`, as udev names it.
  std::shared_ptr<FakeDevice> plug(unsigned number,
                                   const std::string& socket = "pci-0000:00:14.0-usb-0:1:1.0") {
    platform_linux::DeviceEntry entry;
    entry.path = "/dev/video" + std::to_string(number);
    entry.number = number;
    entry.instance = std::to_string(++pluggings_);
    entry.busPath = socket;
    entry.product = "Desk camera";
    calls_->devices[entry.path] = std::make_shared<FakeDevice>();
    folder_->entries.push_back(entry);
    std::sort(folder_->entries.begin(), folder_->entries.end(),
              [](auto& a, auto& b) { return a.number < b.number; });
    return calls_->devices[entry.path];
  }

  void unplug(unsigned number) {
    const std::string path = "/dev/video" + std::to_string(number);
    calls_->devices.at(path)->unplug();
    calls_->devices.erase(path);
    std::erase_if(folder_->entries, [&](auto& each) { return each.path == path; });
  }

  void start() {
    source_.start(loop_, told_);
    loop_.run();
  }

  [[nodiscard]] const std::vector<platform_linux::Camera>& cameras() const { return told_.census.cameras; }
  [[nodiscard]] std::vector<std::string> identities() const {
    std::vector<std::string> names;
    for (const auto& camera : cameras())
      names.push_back(camera.uniqueID);
    return names;
  }

  /// Opens the first camera in its first mode.
  std::unique_ptr<platform_linux::FrameStream> open(StreamRecorder& client) {
    auto stream = source_.open(cameras().at(0), cameras().at(0).modes.at(0), client);
    EXPECT_TRUE(client.ends.empty()) << "told inside the call that opens the stream";
    loop_.run();
    return stream;
  }

  ManualLoop loop_;
  FakeDeviceCalls* calls_ = nullptr;
  FakeDeviceFolder* folder_ = nullptr;
  CensusRecorder told_;
  platform_linux::DeviceFrameSource source_;

 private:
  std::unique_ptr<platform_linux::DeviceCalls> givenCalls() {
    auto calls = std::make_unique<FakeDeviceCalls>();
    calls_ = calls.get();
    return calls;
  }
  std::unique_ptr<platform_linux::DeviceFolder> givenFolder() {
    auto folder = std::make_unique<FakeDeviceFolder>();
    folder_ = folder.get();
    return folder;
  }

  int pluggings_ = 0;
};

}  // namespace camera_test
