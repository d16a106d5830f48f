#include <array>
#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "picture/ExifBlock.h"

namespace camera_shot_test {
namespace {

using namespace std::chrono_literals;
using picture::ExifBlock;
using picture::Orientation;
using Bytes = std::vector<std::uint8_t>;
using Time = std::chrono::system_clock::time_point;

/// Sets the process's time zone for one test.
class TimeZone {
 public:
  explicit TimeZone(const char* name) {
    const char* before = std::getenv("TZ");
    if (before != nullptr) before_ = before;
    hadBefore_ = before != nullptr;
    set(name);
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
  ~TimeZone() { set(hadBefore_ ? before_.c_str() : nullptr); }

 private:
  static void set(const char* name) {
    if (name != nullptr) {
      ::setenv("TZ", name, 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

  std::string before_;
  bool hadBefore_ = false;
};

// 2023-11-14 22:13:20.250 UTC.
const Time kEvening{1'700'000'000'250ms};

bool contains(const Bytes& bytes, const std::string& text) {
  return std::string(bytes.begin(), bytes.end()).find(text + '\0') != std::string::npos;
}

// Zones are given as rules, so that no zone database is needed.
TEST(ExifBlock, TellsLocalTimeWithItsOffset) {
  const TimeZone zone("HERE-05:45");
  const Bytes bytes = picture::ExifBlock{.orientation = {}, .captureTime = kEvening}.bytes();
  EXPECT_TRUE(contains(bytes, "2023:11:15 03:58:20"));
  EXPECT_TRUE(contains(bytes, "+05:45"));
  EXPECT_TRUE(contains(bytes, "250"));
}

TEST(ExifBlock, TellsOffsetsWestOfGreenwich) {
  const TimeZone zone("HERE03:30");
  EXPECT_TRUE(contains(picture::ExifBlock{.orientation = {}, .captureTime = kEvening}.bytes(), "-03:30"));
}

TEST(ExifBlock, ReadsBackWhatItWrote) {
  for (const char* rule : {"UTC0", "HERE-05:45", "HERE03:30", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
    const TimeZone zone(rule);
    for (const auto when :
         {kEvening, Time{1'711'846'799'001ms}, Time{1'711'846'800'999ms}, Time{0ms}, Time{-1ms}}) {
      const auto block =
          picture::ExifBlock::parse(picture::ExifBlock{.orientation = {}, .captureTime = when}.bytes());
      ASSERT_TRUE(block.has_value());
      EXPECT_EQ(block->captureTime, when) << rule;
      EXPECT_FALSE(block->orientation.has_value());
    }
  }
}

TEST(ExifBlock, ReadsAMomentElsewhere) {
  Bytes bytes;
  {
    const TimeZone zone("THERE-09:00");
    bytes = picture::ExifBlock{.orientation = {}, .captureTime = kEvening}.bytes();
  }
  const TimeZone zone("HERE03:00");
  EXPECT_EQ(picture::ExifBlock::parse(bytes)->captureTime, kEvening);
}

TEST(ExifBlock, MayBeEmpty) {
  const auto block = picture::ExifBlock::parse(picture::ExifBlock{}.bytes());
  ASSERT_TRUE(block.has_value());
  EXPECT_FALSE(block->orientation.has_value());
  EXPECT_FALSE(block->captureTime.has_value());
}

TEST(ExifBlock, ReadsBigEndianStructures) {
  const Bytes bytes = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0,
                       3,   0,   0, 0,  1, 0, 2, 0, 0, 0, 0,    0,    0};
  EXPECT_EQ(picture::ExifBlock::parse(bytes)->orientation, picture::Orientation::kMirrored);
}

TEST(ExifBlock, KnowsAllOrientations) {
  // What is done to the stored pixels for each value of the tag (Exif 2.3, 4.6.4 A).
  const std::array<picture::Orientation, 9> expected = {
      {{}, {false, 0}, {true, 0}, {false, 2}, {true, 2}, {true, 3}, {false, 1}, {true, 1}, {false, 3}}};
  for (std::uint8_t value = 0; value <= 9; ++value) {
    const Bytes bytes = {'M', 'M', 0, 42, 0, 0, 0,     8, 0, 1, 0x01, 0x12, 0,
                         3,   0,   0, 0,  1, 0, value, 0, 0, 0, 0,    0,    0};
    const auto block = picture::ExifBlock::parse(bytes);
    ASSERT_TRUE(block.has_value());
    if (value == 0 || value == 9) {
      EXPECT_FALSE(block->orientation.has_value()) << "no such value";
      continue;
    }
    EXPECT_EQ(block->orientation, expected[value]) << int{value};
    EXPECT_EQ(picture::ExifBlock::parse(block->bytes())->orientation, expected[value]) << int{value};
  }
}

TEST(ExifBlock, SurvivesDamage) {
  const Bytes whole =
      picture::ExifBlock{.orientation = picture::Orientation::kMirrored, .captureTime = kEvening}.bytes();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto block = picture::ExifBlock::parse(std::span(whole).first(size));
    EXPECT_EQ(block.has_value(), size >= 8) << size;
  }
  std::mt19937 random(1);
  int readable = 0;
  for (int round = 0; round < 20000; ++round) {
    Bytes damaged = whole;
    for (int i = 0; i < 3; ++i)
      damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
    readable += picture::ExifBlock::parse(damaged).has_value() ? 1 : 0;
  }
  EXPECT_GT(readable, 15000);
}

}  // namespace
}  // namespace camera_shot_test
