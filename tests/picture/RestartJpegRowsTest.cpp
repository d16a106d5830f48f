#include <functional>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "picture/JpegDecoder.h"
#include "picture/JpegMarkers.h"
#include "picture/JpegRestarts.h"
#include "picture/PhotoRows.h"
#include "picture/png/PngWriter.h"
#include "tests/picture/PngReading.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

/// When pieces are decoded ahead: asked before each call for rows.
using Schedule = std::function<bool()>;

bool never() {
  return false;
}
bool always() {
  return true;
}
Schedule sometimes(unsigned seed) {
  return [random = std::minstd_rand(seed)]() mutable { return random() % 3 == 0; };
}

/// What came of reading a stream: all pixels, or why there are none.
struct Outcome {
  Bytes pixels;
  std::string failure;

  bool operator==(const Outcome&) const = default;
};

Outcome read(picture::RowSource& source, Schedule isAhead) {
  constexpr std::uint32_t kRowsAtOnce = 5;
  Bytes pixels(source.rowBytes() * source.height());
  for (std::uint32_t row = 0; row < source.height(); row += kRowsAtOnce) {
    while (isAhead() && source.canReadAhead())
      source.readAhead();
    const std::size_t rows = std::min(kRowsAtOnce, source.height() - row);
    if (!source.readRows(std::span(pixels).subspan(row * source.rowBytes(), rows * source.rowBytes())))
      return {{}, source.failure()};
  }
  return {pixels, source.failure()};
}

Outcome readByPieces(const Bytes& jpeg, Schedule isAhead) {
  std::string failure;
  const auto source = picture::openJpegRows(jpeg, failure);
  return source ? read(*source, std::move(isAhead)) : Outcome{{}, failure};
}

Outcome readAtOnce(const Bytes& jpeg) {
  std::string failure;
  const auto decoder = picture::JpegDecoder::open(jpeg, {}, failure);
  return decoder ? read(*decoder, never) : Outcome{{}, failure};
}

bool canReadAhead(const Bytes& jpeg) {
  std::string failure;
  return picture::openJpegRows(jpeg, failure)->canReadAhead();
}

void expectTheSame(const Bytes& jpeg, const std::string& what) {
  const Outcome expected = readAtOnce(jpeg);
  EXPECT_TRUE(readByPieces(jpeg, never) == expected) << what;
  EXPECT_TRUE(readByPieces(jpeg, always) == expected) << what;
  EXPECT_TRUE(readByPieces(jpeg, sometimes(1)) == expected) << what;
  EXPECT_TRUE(readByPieces(jpeg, sometimes(2)) == expected) << what;
}

// Wide enough that a piece is some rows of blocks only.
const Picture& wide() {
  static const Picture picture = photoPicture(1501, 347, 1);
  return picture;
}

constexpr std::pair<int, int> kSamplings[] = {{1, 1}, {2, 1}, {2, 2}, {1, 2}, {4, 1}, {4, 2}};

TEST(JpegRestarts, LetPiecesBeDecodedAheadWithTheSamePixels) {
  for (const auto& [across, down] : kSamplings) {
    for (const int rows : {1, 2, 3}) {
      const Bytes jpeg = encodeJpeg(wide(), {.lumaAcross = across, .lumaDown = down, .restartRows = rows});
      const std::string what = std::to_string(across) + std::to_string(down) + ", " + std::to_string(rows);
      EXPECT_TRUE(canReadAhead(jpeg)) << what;
      EXPECT_EQ(readAtOnce(jpeg).pixels, referenceDecode(jpeg).pixels) << what;
      expectTheSame(jpeg, what);
    }
  }
}

TEST(JpegRestarts, OfEverySoundStreamLetAllPiecesButTheFirstBeDecodedAhead) {
  for (const int down : {1, 2}) {
    const Bytes jpeg = encodeJpeg(wide(), {.lumaDown = down, .restartRows = 1});
    std::string failure;
    const auto source = picture::openJpegRows(jpeg, failure);
    int pieces = 1;
    const Outcome outcome = read(*source, [&] {
      pieces += source->canReadAhead() ? 1 : 0;
      return true;
    });
    EXPECT_EQ(outcome.failure, "");
    // 128 KB are 29 rows: four rows of blocks of 8 rows, or of 16 where colours are shared.
    EXPECT_EQ(pieces, down == 1 ? 11 : 6);
  }
}

