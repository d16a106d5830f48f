#include <cerrno>
#include <numeric>

#include "tests/camera/v4l2/DeviceFixture.h"

namespace camera_test {
namespace {

using picture::ColorMatrix;
using picture::ColorRange;
using picture::PixelFormat;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::uint8_t> counted(std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

class DeviceStreams : public DeviceFixture {
 protected:
  DeviceStreams() : device_(plug(0)) {}

  /// The stream of a device that is set up as the test wants it.
  void openDevice() {
    start();
    stream_ = open(client_);
  }
  void deliver(const std::vector<std::uint8_t>& bytes, std::uint32_t flags = 0) {
    ASSERT_TRUE(device_->deliver(bytes, flags));
    loop_.run();
  }
  void deliverWhole(std::uint32_t flags = 0) { deliver(counted(device_->pictureSize()), flags); }

  const std::shared_ptr<FakeDevice> device_;
  StreamRecorder client_;
  std::unique_ptr<platform_linux::FrameStream> stream_;
};

TEST_F(DeviceStreams, DeliversThePicturesOfTheDevice) {
  openDevice();
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  const picture::Frame& frame = *client_.frames[0];
  EXPECT_EQ(frame.format, PixelFormat::YUY2);
  EXPECT_EQ(frame.width, 4);
  EXPECT_EQ(frame.height, 2);
  EXPECT_EQ(frame.stride, 8);
  EXPECT_THAT(frame.bytes, ElementsAreArray(counted(16)));
  EXPECT_EQ(device_->interval().numerator, 1U);
  EXPECT_EQ(device_->interval().denominator, 30U);
}

TEST_F(DeviceStreams, GoesOnWithADriverThatWakesOnlyWhoWaitsForNothing) {
  loop_.forgetEarlyWatches();
  device_->first = counted(16);
  openDevice();
  deliverWhole();
  deliverWhole();
  EXPECT_THAT(client_.frames, SizeIs(3));
}

TEST_F(DeviceStreams, NeverRunsOutOfBuffers) {
  openDevice();
  for (int i = 0; i < 20; ++i)
    deliverWhole();
  EXPECT_THAT(client_.frames, SizeIs(20));
}

TEST_F(DeviceStreams, PicturesThatCameTogetherAreDeliveredInTheirOrder) {
  openDevice();
  for (std::uint8_t i = 1; i <= 3; ++i)
    ASSERT_TRUE(device_->deliver(std::vector<std::uint8_t>(16, i)));
  loop_.run();
  ASSERT_THAT(client_.frames, SizeIs(3));
  EXPECT_EQ(client_.frames[0]->bytes[0], 1);
  EXPECT_EQ(client_.frames[2]->bytes[0], 3);
}

TEST_F(DeviceStreams, RowsMayBePadded) {
  device_->padding = 3;
  openDevice();
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  EXPECT_EQ(client_.frames[0]->stride, 11);
}

TEST_F(DeviceStreams, ABlockOfMemoryForEachPlane) {
  device_->abilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
  device_->formats = {{.code = V4L2_PIX_FMT_NV12M}};
  device_->planes = 2;
  openDevice();
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  EXPECT_EQ(client_.frames[0]->format, PixelFormat::NV12);
  EXPECT_THAT(client_.frames[0]->bytes, ElementsAreArray(counted(12)));
}

TEST_F(DeviceStreams, DamagedAndShortAndEmptyPicturesAreLeftOut) {
  openDevice();
  deliverWhole(V4L2_BUF_FLAG_ERROR);
  deliver(counted(7));
  deliver({});
  EXPECT_THAT(client_.frames, IsEmpty());
  deliverWhole();
  EXPECT_THAT(client_.frames, SizeIs(1));
  EXPECT_THAT(client_.ends, IsEmpty());
}

TEST_F(DeviceStreams, WhatTheDeviceMakesOfTheModeCounts) {
  device_->formats = {{.sizes = {{4, 2}, {8, 4}}}};
  start();
  device_->doesInsist = true;
  stream_ = source_.open(cameras().at(0), {PixelFormat::YUY2, 8, 4, {30, 1}}, client_);
  loop_.run();
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  EXPECT_EQ(client_.frames[0]->width, 4);
}

TEST_F(DeviceStreams, AFormatThatCannotBeDecodedIsAnError) {
  device_->formats = {{.code = V4L2_PIX_FMT_H264}, {.code = V4L2_PIX_FMT_YUYV}};
  start();
  device_->doesInsist = true;
  stream_ = open(client_);
  EXPECT_THAT(client_.ends, ElementsAre(EINVAL));
}

TEST_F(DeviceStreams, UnstatedColoursAreThoseOfStandardDefinition) {
  openDevice();
  deliverWhole();
  EXPECT_EQ(client_.frames.at(0)->matrix, ColorMatrix::BT601);
  EXPECT_EQ(client_.frames.at(0)->range, ColorRange::Limited);
}

TEST_F(DeviceStreams, StatedColoursAreKept) {
  device_->colorspace = V4L2_COLORSPACE_REC709;
  device_->quantization = V4L2_QUANTIZATION_FULL_RANGE;
  openDevice();
  deliverWhole();
  EXPECT_EQ(client_.frames.at(0)->matrix, ColorMatrix::BT709);
  EXPECT_EQ(client_.frames.at(0)->range, ColorRange::Full);
}

TEST_F(DeviceStreams, TheColoursOfJpegHaveTheFullRange) {
  device_->colorspace = V4L2_COLORSPACE_JPEG;
  openDevice();
  deliverWhole();
  EXPECT_EQ(client_.frames.at(0)->range, ColorRange::Full);
}

TEST_F(DeviceStreams, AGrabberIsSetToTheSignalAtItsInput) {
  device_->signal = {8, 4};
  openDevice();
  EXPECT_EQ(cameras().at(0).modes.at(0).width, 8U);
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  EXPECT_EQ(client_.frames[0]->width, 8);
}

TEST_F(DeviceStreams, AGrabberWithoutASignalStaysAsItIs) {
  device_->signal = {0, 0};
  openDevice();
  EXPECT_EQ(cameras().at(0).modes.at(0).width, 4U);
  EXPECT_THAT(client_.ends, IsEmpty());
}

TEST_F(DeviceStreams, AnotherSignalEndsTheStreamAndIsOffered) {
  device_->signal = {4, 2};
  openDevice();
  deliverWhole();
  const auto before = cameras().at(0);
  device_->changeSignal(8, 4);
  loop_.run();
  EXPECT_THAT(client_.ends, ElementsAre(ESTALE));
  EXPECT_EQ(cameras().at(0).serial, before.serial) << "it was not plugged in anew";
  EXPECT_EQ(cameras().at(0).uniqueID, before.uniqueID);
  EXPECT_EQ(cameras().at(0).modes.at(0).width, 8U);
  stream_.reset();
  StreamRecorder next;
  stream_ = open(next);
  deliverWhole();
  ASSERT_THAT(next.frames, SizeIs(1));
  EXPECT_EQ(next.frames[0]->width, 8);
}

TEST_F(DeviceStreams, ASignalThatChangesBeforeTheStreamIsOpenedIsTheStreams) {
  device_->signal = {4, 2};
  start();
  device_->changeSignal(16, 8);
  stream_ = open(client_);
  deliverWhole();
  ASSERT_THAT(client_.frames, SizeIs(1));
  EXPECT_EQ(client_.frames[0]->width, 16);
}

TEST_F(DeviceStreams, ABusyDeviceSaysSo) {
  device_->occupy();
  openDevice();
  EXPECT_THAT(client_.ends, ElementsAre(EBUSY));
}

class DeviceRefusals : public DeviceStreams, public testing::WithParamInterface<unsigned long> {};

TEST_P(DeviceRefusals, EndTheStreamWithTheirReason) {
  device_->failures[GetParam()] = EBUSY;
  openDevice();
  EXPECT_THAT(client_.ends, ElementsAre(EBUSY));
  // The device is free again, although the stream lives on.
  device_->failures.clear();
  StreamRecorder next;
  const auto another = open(next);
  deliverWhole();
  EXPECT_THAT(next.frames, SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(OfEachStep, DeviceRefusals,
                         testing::Values(VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_QUERYBUF, VIDIOC_QBUF,
                                         VIDIOC_STREAMON));

TEST_F(DeviceStreams, ARateThatCannotBeChosenIsNoError) {
  device_->failures[VIDIOC_S_PARM] = ENOTTY;
  openDevice();
  deliverWhole();
  EXPECT_THAT(client_.frames, SizeIs(1));
}

TEST_F(DeviceStreams, ADeviceThatMayNotBeOpenedSaysSo) {
  start();
  calls_->refusals["/dev/video0"] = EACCES;
  stream_ = open(client_);
  EXPECT_THAT(client_.ends, ElementsAre(EACCES));
}

TEST_F(DeviceStreams, UnpluggedWhileItDelivers) {
  openDevice();
  deliverWhole();
  device_->unplug();
  loop_.run();
  EXPECT_THAT(client_.ends, ElementsAre(ENODEV));
}

TEST_F(DeviceStreams, UnpluggedAndNoticedByTheSystemFirst) {
  openDevice();
  folder_->entries.clear();
  folder_->gone("/dev/video0");
  EXPECT_THAT(client_.ends, ElementsAre(ENODEV));
  loop_.run();
  EXPECT_THAT(client_.ends, SizeIs(1));
}

TEST_F(DeviceStreams, UnpluggedBeforeItIsOpened) {
  start();
  const auto camera = cameras().at(0);
  unplug(0);
  folder_->gone("/dev/video0");
  stream_ = source_.open(camera, camera.modes.at(0), client_);
  loop_.run();
  EXPECT_THAT(client_.ends, ElementsAre(ENODEV));
}

TEST_F(DeviceStreams, AFailingDeviceEndsItsStream) {
  openDevice();
  device_->failures[VIDIOC_DQBUF] = EIO;
  ASSERT_TRUE(device_->deliver(counted(16)));
  loop_.run();
  EXPECT_THAT(client_.ends, ElementsAre(EIO));
  EXPECT_THAT(client_.frames, IsEmpty());
}

TEST_F(DeviceStreams, AStreamThatIsDestroyedBeforeItsFailureIsToldTellsNothing) {
  device_->occupy();
  start();
  stream_ = source_.open(cameras().at(0), cameras().at(0).modes.at(0), client_);
  stream_.reset();
  loop_.run();
  EXPECT_THAT(client_.ends, IsEmpty());
}

TEST_F(DeviceStreams, DestroyedItGivesTheDeviceBack) {
  openDevice();
  EXPECT_TRUE(device_->isStreaming());
  stream_.reset();
  EXPECT_FALSE(device_->isStreaming());
  StreamRecorder next;
  const auto another = open(next);
  EXPECT_TRUE(device_->isStreaming());
}

}  // namespace
}  // namespace camera_test
