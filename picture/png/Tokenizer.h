#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "picture/png/DeflateToken.h"

namespace picture {

/// Puts runs, matches and the literals between them in order. One thread at a time.
class Tokenizer {
 public:
  /// Makes room for up to `bytes` bytes; nothing is allocated later. Throws std::bad_alloc.
  explicit Tokenizer(std::size_t bytes);

  /// Divides `bytes` bytes. `runs`, one bit a byte as StripScan has them, and `matches`, in order, share no
  /// byte. The answer is good until the next call.
  [[nodiscard]] std::span<const DeflateToken> divide(std::size_t bytes, std::span<const std::uint64_t> runs,
                                                     std::span<const Match> matches) noexcept;

 private:
  [[nodiscard]] const std::uint32_t* findBounds(std::size_t bytes,
                                                std::span<const std::uint64_t> runs) noexcept;

  // Not initialised, so that what is not needed never becomes resident.
  std::unique_ptr<std::uint64_t[]> edges_;  // a bit for each bound
  std::unique_ptr<std::uint32_t[]> bounds_;
  std::unique_ptr<DeflateToken[]> tokens_;
};

}  // namespace picture
