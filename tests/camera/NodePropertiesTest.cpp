#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/NodeProperties.h"

namespace camera_test {
namespace {

using platform_linux::Camera;
using platform_linux::CameraKind;
using platform_linux::distinctCameras;
using platform_linux::NodeEntry;
using platform_linux::NodeProperties;
using testing::ElementsAre;
using Values = std::map<std::string, std::string>;

NodeProperties properties(const Values& values) {
  std::vector<spa_dict_item> items;
  for (const auto& [key, value] : values)
    items.push_back({key.c_str(), value.c_str()});
  NodeProperties made;
  made.merge({0, static_cast<std::uint32_t>(items.size()), items.data()});
  return made;
}

bool isCamera(Values values) {
  values.emplace("media.class", "Video/Source");
  return properties(values).isCamera();
}

std::string title(const Values& values) {
  return properties(values).title();
}

NodeEntry node(const Values& values) {
  const auto made = properties(values);
  return {made, made.camera({})};
}

std::vector<std::string> identities(std::vector<NodeEntry> nodes, const std::set<std::string>& devices = {}) {
  std::vector<std::string> all;
  for (const auto& camera : distinctCameras(std::move(nodes), devices))
    all.push_back(camera.uniqueID + "=" + camera.localizedName);
  return all;
}

TEST(NodeProperties, OfACameraSaySoOrNothingElse) {
  EXPECT_TRUE(isCamera({{"media.role", "Camera"}, {"node.name", "obs"}}));
  EXPECT_TRUE(isCamera({{"device.api", "v4l2"}, {"node.name", "v4l2_input.pci-0000_00_14.0-usb-0_1_1.0"}}));
  EXPECT_TRUE(isCamera({{"device.api", "libcamera"}, {"node.description", "ov2740"}}));
  EXPECT_TRUE(isCamera({{"node.name", "desk"}}));
  EXPECT_FALSE(isCamera({{"media.class", "Audio/Source"}}));
  EXPECT_FALSE(isCamera({{"media.class", "Stream/Output/Video"}, {"media.role", "Camera"}}));
}

TEST(NodeProperties, OfAScreenAreNoCameras) {
  EXPECT_FALSE(isCamera({{"media.role", "Screen"}, {"device.api", "v4l2"}}));
  EXPECT_FALSE(isCamera({{"media.role", "Movie"}}));
  for (const char* name : {"meta-screen-cast-src", "kwin-screencast-eDP-1", "xdg-desktop-portal-wlr",
                           "gamescope", "Shared Screen", "xdg-desktop-portal-hyprland"}) {
    EXPECT_FALSE(isCamera({{"node.name", name}})) << name;
    EXPECT_FALSE(isCamera({{"node.name", "x"}, {"media.name", name}})) << name;
  }
  EXPECT_FALSE(isCamera({{"node.name", "src"}, {"application.name", "gnome-shell"}}));
}

TEST(NodeProperties, OfPartsOfACameraAreNoCameras) {
  EXPECT_FALSE(isCamera({{"device.api", "v4l2"}, {"node.description", "Intel IPU6 ISYS Capture 0 (V4L2)"}}));
  EXPECT_FALSE(isCamera({{"device.api", "v4l2"}, {"api.v4l2.cap.driver", "ipu3-cio2"}}));
  for (const char* processor : {"bcm2835-isp", "pispbe", "rp1-cfe", "unicam"})
    EXPECT_FALSE(isCamera({{"device.api", "v4l2"}, {"api.v4l2.cap.driver", processor}})) << processor;
  EXPECT_FALSE(isCamera({{"device.api", "v4l2"}, {"node.nick", "Webcam Metadata"}}));
  EXPECT_TRUE(isCamera({{"device.api", "libcamera"}, {"node.description", "ipu6 front camera"}}));
}

TEST(NodeProperties, TheTitleIsTheBareName) {
  EXPECT_EQ(title({{"node.nick", "Cam A"}, {"node.description", "Cam A (V4L2)"}, {"node.name", "a"}}),
            "Cam A");
  EXPECT_EQ(title({{"node.description", "Cam A (V4L2)"}}), "Cam A");
  EXPECT_EQ(title({{"node.description", "Cam A  Cam A"}}), "Cam A");
  EXPECT_EQ(title({{"node.description", "HD HD Camera"}}), "HD HD Camera");
  EXPECT_EQ(title({{"node.name", "a"}}), "a");
  EXPECT_EQ(title({}), "");
}

TEST(NodeProperties, ALoopbackIsTakenForOneWhateverItsTitle) {
  EXPECT_EQ(node({{"node.nick", "My camera"}, {"api.v4l2.cap.driver", "v4l2 loopback"}}).camera.kind,
            CameraKind::Virtual);
  EXPECT_EQ(node({{"node.nick", "My camera"}}).camera.kind, CameraKind::Colour);
}

TEST(DistinctCameras, ADeviceThatIsShownTwiceIsListedOnceByV4L2) {
  const Values v4l2{
      {"node.name", "v"}, {"node.nick", "Cam A"}, {"device.api", "v4l2"}, {"device.devids", "[ 20736 ]"}};
  const Values libcamera{
      {"node.name", "l"}, {"node.nick", "Cam A"}, {"device.api", "libcamera"}, {"device.devids", "20736"}};
  EXPECT_THAT(identities({node(libcamera), node(v4l2)}), ElementsAre("v=Cam A"));
  EXPECT_THAT(identities({node(libcamera)}), ElementsAre("l=Cam A"));
}

TEST(DistinctCameras, ACameraThatIsPutTogetherOfDevicesStandsForThem) {
  const Values part{
      {"node.name", "v"}, {"node.nick", "Part"}, {"device.api", "v4l2"}, {"device.devids", "[ 20737 ]"}};
  const Values whole{{"node.name", "l"},
                     {"node.nick", "Whole"},
                     {"device.api", "libcamera"},
                     {"device.devids", "[ 20736, 20737 ]"}};
  EXPECT_THAT(identities({node(part), node(whole)}), ElementsAre("l=Whole"));
  EXPECT_THAT(identities({node(whole), node(part)}), ElementsAre("l=Whole"));
}

TEST(Nodes, OfLibcameraKnowTheRangeOfTheirUsualFormatOnly) {
  EXPECT_FALSE(node({{"node.name", "l"}, {"device.api", "libcamera"}}).camera.knowsRangeOfRgb);
  EXPECT_TRUE(node({{"node.name", "v"}, {"device.api", "v4l2"}}).camera.knowsRangeOfRgb);
}

TEST(DistinctCameras, TwoOfOneNameCanEachBeChosenTheSameNextTime) {
  const Values left{{"node.name", "cam"},
                    {"node.nick", "Left"},
                    {"object.path", "v4l2:/dev/video2"},
                    {"object.serial", "80"}};
  const Values right{{"node.name", "cam"},
                     {"node.nick", "Right"},
                     {"object.path", "v4l2:/dev/video4"},
                     {"object.serial", "70"}};
  const auto expected = ElementsAre("cam#v4l2:/dev/video4=Right", "cam=Left");
  EXPECT_THAT(identities({node(left), node(right)}), expected);
  EXPECT_THAT(identities({node(right), node(left)}), expected);
}

/// A camera of the kernel with that node name, its title the number of its device.
NodeEntry deviceNode(const std::string& name, int number) {
  return node({{"node.name", name},
               {"node.nick", std::to_string(number)},
               {"device.api", "v4l2"},
               {"api.v4l2.path", "/dev/video" + std::to_string(number)}});
}

TEST(DistinctCameras, DevicesInOneSocketAreCountedByTheirNumbers) {
  const auto expected = ElementsAre("here=2", "here.2=10");
  EXPECT_THAT(identities({deviceNode("here", 2), deviceNode("here.2", 10)}), expected);
  EXPECT_THAT(identities({deviceNode("here.2", 2), deviceNode("here", 10)}), expected) << "named by chance";
  EXPECT_THAT(identities({deviceNode("here", 10), deviceNode("here", 2)}), expected) << "not told apart";
  EXPECT_THAT(identities({deviceNode("here", 2), deviceNode("here.3", 10)}), expected) << "no camera between";
}

TEST(DistinctCameras, WhatOnlyLooksLikeACountIsAPartOfTheName) {
  EXPECT_THAT(identities({deviceNode("usb-0_6_1.2", 0), deviceNode("usb-0_6_1.0", 2)}),
              ElementsAre("usb-0_6_1.2=0", "usb-0_6_1.0=2"));
  EXPECT_THAT(identities({deviceNode("here.0", 2), deviceNode("here", 3)}),
              ElementsAre("here.0=2", "here=3"));
  EXPECT_THAT(identities({deviceNode("here.2", 0)}), ElementsAre("here.2=0"));
}

TEST(DistinctCameras, ADeviceThatSendsNoPicturesIsNotCounted) {
  const auto camera = deviceNode("v4l2_input.here.2", 0);
  EXPECT_THAT(identities({camera}, {"v4l2_device.here", "v4l2_device.here.2"}),
              ElementsAre("v4l2_input.here=0"));
}

TEST(DistinctCameras, WhatNothingTellsApartIsCounted) {
  EXPECT_THAT(identities({node({{"node.name", "cam"}, {"object.serial", "70"}}),
                          node({{"node.name", "cam"}, {"object.serial", "80"}})}),
              ElementsAre("cam=cam", "cam#2=cam"));
}

}  // namespace
}  // namespace camera_test
