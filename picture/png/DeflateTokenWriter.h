#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "picture/png/BitWriter.h"
#include "picture/png/DeflateSymbols.h"
#include "picture/png/DeflateToken.h"

namespace picture {

/// Four literals of at most this length, and the seven bits that may be pending, fit into one 64-bit word.
inline constexpr unsigned kLongestLiteralCode = 14;
inline constexpr unsigned kLongestDistanceCode = 15;  // RFC 1951, 3.2.7

/// Code lengths by symbol; 0 for those that do not occur.
using LiteralCodeLengths = std::array<std::uint8_t, kLiteralSymbols>;
using DistanceCodeLengths = std::array<std::uint8_t, kDistanceSymbols>;

using TokenWriter = void(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                         const LiteralCodeLengths& literalLengths, const DistanceCodeLengths& distanceLengths,
                         BitWriter& out) noexcept;

/// Writes `data`, divided by `tokens`, in the codes of these lengths, and the end of the block. The bytes are
/// the same on every processor.
TokenWriter writeTokens;

/// Ways to do it that this processor has, which all write the same bytes; the fastest one, which
/// `writeTokens` takes, is the last.
[[nodiscard]] std::span<TokenWriter* const> tokenWriters() noexcept;

}  // namespace picture
