#include <algorithm>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spng.h>

#include "picture/ExifBlock.h"
#include "picture/png/PngWriter.h"
#include "tests/picture/Command.h"
#include "tests/picture/PngReading.h"

namespace camera_shot_test {
namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::HasSubstr;

// 2023-11-14 22:13:20.250 UTC.
const std::chrono::system_clock::time_point kEvening{1'700'000'000'250ms};

Bytes encodeDated(const Picture& picture) {
  PictureSource source(picture);
  MemorySink sink;
  EXPECT_EQ(picture::writePng(source, {.captureTime = kEvening}, sink), picture::PngResult::Written);
  return sink.bytes;
}

std::vector<Picture> samplePictures() {
  return {photoPicture(640, 480, 1), noisePicture(333, 222, 2), greyPicture(640, 480, 3),
          drawnPicture(801, 599, 4), gradientPicture(640, 480), flatPicture(1921, 1081, 0x336699),
          photoPicture(1, 1, 5)};
}

Picture decodeBySpng(const Bytes& png) {
  const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> reader(spng_ctx_new(0), &spng_ctx_free);
  spng_set_crc_action(reader.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR);
  spng_set_png_buffer(reader.get(), png.data(), png.size());
  spng_ihdr header{};
  std::size_t size = 0;
  if (spng_get_ihdr(reader.get(), &header) != 0) return {};
  if (spng_decoded_image_size(reader.get(), SPNG_FMT_RGB8, &size) != 0) return {};
  Picture picture{header.width, header.height, Bytes(size)};
  const int result = spng_decode_image(reader.get(), picture.pixels.data(), size, SPNG_FMT_RGB8, 0);
  return result == 0 ? picture : Picture{};
}

Picture decodeByGdkPixbuf(const TemporaryFile& file) {
  const std::unique_ptr<GdkPixbuf, decltype(&g_object_unref)> pixbuf(
      gdk_pixbuf_new_from_file(file.path().c_str(), nullptr), &g_object_unref);  // transfer full
  if (!pixbuf || gdk_pixbuf_get_n_channels(pixbuf.get()) != 3) return {};
  Picture picture{static_cast<std::uint32_t>(gdk_pixbuf_get_width(pixbuf.get())),
                  static_cast<std::uint32_t>(gdk_pixbuf_get_height(pixbuf.get())),
                  {}};
  const guint8* row = gdk_pixbuf_read_pixels(pixbuf.get());
  for (std::uint32_t y = 0; y < picture.height; ++y, row += gdk_pixbuf_get_rowstride(pixbuf.get())) {
    picture.pixels.insert(picture.pixels.end(), row, row + std::size_t{3} * picture.width);
  }
  return picture;
}

TEST(PngFile, HasItsChunksInOrder) {
  const auto chunks = parsePng(encodeDated(photoPicture(640, 480, 1))).value();
  std::vector<std::string> names(chunks.size());
  std::transform(chunks.begin(), chunks.end(), names.begin(),
                 [](const PngChunk& chunk) { return chunk.name; });
  ASSERT_GE(names.size(), 7U);
  EXPECT_THAT(std::vector(names.begin(), names.begin() + 4),
              testing::ElementsAre("IHDR", "sRGB", "tIME", "eXIf"));
  EXPECT_THAT(std::vector(names.begin() + 4, names.end() - 1), Each(std::string("IDAT")));
  EXPECT_EQ(names.back(), "IEND");
  EXPECT_EQ(chunks[0].data, (Bytes{0, 0, 2, 128, 0, 0, 1, 224, 8, 2, 0, 0, 0}));
  EXPECT_EQ(chunks[1].data, Bytes{0});
  EXPECT_EQ(chunks[2].data, (Bytes{0x07, 0xE7, 11, 14, 22, 13, 20}));
  EXPECT_EQ(picture::ExifBlock::parse(chunks[3].data)->captureTime, kEvening);
}

TEST(PngFile, SaysNothingOfATimeThatIsNotKnown) {
  const auto chunks = parsePng(encodePng(photoPicture(64, 48, 1), 1)).value();
  for (const PngChunk& chunk : chunks) {
    EXPECT_NE(chunk.name, "tIME");
    EXPECT_NE(chunk.name, "eXIf");
  }
}

TEST(PngFile, PassesPngcheck) {
  for (const Picture& picture : samplePictures()) {
    const TemporaryFile file(".png", encodeDated(picture));
    const CommandResult result = run("pngcheck -v '" + file.path().string() + "' 2>&1");
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("No errors detected"));
  }
}

TEST(PngFile, IsDecodedAlikeByOtherDecoders) {
  for (const Picture& picture : samplePictures()) {
    const Bytes png = encodeDated(picture);
    EXPECT_TRUE(decodePng(png) == picture) << "libpng";
    EXPECT_TRUE(decodeBySpng(png) == picture) << "libspng";
    const TemporaryFile file(".png", png);
    EXPECT_TRUE(decodeByGdkPixbuf(file) == picture) << "gdk-pixbuf";
    const CommandResult raw =
        run("ffmpeg -v error -xerror -i '" + file.path().string() + "' -f rawvideo -pix_fmt rgb24 -");
    ASSERT_EQ(raw.status, 0) << "ffmpeg";
    EXPECT_TRUE(Bytes(raw.output.begin(), raw.output.end()) == picture.pixels) << "ffmpeg";
  }
}

}  // namespace
}  // namespace camera_shot_test
