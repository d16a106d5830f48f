#pragma once

#include <cstdint>
#include <span>

#include "platform/linux/image/DeflateToken.h"

namespace platform_linux {

/// Divides `data` into literals and repetitions of one byte (matches at distance 1), the fast way: in
/// photographs there is next to nothing else to find. Replaces what is in `tokens`. Answers how many bytes
/// equal the one before them, in runs or not.
std::size_t parseRuns(std::span<const std::uint8_t> data, DeflateTokens& tokens);

}  // namespace platform_linux
