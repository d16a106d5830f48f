#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "picture/png/DeflateToken.h"
#include "picture/png/MatchFinder.h"
#include "picture/png/StripScan.h"

namespace camera_shot_test {

/// The runs of `data`, and what a search adds, as tokens; the bits of what they take are left in `scan`.
[[nodiscard]] picture::DeflateTokens tokensOf(std::span<const std::uint8_t> data, picture::StripScan& scan,
                                              std::optional<picture::MatchFinder::Search> search = {});

}  // namespace camera_shot_test
