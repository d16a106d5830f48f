#include "platform/linux/image/StripCoder.h"

#include <algorithm>
#include <optional>

#include "platform/linux/image/RunParser.h"

namespace platform_linux {
namespace {

constexpr std::size_t kStoredBlockMaximum = 65535;  // RFC 1951, 3.2.4
constexpr std::size_t kStoredBlockOverhead = 5;     // aligned: block type, length, its complement

// What BitWriter may touch behind the last byte, and the empty block that aligns the end.
constexpr std::size_t kWriterSlack = 32;

// When runs alone leave much to gain, told by what cost next to nothing to count. Photographs were between 5
// and 7.5 bits for each byte that differs from the one before it; those above, which are grey ones and such
// as have no noise at all, got smaller by an eighth and more. Below half a bit a byte nearly everything
// repeats something.
constexpr double kSearchFromBitsPerChange = 8;
constexpr double kDrawnBelowBitsPerByte = 0.9;

std::optional<MatchSearch> searchFor(std::uint64_t bits, std::size_t bytes, std::size_t repeated) {
  const auto cost = static_cast<double>(bits);
  if (cost < kDrawnBelowBitsPerByte * static_cast<double>(bytes)) return MatchSearch::kThorough;
  if (cost >= kSearchFromBitsPerChange * static_cast<double>(bytes - repeated) && repeated > bytes / 2) {
    return MatchSearch::kLong;
  }
  return std::nullopt;
}

constexpr std::size_t storedBytes(std::size_t bytes) {
  const std::size_t blocks = (bytes + kStoredBlockMaximum - 1) / kStoredBlockMaximum;
  return bytes + blocks * kStoredBlockOverhead;
}

void putStoredBlock(std::span<const std::uint8_t> data, BitWriter& out) {
  out.put(0, 3);  // not the last block, stored
  out.alignToByte();
  const std::size_t size = data.size();
  out.put(size | (size ^ 0xFFFF) << 16, 32);
  out.flush();
  out.putBytes(data.data(), size);
}

void putStored(std::span<const std::uint8_t> data, BitWriter& out) {
  while (!data.empty()) {
    const std::size_t size = std::min(data.size(), kStoredBlockMaximum);
    putStoredBlock(data.first(size), out);
    data = data.subspan(size);
  }
}

}  // namespace

StripCoder::StripCoder(std::size_t stripBytes) {
  // No token but the last is shorter than the shortest match.
  tokens_.reserve(stripBytes / kShortestMatch + 1);
  matchTokens_.reserve(stripBytes / kShortestMatch + 1);
}

std::size_t StripCoder::codedBound(std::size_t stripBytes) noexcept {
  return storedBytes(stripBytes) + kWriterSlack;
}

std::size_t StripCoder::code(std::span<const std::uint8_t> strip, std::span<std::uint8_t> out) noexcept {
  const std::size_t repeated = parseRuns(strip, tokens_);
  block_.plan(strip, tokens_);
  const DeflateBlock* block = &block_;
  const DeflateTokens* tokens = &tokens_;
  if (const auto search = searchFor(block_.bits(), strip.size(), repeated)) {
    matchParser_.parse(strip, *search, matchTokens_);
    matchBlock_.plan(strip, matchTokens_);
    if (matchBlock_.bits() < block_.bits()) {
      block = &matchBlock_;
      tokens = &matchTokens_;
    }
  }
  BitWriter writer(out.data());
  if (block->bits() / 8 + kStoredBlockOverhead < storedBytes(strip.size())) {
    block->write(strip, *tokens, writer);
    putStoredBlock({}, writer);
  } else {
    putStored(strip, writer);
  }
  return static_cast<std::size_t>(writer.position() - out.data());
}

}  // namespace platform_linux
