#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "picture/FrameHealth.h"
#include "picture/JpegMarkers.h"
#include "tests/picture/RawFrames.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

using picture::FrameCondition;
using picture::FrameHealth;

FrameHealth healthOf(const Bytes& jpeg) {
  picture::Frame frame;
  frame.bytes = jpeg;
  return picture::examineFrame(frame);
}

/// A stream whose scan's data, from where it begins, `change` has worked on.
template <typename Change>
Bytes changed(Bytes jpeg, Change change) {
  const auto segments = picture::jpegHeaderSegments(jpeg).value();
  change(jpeg, segments.back().offset + segments.back().size);
  return jpeg;
}

/// Where restart markers begin.
std::vector<std::size_t> restartMarkers(const Bytes& jpeg) {
  std::vector<std::size_t> markers;
  for (std::size_t i = 0; i + 1 < jpeg.size(); ++i)
    if (jpeg[i] == 0xFF && jpeg[i + 1] >= 0xD0 && jpeg[i + 1] <= 0xD7) markers.push_back(i);
  return markers;
}

Bytes withStrayBytes(const Bytes& jpeg, std::size_t most) {
  std::mt19937 random(1);
  Bytes out;
  std::size_t copied = 0;
  for (const std::size_t marker : restartMarkers(jpeg)) {
    out.insert(out.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(copied),
               jpeg.begin() + static_cast<std::ptrdiff_t>(marker));
    for (std::size_t i = 0; i <= random() % most; ++i)
      out.push_back(static_cast<std::uint8_t>(random() % 0xFF));
    copied = marker;
  }
  out.insert(out.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(copied), jpeg.end());
  return out;
}

Bytes withTail(Bytes jpeg, const Bytes& tail) {
  jpeg.insert(jpeg.end(), tail.begin(), tail.end());
  return jpeg;
}

Bytes noise(std::size_t size) {
  std::mt19937 random(2);
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<std::uint8_t>(random()); });
  return bytes;
}

