#include <cerrno>

#include <gtest/gtest.h>

#include "platform/linux/camera/pipewire/ErrorMessage.h"

namespace camera_test {
namespace {

using platform_linux::errorNumberOfMessage;

TEST(ErrorMessage, TellsTheNumberOfItsLastWords) {
  EXPECT_EQ(errorNumberOfMessage("Start error: Device or resource busy"), EBUSY);
  EXPECT_EQ(errorNumberOfMessage("No such device"), ENODEV);
  EXPECT_EQ(errorNumberOfMessage("error set format: Invalid argument"), EINVAL);
  EXPECT_EQ(errorNumberOfMessage("can't open: Permission denied"), EACCES);
}

TEST(ErrorMessage, TellsTheNumberOfWordsInBracketsAndBeforeThem) {
  EXPECT_EQ(errorNumberOfMessage("error set output format: -16 (Device or resource busy)"), EBUSY);
  EXPECT_EQ(errorNumberOfMessage("can't open device: -13 (Permission denied)"), EACCES);
  EXPECT_EQ(errorNumberOfMessage("Device or resource busy (/dev/video0)"), EBUSY);
  EXPECT_EQ(errorNumberOfMessage("Device or resource busy."), EBUSY);
  EXPECT_EQ(errorNumberOfMessage("("), EIO);
  EXPECT_EQ(errorNumberOfMessage(" )"), EIO);
}

TEST(ErrorMessage, WithoutKnownWordsIsADeviceFault) {
  EXPECT_EQ(errorNumberOfMessage(""), EIO);
  EXPECT_EQ(errorNumberOfMessage("Format negotiation failed"), EIO);
}

TEST(ErrorMessage, OfASessionManagerThatDoesNotLinkACameraThatIsThereIsADeviceFault) {
  EXPECT_EQ(errorNumberOfMessage("no target node available"), EIO);
  EXPECT_EQ(errorNumberOfMessage("defined target not found"), EIO);
}

}  // namespace
}  // namespace camera_test
