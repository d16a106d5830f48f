#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
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
    states.push_back(news.state);
    census = std::move(news);
    ++count;
  }

  platform_linux::CameraCensus census;
  std::vector<platform_linux::CameraCensus::State> states;  ///< of all that was told
  int count = 0;
};

/// Remembers what a stream delivers.
class StreamRecorder final : public platform_linux::FrameStream::Client {
 public:
  void frameArrived(const platform_linux::FrameBuffer& picture) override {
    frames.push_back(picture.copy(frames.size()));
  }
  void frameUnusable() override { ++useless; }
  void streamEnded(int error) override { ends.push_back(error); }

  std::vector<std::shared_ptr<const picture::Frame>> frames;
  int useless = 0;
  std::vector<int> ends;
};

/// A source over played devices, which are plugged and unplugged without anybody being told.
class PlayedDevices {
 public:
  /// `socket` as udev names it.
  std::shared_ptr<FakeDevice> plug(unsigned number, const std::string& socket, const std::string& product) {
    platform_linux::DeviceEntry entry;
    entry.path = pathOf(number);
    entry.number = number;
    entry.instance = std::to_string(++pluggings_);
    entry.busPath = socket;
    entry.product = product;
    calls->devices[entry.path] = std::make_shared<FakeDevice>();
    folder->entries.push_back(entry);
    std::sort(folder->entries.begin(), folder->entries.end(),
              [](auto& a, auto& b) { return a.number < b.number; });
    return calls->devices[entry.path];
  }

  void unplug(unsigned number) {
    const std::string path = pathOf(number);
    calls->devices.at(path)->unplug();
    calls->devices.erase(path);
    std::erase_if(folder->entries, [&](auto& each) { return each.path == path; });
  }

  [[nodiscard]] static std::string pathOf(unsigned number) { return "/dev/video" + std::to_string(number); }

 private:
  std::unique_ptr<FakeDeviceCalls> givenCalls_ = std::make_unique<FakeDeviceCalls>();
  std::unique_ptr<FakeDeviceFolder> givenFolder_ = std::make_unique<FakeDeviceFolder>();
  int pluggings_ = 0;

 public:
  FakeDeviceCalls* const calls = givenCalls_.get();
  FakeDeviceFolder* const folder = givenFolder_.get();
  platform_linux::DeviceFrameSource source{std::move(givenCalls_), std::move(givenFolder_)};
};

/// Tests of a source over played devices.
class DeviceFixture : public testing::Test {
 protected:
  ~DeviceFixture() override { source_.stop(); }

  /// Plugs a device into `socket`, as udev names it.
  std::shared_ptr<FakeDevice> plug(unsigned number,
                                   const std::string& socket = "pci-0000:00:14.0-usb-0:1:1.0") {
    return played_.plug(number, socket, "Desk camera");
  }

  void unplug(unsigned number) { played_.unplug(number); }

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
  CensusRecorder told_;
  PlayedDevices played_;
  FakeDeviceCalls* const calls_ = played_.calls;
  FakeDeviceFolder* const folder_ = played_.folder;
  platform_linux::DeviceFrameSource& source_ = played_.source;
};

}  // namespace camera_test