// 94 blocks a row at 4:2:0: two intervals a row, three rows in four intervals, and others.
TEST(JpegRestarts, MayComeWithinRows) {
  for (const auto& [across, down] : kSamplings)
    for (const unsigned blocks : {1U, 2U, 47U, 141U, 188U, 7U, 40U, 65000U})
      expectTheSame(encodeJpeg(wide(), {.lumaAcross = across, .lumaDown = down, .restartBlocks = blocks}),
                    std::to_string(across) + std::to_string(down) + ", " + std::to_string(blocks));
  EXPECT_TRUE(canReadAhead(encodeJpeg(wide(), {.lumaDown = 2, .restartBlocks = 141})));
  EXPECT_FALSE(canReadAhead(encodeJpeg(wide(), {.lumaDown = 2, .restartBlocks = 65000})));
}

TEST(JpegRestarts, OfEverySizeAndKindOfStream) {
  for (const auto& [width, height] :
       {std::pair{1U, 1U}, {16U, 16U}, {1500U, 336U}, {1488U, 353U}, {31U, 4000U}}) {
    const Picture picture = photoPicture(width, height, 2);
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    for (const int down : {1, 2}) {
      const Bytes jpeg = encodeJpeg(picture, {.lumaDown = down, .restartRows = 1});
      expectTheSame(jpeg, size);
      expectTheSame(withoutHuffmanTables(jpeg), size + " without tables");
      expectTheSame(withHeightBehindTheScan(jpeg), size + " with a late height");
    }
    expectTheSame(encodeJpeg(picture, {.grey = true, .restartRows = 1}), size + " grey");
    expectTheSame(encodeJpeg(picture, {.progressive = true, .restartRows = 1}), size + " progressive");
    expectTheSame(encodeJpeg(picture, {.arithmetic = true, .restartRows = 1}), size + " arithmetic");
    for (const auto colors : {JpegColors::Rgb, JpegColors::Cmyk, JpegColors::Ycck})
      expectTheSame(encodeJpeg(picture, {.colors = colors, .restartRows = 1}), size + " colours");
  }
}

TEST(JpegRestarts, StreamsWithoutThemAreDecodedAtOnce) {
  EXPECT_FALSE(canReadAhead(encodeJpeg(wide())));
}

// Behind the prefix of each restart marker.
std::vector<std::size_t> markersOf(const Bytes& jpeg) {
  std::vector<std::size_t> markers;
  const std::size_t codes = picture::restartsOf(jpeg).value().headerBytes;
  for (std::size_t at = codes; at + 1 < jpeg.size(); ++at)
    if (jpeg[at] == 0xFF && jpeg[at + 1] >= 0xD0 && jpeg[at + 1] <= 0xD7) markers.push_back(at + 1);
  return markers;
}

TEST(JpegRestarts, ThatAreWrongOrMissingChangeNothingAboutWhatOneDecodingSays) {
  for (const int down : {1, 2}) {
    const Bytes jpeg = encodeJpeg(wide(), {.lumaDown = down, .restartRows = 1});
    const auto markers = markersOf(jpeg);
    ASSERT_GT(markers.size(), 20U);
    for (std::size_t i = 0; i < 10; ++i) {
      Bytes other = jpeg;
      other[markers[i]] = static_cast<std::uint8_t>(0xD0 + (other[markers[i]] + 3) % 8);
      EXPECT_TRUE(readByPieces(other, always) == readAtOnce(other)) << i;
      EXPECT_FALSE(readByPieces(other, always).failure.empty()) << i;
    }
    for (const std::size_t at : {markers[0], markers[9], markers.back()}) {
      const auto marker = jpeg.begin() + static_cast<std::ptrdiff_t>(at) - 1;
      Bytes missing(jpeg.begin(), marker);
      missing.insert(missing.end(), marker + 2, jpeg.end());
      expectTheSame(missing, "missing");
      EXPECT_FALSE(readByPieces(missing, always).failure.empty());
      Bytes twice = jpeg;
      twice.insert(twice.begin() + static_cast<std::ptrdiff_t>(at) + 1, marker, marker + 2);
      expectTheSame(twice, "twice");
      Bytes stray = jpeg;
      stray.insert(stray.begin() + static_cast<std::ptrdiff_t>(at) - 1, {0x12, 0x34, 0x56});
      expectTheSame(stray, "stray bytes before it");
      EXPECT_TRUE(readByPieces(stray, always) == readAtOnce(jpeg));
    }
    // Eight intervals that are missing leave the numbers in order.
    Bytes gap(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(markers[2]));
    gap.insert(gap.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(markers[10]), jpeg.end());
    expectTheSame(gap, "eight are missing");
    EXPECT_FALSE(readByPieces(gap, always).failure.empty());
  }
}

