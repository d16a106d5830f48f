#pragma once

#include <cstdint>
#include <span>

#include "platform/linux/image/DeflateToken.h"

namespace platform_linux {

/// Divides `data` into literals and repetitions of one byte (matches at distance 1), the fast way: in
/// photographs there is next to nothing else to find. Replaces what is in `tokens`.
void parseRuns(std::span<const std::uint8_t> data, DeflateTokens& tokens);

/// The part of the bytes, 0 to 1, that equal the one before them, in runs or not; by a sample.
double estimateRepetitions(std::span<const std::uint8_t> data);

}  // namespace platform_linux
