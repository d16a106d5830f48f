#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "picture/png/BitWriter.h"
#include "picture/png/DeflateToken.h"
#include "picture/png/DeflateTokenWriter.h"

namespace picture {

/// One deflate block with Huffman codes of its own (RFC 1951, 3.2.7): the codes are planned from the tokens
/// first, so that sizes can be compared before anything is written.
class DeflateBlock {
 public:
  /// Chooses the codes for `data` as divided by `tokens`; `matched` has a bit set for each byte within a
  /// match.
  void plan(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
            std::span<const std::uint64_t> matched) noexcept;
  /// The block's size in bits; an estimate where there are many literals, as their frequencies are.
  [[nodiscard]] std::uint64_t bits() const noexcept { return bits_; }
  /// Writes the planned block, as one that is not the last. Same arguments as `plan` got.
  void write(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
             BitWriter& out) const noexcept;

 private:
  static constexpr std::size_t kLengthCodeSymbols = 19;

  // One symbol of the run-length coded table of code lengths, with its extra bits.
  struct HeaderSymbol {
    std::uint8_t symbol;
    std::uint8_t extra;
    std::uint8_t extraBits;
  };
  void countSymbols(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                    std::span<const std::uint64_t> matched) noexcept;
  void planHeader() noexcept;
  void appendLengthRun(std::uint8_t length, std::size_t count) noexcept;
  void writeHeader(BitWriter& out) const noexcept;
  [[nodiscard]] std::uint64_t bodyBits() const noexcept;

  std::array<std::uint32_t, kLiteralSymbols> literalFrequencies_{};
  std::array<std::uint32_t, kDistanceSymbols> distanceFrequencies_{};
  std::array<std::uint32_t, kLengthCodeSymbols> headerFrequencies_{};
  LiteralCodeLengths literalLengths_{};
  DistanceCodeLengths distanceLengths_{};
  std::array<std::uint8_t, kLengthCodeSymbols> headerLengths_{};
  std::array<HeaderSymbol, kLiteralSymbols + kDistanceSymbols> headerSymbols_{};
  std::size_t headerSymbolCount_ = 0;
  std::size_t literalCodeCount_ = 0;
  std::size_t distanceCodeCount_ = 0;
  std::size_t headerCodeCount_ = 0;
  std::uint64_t bits_ = 0;
};

}  // namespace picture