TEST(JpegRestarts, WhoseStatedDistanceIsNotTheirsChangeNothingEither) {
  const Bytes jpeg = encodeJpeg(wide(), {.restartRows = 1});
  const auto segments = picture::jpegHeaderSegments(jpeg).value();
  for (const auto& segment : segments) {
    if (segment.marker != 0xDD) continue;
    for (const unsigned interval : {0U, 1U, 47U, 93U, 95U, 188U, 65535U}) {
      Bytes lying = jpeg;
      lying[segment.offset + 4] = static_cast<std::uint8_t>(interval >> 8);
      lying[segment.offset + 5] = static_cast<std::uint8_t>(interval);
      expectTheSame(lying, std::to_string(interval));
    }
  }
}

TEST(JpegRestarts, DamagedCodesAreNoticedWhereverTheyAre) {
  const Bytes jpeg = encodeJpeg(wide(), {.lumaDown = 2, .restartRows = 1});
  const std::size_t codes = picture::restartsOf(jpeg).value().headerBytes;
  std::minstd_rand random(3);
  int failures = 0;
  for (int i = 0; i < 150; ++i) {
    Bytes damaged = jpeg;
    const std::size_t at = codes + random() % (jpeg.size() - codes - 400);
    const auto begin = damaged.begin() + static_cast<std::ptrdiff_t>(at);
    if (i % 3 == 0) damaged.erase(begin, begin + 1 + static_cast<std::ptrdiff_t>(random() % 300));
    if (i % 3 == 1) *begin = static_cast<std::uint8_t>(random());
    if (i % 3 == 2) damaged.erase(begin, damaged.end());
    const Outcome expected = readAtOnce(damaged);
    failures += expected.failure.empty() ? 0 : 1;
    ASSERT_TRUE(readByPieces(damaged, always) == expected) << i;
    ASSERT_TRUE(readByPieces(damaged, sometimes(static_cast<unsigned>(i))) == expected) << i;
  }
  EXPECT_GT(failures, 90);
}

TEST(JpegRestarts, KnownDamageIsFilledAsEver) {
  picture::Frame frame;
  frame.bytes = encodeJpeg(wide(), {.restartRows = 1});
  frame.bytes.resize(frame.bytes.size() / 2);
  frame.isDamaged = true;
  std::string failure;
  const auto decoder =
      picture::JpegDecoder::open(frame.bytes, {.damage = picture::JpegDecoder::Damage::Filled}, failure);
  EXPECT_TRUE(read(*picture::openPhotoRows(frame, false, failure), always) == read(*decoder, never));
}

TEST(JpegRestarts, AnyNumberOfThreadsWritesTheSamePixels) {
  const Picture picture = photoPicture(1501, 900, 4);
  for (const int down : {1, 2}) {
    const Bytes jpeg = encodeJpeg(picture, {.quality = 98, .lumaDown = down, .restartRows = 1});
    const Picture expected = mirrored(referenceDecode(jpeg));
    for (const unsigned threads : {1U, 2U, 3U, 4U, 8U}) {
      picture::Frame frame;
      frame.bytes = jpeg;
      std::string failure;
      const auto source = picture::openPhotoRows(frame, true, failure);
      MemorySink sink;
      ASSERT_EQ(picture::writePng(*source, {}, sink, {.threads = threads}), picture::PngResult::Written);
      EXPECT_TRUE(decodePng(sink.bytes) == expected) << threads;
    }
  }
}

TEST(JpegRestarts, AnyNumberOfThreadsNoticesDamage) {
  const Picture picture = photoPicture(1501, 900, 5);
  Bytes jpeg = encodeJpeg(picture, {.lumaDown = 2, .restartRows = 1});
  jpeg.erase(jpeg.end() - 4000, jpeg.end() - 3000);
  for (const unsigned threads : {1U, 2U, 4U}) {
    std::string failure;
    const auto source = picture::openJpegRows(jpeg, failure);
    MemorySink sink;
    EXPECT_EQ(picture::writePng(*source, {}, sink, {.threads = threads}), picture::PngResult::SourceFailed);
    EXPECT_EQ(source->failure(), readAtOnce(jpeg).failure);
  }
}

}  // namespace
}  // namespace camera_shot_test
