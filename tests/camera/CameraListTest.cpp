#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/AVFoundation/AVCaptureDevice.h"
#include "platform/linux/camera/CameraList.h"
#include "tests/fakes/FakeFoundation.h"

namespace camera_test {
namespace {

using platform_linux::Camera;
using platform_linux::CameraList;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

Camera camera(std::string name, std::uint64_t serial) {
  return {.uniqueID = std::move(name), .localizedName = "", .serial = serial, .modes = {}};
}

class CameraListTest : public testing::Test {
 protected:
  CameraListTest() {
    center_.addObserver(this, platform::AVCaptureDeviceWasConnectedNotification,
                        [this] { tell("connected"); });
    center_.addObserver(this, platform::AVCaptureDeviceWasDisconnectedNotification,
                        [this] { tell("disconnected"); });
  }

  void tell(const std::string& what) { news_.push_back(what + ":" + names()); }
  std::string names() {
    std::string line;
    for (const auto& each : list_->cameras(0ms))
      line += " " + each.uniqueID;
    return line;
  }

  fakes::Journal journal_;
  fakes::FakeMainLoop loop_;
  fakes::FakeNotificationCenter center_{journal_};
  std::shared_ptr<CameraList> list_ = std::make_shared<CameraList>(loop_, center_);
  std::vector<std::string> news_;
};

TEST_F(CameraListTest, TheFirstEnumerationIsNoNews) {
  list_->update({camera("desk", 3), camera("door", 5)});
  loop_.run();
  EXPECT_EQ(names(), " desk door");
  EXPECT_THAT(news_, IsEmpty());
}

TEST_F(CameraListTest, WaitsForTheFirstEnumeration) {
  std::thread daemon([this] { list_->update({camera("desk", 3)}); });
  EXPECT_EQ(list_->cameras(10s).size(), 1U);
  daemon.join();
}

TEST_F(CameraListTest, CamerasAfterAnImpatientAnswerAreNews) {
  EXPECT_THAT(list_->cameras(0ms), IsEmpty());
  list_->update({camera("desk", 3)});
  loop_.run();
  EXPECT_THAT(news_, ElementsAre("connected: desk"));
}

TEST_F(CameraListTest, ChangesWithTheNewsOnly) {
  list_->update({camera("desk", 3), camera("door", 5)});
  list_->update({camera("door", 5), camera("desk", 8)});
  EXPECT_EQ(names(), " desk door");
  loop_.run();
  EXPECT_THAT(news_, ElementsAre("disconnected: door", "connected: door desk"));
}

TEST_F(CameraListTest, ChangesInTheOrderOfTheUpdates) {
  list_->update({camera("desk", 3)});
  list_->update({});
  list_->update({camera("desk", 3)});
  loop_.run();
  EXPECT_THAT(news_, ElementsAre("disconnected:", "connected: desk"));
}

TEST_F(CameraListTest, SameCamerasAreNoNews) {
  list_->update({camera("desk", 3)});
  list_->update({camera("desk", 3)});
  loop_.run();
  EXPECT_THAT(news_, IsEmpty());
}

TEST_F(CameraListTest, NewsAfterItsEndDoNothing) {
  list_->update({});
  list_->update({camera("desk", 3)});
  list_.reset();
  loop_.run();
  EXPECT_THAT(news_, IsEmpty());
}

}  // namespace
}  // namespace camera_test
