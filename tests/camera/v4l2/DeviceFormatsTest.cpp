#include <gtest/gtest.h>

#include "platform/linux/camera/v4l2/DeviceFormats.h"

namespace camera_test {
namespace {

using picture::ColorMatrix;
using picture::ColorRange;
using picture::PixelFormat;
using platform_linux::applyColors;
using platform_linux::FrameFormat;
using platform_linux::pixelFormatOfCode;
using platform_linux::StatedColors;

TEST(DeviceFormats, AreThoseOfTheKernelsTables) {
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('M', 'J', 'P', 'G')), PixelFormat::MJPG);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('J', 'P', 'E', 'G')), PixelFormat::MJPG);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', 'U', '1', '2')), PixelFormat::I420);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('N', 'M', '1', '2')), PixelFormat::NV12);
  // "Y0, Cb, Y1, Cr" and blue, green, red and nothing, in memory.
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', 'U', 'Y', 'V')), PixelFormat::YUY2);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('X', 'R', '2', '4')), PixelFormat::BGRx);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('R', 'G', 'B', '3')), PixelFormat::RGB);
  // The kernel names these by their order in a little-endian word.
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('B', 'A', '2', '4')), PixelFormat::ARGB);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('R', 'X', '2', '4')), PixelFormat::xBGR);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('R', 'G', 'B', 'P')), PixelFormat::RGB16);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('N', 'V', '2', '1')), PixelFormat::NV21);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('P', '0', '1', '0')), PixelFormat::P010);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', '1', '6', ' ')), PixelFormat::GRAY16);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', 'U', 'V', '3')), PixelFormat::v308);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', 'U', 'V', '4')), PixelFormat::AYUV);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('Y', '1', '0', ' ')), PixelFormat::GRAY10);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc_be('Y', '1', '6', ' ')), PixelFormat::GRAY16_BE);
  EXPECT_EQ(pixelFormatOfCode(v4l2_fourcc('R', 'G', 'B', 'O')), PixelFormat::RGB15);
  EXPECT_FALSE(pixelFormatOfCode(v4l2_fourcc('H', '2', '6', '4')));
  EXPECT_FALSE(pixelFormatOfCode(v4l2_fourcc('R', 'G', 'G', 'B')));
}

FrameFormat colored(PixelFormat format, const StatedColors& stated) {
  FrameFormat frame;
  frame.format = format;
  applyColors(stated, frame);
  return frame;
}

TEST(DeviceFormats, ColoursFollowFromTheColorspaceUnlessStated) {
  const auto unstated = colored(PixelFormat::YUY2, {});
  EXPECT_EQ(unstated.matrix, ColorMatrix::BT601);
  EXPECT_EQ(unstated.range, ColorRange::Limited);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_SRGB}).matrix, ColorMatrix::BT601);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_SMPTE170M}).matrix, ColorMatrix::BT601);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_REC709}).matrix, ColorMatrix::BT709);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_REC709, V4L2_YCBCR_ENC_601}).matrix,
            ColorMatrix::BT601);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_SRGB, V4L2_YCBCR_ENC_709}).matrix,
            ColorMatrix::BT709);
  EXPECT_EQ(colored(PixelFormat::P010, {V4L2_COLORSPACE_BT2020}).matrix, ColorMatrix::BT2020);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_SMPTE240M}).matrix, ColorMatrix::SMPTE240M);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_JPEG}).range, ColorRange::Full);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_JPEG, 0, V4L2_QUANTIZATION_LIM_RANGE}).range,
            ColorRange::Limited);
  EXPECT_EQ(colored(PixelFormat::YUY2, {V4L2_COLORSPACE_SRGB, 0, V4L2_QUANTIZATION_FULL_RANGE}).range,
            ColorRange::Full);
}

TEST(DeviceFormats, RedGreenAndBlueAndGreyHaveTheFullRange) {
  EXPECT_EQ(colored(PixelFormat::GRAY8, {}).range, ColorRange::Full);
  EXPECT_EQ(colored(PixelFormat::RGB, {}).range, ColorRange::Full);
}

}  // namespace
}  // namespace camera_test
