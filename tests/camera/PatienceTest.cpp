#include <chrono>
#include <functional>

#include <gtest/gtest.h>

#include "platform/linux/base/Patience.h"

namespace camera_test {
namespace {

using platform_linux::kLook;
using platform_linux::waitPatiently;
using namespace std::chrono_literals;

/// A condition variable at which each wait may last as long as it likes: it is counted.
struct CountedWaits {
  template <typename Predicate>
  bool wait_for(int&, std::chrono::milliseconds longest, Predicate isOver) {
    waited += longest;
    ++count;
    atWait(count);
    return isOver();
  }

  std::function<void(int number)> atWait = [](int) {};
  std::chrono::milliseconds waited{0};
  int count = 0;
};

class Patience : public testing::Test {
 protected:
  bool wait(std::chrono::milliseconds patience) {
    return waitPatiently(
        waits_, lock_, patience, [this] { return isOver_; }, isProgressing_);
  }

  CountedWaits waits_;
  int lock_ = 0;
  bool isOver_ = false;
  bool isProgressing_ = false;
};

TEST_F(Patience, IsSpentLookByLookHoweverLongOneLasts) {
  EXPECT_FALSE(wait(2s));
  EXPECT_EQ(waits_.waited, 2s);
  EXPECT_EQ(waits_.count, 2s / kLook);
}

TEST_F(Patience, LastsNoLongerThanStated) {
  EXPECT_FALSE(wait(kLook + 1ms));
  EXPECT_EQ(waits_.waited, kLook + 1ms);
}

TEST_F(Patience, EndsWithWhatIsWaitedFor) {
  waits_.atWait = [this](int number) { isOver_ = number == 3; };
  EXPECT_TRUE(wait(2s));
  EXPECT_EQ(waits_.count, 3);
}

TEST_F(Patience, WhatHasHappenedNeedsNone) {
  isOver_ = true;
  EXPECT_TRUE(wait(0ms));
  EXPECT_EQ(waits_.count, 0);
}

TEST_F(Patience, ASignOfProgressIsWorthAllOfItAnew) {
  waits_.atWait = [this](int number) { isProgressing_ = number == 30; };
  EXPECT_FALSE(wait(2s));
  EXPECT_EQ(waits_.count, 30 + 2s / kLook);
}

TEST_F(Patience, WithoutSignsIsTheSame) {
  EXPECT_FALSE(waitPatiently(waits_, lock_, 2s, [] { return false; }));
  EXPECT_EQ(waits_.count, 2s / kLook);
}

}  // namespace
}  // namespace camera_test
