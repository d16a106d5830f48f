#include "picture/png/StripCoder.h"

#include <algorithm>

#include "picture/png/RunParser.h"

namespace picture {
namespace {

constexpr std::size_t kStoredBlockMaximum = 65535;  // RFC 1951, 3.2.4
constexpr std::size_t kStoredBlockOverhead = 5;     // aligned: block type, length, its complement

// In codes that were planned by a sample: at worst a match of three bytes takes less than six (its codes of
// 14 and 15 bits and 18 extra bits at most), a literal less than two. And a block's table of code lengths.
constexpr std::size_t kMostCodedPerByte = 2;
constexpr std::size_t kMostHeaderBytes = 1024;

// What BitWriter may touch behind the last byte, and the empty block that aligns the end.
constexpr std::size_t kWriterSlack = 32;

// When runs alone leave much to gain, told by what costs next to nothing. A search takes five to ten times as
// long as all the rest, and pays where each pixel's three channels agree: then at least two bytes of three
// repeat the one before them, and each change comes to three literals, 10 bits and more. Smooth strips of
// coloured photographs have 5 to 9 bits a change; there the same search took 3 to 15 % off.
constexpr double kSearchFromBitsPerChange = 10;
constexpr double kSearchFromRepetitions = 0.65;

// Drawings: strips that code to less than a bit a byte and have more bits a change than photographs, and
// those where nearly everything repeats something.
constexpr double kDrawnFromBitsPerChange = 9;
constexpr double kDrawnBelowBitsPerByte = 0.9;
constexpr double kRepeatingBelowBitsPerByte = 0.3;

enum class Content { Photo, GreyPhoto, Drawing };

Content contentOf(double bitsPerByte, double repetitions) {
  if (bitsPerByte < kRepeatingBelowBitsPerByte) return Content::Drawing;
  if (repetitions < kSearchFromRepetitions) return Content::Photo;
  const double bitsPerChange = bitsPerByte / (1 - repetitions);
  if (bitsPerByte < kDrawnBelowBitsPerByte && bitsPerChange >= kDrawnFromBitsPerChange)
    return Content::Drawing;
  return bitsPerChange >= kSearchFromBitsPerChange ? Content::GreyPhoto : Content::Photo;
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

StripCoder::StripCoder(std::size_t stripBytes) : runParser_(stripBytes) {
  // No token but the last is shorter than the shortest match.
  tokens_.reserve(stripBytes / kShortestMatch + 1);
  matchTokens_.reserve(stripBytes / kShortestMatch + 1);
}

std::size_t StripCoder::codedBound(std::size_t stripBytes) noexcept {
  return std::max(storedBytes(stripBytes), kMostCodedPerByte * stripBytes) + kMostHeaderBytes + kWriterSlack;
}

std::optional<std::size_t> StripCoder::code(std::span<const std::uint8_t> strip,
                                            std::span<std::uint8_t> out) noexcept {
  runParser_.parse(strip, tokens_);
  block_.plan(strip, tokens_);
  const DeflateBlock* block = &block_;
  const DeflateTokens* tokens = &tokens_;
  const double bitsPerByte = static_cast<double>(block_.bits()) / static_cast<double>(strip.size());
  const Content content = contentOf(bitsPerByte, estimateRepetitions(strip));
  if (content == Content::Drawing) return std::nullopt;
  if (content == Content::GreyPhoto) {
    matchParser_.parse(strip, matchTokens_);
    matchBlock_.plan(strip, matchTokens_);
    if (matchBlock_.bits() < block_.bits()) {
      block = &matchBlock_;
      tokens = &matchTokens_;
    }
  }
  if (block->bits() / 8 + kStoredBlockOverhead < storedBytes(strip.size())) {
    BitWriter writer(out.data());
    block->write(strip, *tokens, writer);
    putStoredBlock({}, writer);
    const auto size = static_cast<std::size_t>(writer.position() - out.data());
    if (size <= storedBytes(strip.size())) return size;  // else the sample said too little
  }
  BitWriter writer(out.data());
  putStored(strip, writer);
  return static_cast<std::size_t>(writer.position() - out.data());
}

}  // namespace picture