/// Every way in which cameras send whole pictures that are no model streams.
std::vector<std::pair<std::string, Bytes>> oddButWhole(const Bytes& jpeg) {
  const Bytes noEnd(jpeg.begin(), jpeg.end() - 2);
  return {{"as it is", jpeg},
          {"a stray byte or two", withStrayBytes(jpeg, 2)},
          {"many stray bytes", withStrayBytes(jpeg, 40)},
          {"no Huffman tables", withoutHuffmanTables(jpeg)},
          {"no end marker", noEnd},
          {"half an end marker", withTail(noEnd, {0xFF})},
          {"no end marker, zeros", withTail(noEnd, Bytes(5000, 0))},
          {"no end marker, an older frame's bytes", withTail(noEnd, noise(5000))},
          {"a second end marker", withTail(jpeg, {0xFF, 0xD9})},
          {"a zero behind the end", withTail(jpeg, {0})},
          {"zeros behind the end", withTail(jpeg, Bytes(60'000, 0))},
          {"other bytes behind the end", withTail(jpeg, noise(60'000))},
          {"another frame behind the end", withTail(jpeg, jpeg)},
          {"bytes between scan and end marker", withTail(withTail(noEnd, {1, 2, 3, 0}), {0xFF, 0xD9})}};
}

TEST(FrameHealth, OfWholePicturesIsWhole) {
  for (const int restartRows : {0, 1, 3}) {
    const Bytes jpeg = encodeJpeg(photoPicture(320, 240, 1), {.restartRows = restartRows});
    const Picture expected = referenceDecode(jpeg);
    for (const auto& [name, odd] : oddButWhole(jpeg)) {
      EXPECT_EQ(healthOf(odd).condition, FrameCondition::Whole) << name << ", restarts " << restartRows;
      EXPECT_EQ(healthOf(odd).lostPart, 0) << name;
      EXPECT_TRUE(decodeJpeg(odd) == expected) << name << ": every pixel is the reference decoder's";
    }
  }
}

TEST(FrameHealth, OfEveryKindOfStreamIsWhole) {
  const Picture scene = photoPicture(320, 240, 1);
  for (const JpegOptions& options : {JpegOptions{.grey = true},
                                     {.colors = JpegColors::Rgb},
                                     {.colors = JpegColors::Cmyk},
                                     {.colors = JpegColors::Ycck},
                                     {.arithmetic = true},
                                     {.lumaAcross = 4},
                                     {.lumaAcross = 1, .lumaDown = 2}}) {
    const Bytes jpeg = encodeJpeg(scene, options);
    EXPECT_EQ(healthOf(jpeg).condition, FrameCondition::Whole);
    EXPECT_EQ(healthOf(withHeightBehindTheScan(jpeg)).condition, FrameCondition::Whole);
    const Bytes half(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2));
    EXPECT_EQ(healthOf(half).condition, FrameCondition::Damaged);
  }
}

TEST(FrameHealth, SaysWhyAFrameIsNotWhole) {
  Bytes jpeg = encodeJpeg(photoPicture(64, 48, 6));
  EXPECT_EQ(healthOf(jpeg).whyNot, "");
  EXPECT_EQ(healthOf(Bytes(jpeg.begin(), jpeg.end() - 400)).whyNot, "parts of it are missing");
  jpeg[frameHeader(jpeg) + 4] = 12;
  EXPECT_EQ(healthOf(jpeg).whyNot, "Unsupported JPEG data precision 12");
}

TEST(FrameHealth, OfFramesWithoutAPartOfTheirScanIsDamaged) {
  std::mt19937 random(3);
  for (const int restartRows : {0, 1}) {
    const Bytes whole = encodeJpeg(photoPicture(640, 480, 2), {.restartRows = restartRows});
    for (int round = 0; round < 150; ++round) {
      const std::size_t hole = 100 + random() % 3000;
      const Bytes damaged = changed(whole, [&](Bytes& jpeg, std::size_t scan) {
        const std::size_t at = scan + random() % (jpeg.size() - scan - hole - 2);
        jpeg.erase(jpeg.begin() + static_cast<std::ptrdiff_t>(at),
                   jpeg.begin() + static_cast<std::ptrdiff_t>(at + hole));
      });
      const FrameHealth health = healthOf(damaged);
      EXPECT_EQ(health.condition, FrameCondition::Damaged) << hole << " bytes, round " << round;
      EXPECT_GT(health.lostPart, 0);
      EXPECT_LE(health.lostPart, 1);
      EXPECT_FALSE(decodeJpeg(damaged).has_value()) << "nor is it a photo";
    }
  }
}

TEST(FrameHealth, SeesThatWholeRestartIntervalsAreMissing) {
  // Eight at once bring the markers' numbers back into step.
  const Bytes whole = encodeJpeg(photoPicture(320, 400, 3), {.restartRows = 1});
  const auto markers = restartMarkers(whole);
  ASSERT_GT(markers.size(), 20U);
  for (const std::size_t lost : {1U, 2U, 3U, 7U, 8U, 9U, 16U}) {
    Bytes damaged = whole;
    damaged.erase(damaged.begin() + static_cast<std::ptrdiff_t>(markers[2]),
                  damaged.begin() + static_cast<std::ptrdiff_t>(markers[2 + lost]));
    EXPECT_EQ(healthOf(damaged).condition, FrameCondition::Damaged) << lost;
    EXPECT_FALSE(decodeJpeg(damaged).has_value()) << lost;
  }
}

TEST(FrameHealth, SaysHowMuchOfATruncatedFrameIsLost) {
  const Bytes whole = encodeJpeg(photoPicture(320, 480, 4), {.restartRows = 1});
  double before = 1.01;
  for (const int percent : {20, 40, 60, 80, 95}) {
    const auto kept = static_cast<std::ptrdiff_t>(whole.size() * static_cast<std::size_t>(percent) / 100);
    const FrameHealth health = healthOf(Bytes(whole.begin(), whole.begin() + kept));
    EXPECT_EQ(health.condition, FrameCondition::Damaged);
    EXPECT_NEAR(health.lostPart, 1 - percent / 100.0, 0.1);
    EXPECT_LT(health.lostPart, before);
    before = health.lostPart;
  }
}

/// Where each scan begins.
std::vector<std::size_t> scans(const Bytes& jpeg) {
  std::vector<std::size_t> found;
  for (std::size_t at = 0; at + 1 < jpeg.size(); ++at)
    if (jpeg[at] == 0xFF && jpeg[at + 1] == 0xDA) found.push_back(at);
  return found;
}

TEST(FrameHealth, SeesThatTheLastScansOfAProgressiveFrameAreMissing) {
  const Bytes whole = encodeJpeg(photoPicture(160, 120, 6), {.progressive = true});
  const auto starts = scans(whole);
  ASSERT_GT(starts.size(), 5U);
  for (const std::size_t kept : {std::size_t{2}, starts.size() - 1}) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(starts[kept]));
    EXPECT_EQ(healthOf(cut).condition, FrameCondition::Damaged) << kept;
    EXPECT_FALSE(decodeJpeg(cut).has_value()) << kept;
  }
}

TEST(FrameHealth, OfBytesThatAreNoPictureSaysSo) {
  EXPECT_EQ(healthOf({}).condition, FrameCondition::NotAPicture);
  EXPECT_EQ(healthOf({1, 2, 3}).condition, FrameCondition::NotAPicture);
  EXPECT_EQ(healthOf(Bytes(1000, 0)).condition, FrameCondition::NotAPicture);
  const Bytes whole = encodeJpeg(photoPicture(64, 48, 5));
  EXPECT_EQ(healthOf(Bytes(whole.begin(), whole.begin() + 100)).condition, FrameCondition::NotAPicture);
}

TEST(FrameHealth, OfUncompressedFramesIsThatTheyHaveTheirBytes) {
  for (const auto format : rawFormats()) {
    picture::Frame frame = noiseFrame(format, 33, 17, 3, 6);
    EXPECT_TRUE(picture::examineFrame(frame).isWhole()) << nameOf(format);
    frame.bytes.resize(frame.bytes.size() / 2);
    EXPECT_EQ(picture::examineFrame(frame).condition, FrameCondition::NotAPicture) << nameOf(format);
  }
}

}  // namespace
}  // namespace camera_shot_test
