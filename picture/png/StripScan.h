#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "picture/png/DeflateToken.h"

namespace picture {

/// What the bytes of a strip repeat of the byte before them: one bit a byte, so many in a word, the first
/// byte's least significant. One thread at a time.
class StripScan {
 public:
  /// Makes room for up to `bytes` bytes; nothing is allocated later. Throws std::bad_alloc.
  explicit StripScan(std::size_t bytes);

  void scan(std::span<const std::uint8_t> data) noexcept;

  /// Bytes that equal the one before them. Followed by two words of zeros.
  [[nodiscard]] std::span<const std::uint64_t> repetitions() const noexcept {
    return {repetitions_.data(), words_};
  }
  /// Those of them that are in runs long enough to be matches, as far as no other match covers them.
  [[nodiscard]] std::span<const std::uint64_t> runs() const noexcept { return {runs_.data(), words_}; }

  /// Takes what `matches` cover out of the runs. Once after each scan, and before `matched`.
  void cover(std::span<const Match> matches) noexcept;
  /// Bytes of runs, and those that are covered.
  [[nodiscard]] std::span<const std::uint64_t> matched() const noexcept { return {matched_.data(), words_}; }

 private:
  std::vector<std::uint64_t> repetitions_;
  std::vector<std::uint64_t> runs_;
  std::vector<std::uint64_t> matched_;
  std::size_t words_ = 0;
};

/// What a sample of a strip's bytes is like.
struct StripSample {
  double repetitions = 0;  ///< the part of the bytes, 0 to 1, that equal the one before them
  double placesPerChange =
      0;                  ///< of the other bytes the part that begins two pixels of three equal bytes each
  double meanChange = 0;  ///< the other bytes' mean distance from zero
};
[[nodiscard]] StripSample sampleStrip(std::span<const std::uint8_t> data) noexcept;

}  // namespace picture
