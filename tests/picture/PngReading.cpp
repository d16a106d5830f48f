#include "tests/picture/PngReading.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <zlib.h>

#include <png.h>

#include "picture/png/PngWriter.h"

namespace camera_shot_test {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

std::uint32_t bigEndian(const std::uint8_t* at) {
  return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
         static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}

struct Reading {
  const Bytes& png;
  std::size_t at;
};

void readBytes(png_structp reader, png_bytep to, std::size_t count) {
  auto* reading = static_cast<Reading*>(png_get_io_ptr(reader));
  if (count > reading->png.size() - reading->at) png_error(reader, "ends early");
  std::memcpy(to, reading->png.data() + reading->at, count);
  reading->at += count;
}

void failOnWarning(png_structp reader, png_const_charp message) {
  png_error(reader, message);
}

// Kept apart from everything with a destructor, as libpng reports errors by a jump.
bool decodeInto(png_structp reader, png_infop info, Reading* reading, Picture* picture) {
  if (setjmp(png_jmpbuf(reader)) != 0) return false;
  png_set_read_fn(reader, reading, readBytes);
  png_read_info(reader, info);
  if (png_get_bit_depth(reader, info) != 8 || png_get_color_type(reader, info) != PNG_COLOR_TYPE_RGB)
    return false;
  picture->width = png_get_image_width(reader, info);
  picture->height = png_get_image_height(reader, info);
  const std::size_t rowBytes = std::size_t{picture->width} * 3;
  picture->pixels.resize(rowBytes * picture->height);
  for (std::uint32_t y = 0; y < picture->height; ++y) {
    png_read_row(reader, picture->pixels.data() + y * rowBytes, nullptr);
  }
  png_read_end(reader, nullptr);
  return reading->at == reading->png.size();
}

}  // namespace

std::optional<std::vector<PngChunk>> parsePng(const Bytes& png) {
  if (png.size() < kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), png.begin()))
    return {};
  std::vector<PngChunk> chunks;
  std::size_t at = kSignature.size();
  while (at < png.size()) {
    if (png.size() - at < 12) return {};
    const std::size_t length = bigEndian(png.data() + at);
    if (length > 0x7FFFFFFF || length > png.size() - at - 12) return {};
    const std::uint8_t* name = png.data() + at + 4;
    const auto checksum = crc32(0, name, static_cast<uInt>(length + 4));
    if (checksum != bigEndian(name + 4 + length)) return {};
    chunks.push_back({std::string(name, name + 4), Bytes(name + 4, name + 4 + length)});
    at += length + 12;
    if (chunks.back().name == "IEND" && at != png.size()) return {};
  }
  if (chunks.empty() || chunks.back().name != "IEND") return {};
  return chunks;
}

Picture decodePng(const Bytes& png) {
  Reading reading{png, 0};
  Picture picture;
  png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, failOnWarning);
  png_infop info = png_create_info_struct(reader);
  const bool decoded = decodeInto(reader, info, &reading, &picture);
  png_destroy_read_struct(&reader, &info, nullptr);
  return decoded ? picture : Picture{};
}

Bytes encodePng(picture::RowSource& source, unsigned threads) {
  MemorySink sink;
  const auto result = picture::writePng(source, {}, sink, {.threads = threads});
  return result == picture::PngResult::Written ? sink.bytes : Bytes{};
}

Bytes encodePng(const Picture& picture, unsigned threads) {
  PictureSource source(picture);
  return encodePng(source, threads);
}

}  // namespace camera_shot_test
