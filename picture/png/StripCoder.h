#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "picture/png/DeflateBlock.h"
#include "picture/png/MatchFinder.h"
#include "picture/png/StripScan.h"
#include "picture/png/Tokenizer.h"

namespace picture {

/// Codes filtered rows as deflate blocks that begin and end at a whole byte, refer to nothing before them and
/// are not the last, so that strips can be coded on any thread and joined in order. One thread at a time.
class StripCoder {
 public:
  /// Makes room for strips of up to `stripBytes` bytes; nothing is allocated later. Throws std::bad_alloc.
  explicit StripCoder(std::size_t stripBytes);

  /// The room that `code` needs for `stripBytes` bytes in the worst case.
  [[nodiscard]] static std::size_t codedBound(std::size_t stripBytes) noexcept;

  /// Codes `strip` into `out`, which has codedBound(strip.size()) bytes; answers the bytes used. Nothing when
  /// it is drawn or flat: then there is more to find than within one strip.
  [[nodiscard]] std::optional<std::size_t> code(std::span<const std::uint8_t> strip,
                                                std::span<std::uint8_t> out) noexcept;

 private:
  StripScan scan_;
  MatchFinder matchFinder_;
  Tokenizer tokenizer_;
  DeflateBlock block_;
};

}  // namespace picture
