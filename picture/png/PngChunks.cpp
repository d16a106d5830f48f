#include "picture/png/PngChunks.h"

#include <algorithm>
#include <array>
#include <ctime>

#include <libdeflate.h>

#include "picture/ExifBlock.h"

namespace picture {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::uint8_t kBitsPerChannel = 8;
constexpr std::uint8_t kTruecolour = 2;
constexpr std::uint8_t kPerceptualIntent = 0;

// The beginning of a zlib stream (RFC 1950, 2.2): deflate, 32 KB window, fastest level.
constexpr std::array<std::uint8_t, 2> kZlibBeginning = {0x78, 0x01};

// The only block of a deflate stream's end: last, of the fixed codes, empty.
constexpr std::array<std::uint8_t, 2> kEmptyLastBlock = {0x03, 0x00};

void storeBigEndian(std::uint32_t value, std::uint8_t* to) {
  for (int shift = 24; shift >= 0; shift -= 8)
    *to++ = static_cast<std::uint8_t>(value >> shift);
}

void appendBigEndian(std::uint32_t value, Bytes& out) {
  out.resize(out.size() + 4);
  storeBigEndian(value, out.data() + out.size() - 4);
}

void appendChunk(std::string_view name, const Bytes& data, Bytes& out) {
  const std::size_t at = out.size();
  out.resize(at + kPngChunkHeadBytes);
  out.insert(out.end(), data.begin(), data.end());
  out.resize(out.size() + kPngChunkTailBytes);
  finishPngChunk(name, std::span(out).subspan(at));
}

Bytes headerData(std::uint32_t width, std::uint32_t height) {
  Bytes data;
  appendBigEndian(width, data);
  appendBigEndian(height, data);
  data.insert(data.end(),
              {kBitsPerChannel, kTruecolour, 0, 0, 0});  // deflate, the five filters, not interlaced
  return data;
}

Bytes timeData(std::chrono::system_clock::time_point when) {
  const std::time_t seconds =
      std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(when));
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  const int year = utc.tm_year + 1900;
  Bytes data;
  for (const int field :
       {year >> 8, year, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec}) {
    data.push_back(static_cast<std::uint8_t>(field));
  }
  return data;
}

}  // namespace

void finishPngChunk(std::string_view name, std::span<std::uint8_t> chunk) noexcept {
  const std::size_t dataBytes = chunk.size() - kPngChunkHeadBytes - kPngChunkTailBytes;
  storeBigEndian(static_cast<std::uint32_t>(dataBytes), chunk.data());
  std::copy(name.begin(), name.end(), chunk.begin() + 4);
  const std::uint32_t checksum = libdeflate_crc32(0, chunk.data() + 4, dataBytes + 4);
  storeBigEndian(checksum, chunk.data() + kPngChunkHeadBytes + dataBytes);
}

Bytes pngBeginning(std::uint32_t width, std::uint32_t height, const PngMetadata& metadata) {
  Bytes out(kSignature.begin(), kSignature.end());
  appendChunk("IHDR", headerData(width, height), out);
  appendChunk("sRGB", {kPerceptualIntent}, out);
  if (metadata.captureTime) {
    appendChunk("tIME", timeData(*metadata.captureTime), out);
    appendChunk("eXIf", ExifBlock{.orientation = {}, .captureTime = metadata.captureTime}.bytes(), out);
  }
  appendChunk("IDAT", Bytes(kZlibBeginning.begin(), kZlibBeginning.end()), out);
  return out;
}

Bytes pngEnd(std::uint32_t adler) {
  Bytes data(kEmptyLastBlock.begin(), kEmptyLastBlock.end());
  appendBigEndian(adler, data);
  Bytes out;
  appendChunk("IDAT", data, out);
  appendChunk("IEND", {}, out);
  return out;
}

std::uint32_t combineAdler(std::uint32_t first, std::uint32_t second, std::size_t secondBytes) noexcept {
  // The low half is one plus the sum of all bytes; the high half is the sum of all values that the low half
  // took.
  constexpr std::uint64_t kModulus = 65521;  // RFC 1950, 8.2
  const std::uint64_t firstSum = first & 0xFFFF;
  const std::uint64_t sum = firstSum + (second & 0xFFFF) + kModulus - 1;
  const std::uint64_t carried = (firstSum + kModulus - 1) % kModulus * (secondBytes % kModulus);
  const std::uint64_t sumOfSums = (first >> 16) + (second >> 16) + carried;
  return static_cast<std::uint32_t>(sum % kModulus | sumOfSums % kModulus << 16);
}

}  // namespace picture
