#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace picture {

/// Writes deflate's bit stream: least significant bit first. Bits are gathered in a word and stored eight
/// bytes at a time, so the buffer must reach seven bytes further than what is written. After a `flush`,
/// kMostBits can be put before the next one.
class BitWriter {
  static_assert(std::endian::native == std::endian::little, "words are stored as they lie in memory");

 public:
  /// One less than what seven pending bits leave of a word, as a word cannot be shifted by its own width.
  static constexpr unsigned kMostBits = 56;

  explicit BitWriter(std::uint8_t* to) noexcept : to_(to) {}

  void put(std::uint64_t bits, unsigned count) noexcept {
    pending_ |= bits << pendingCount_;
    pendingCount_ += count;
  }

  /// Stores the pending whole bytes; seven bits at most stay pending.
  void flush() noexcept {
    std::memcpy(to_, &pending_, sizeof pending_);
    to_ += pendingCount_ / 8;
    pending_ >>= pendingCount_ & ~7U;
    pendingCount_ &= 7U;
  }

  /// Zero bits up to the next whole byte.
  void alignToByte() noexcept {
    flush();
    pendingCount_ = (pendingCount_ + 7) & ~7U;
    flush();
  }

  /// Only when aligned.
  void putBytes(const std::uint8_t* from, std::size_t count) noexcept { to_ = std::copy_n(from, count, to_); }

  /// Behind the last stored byte.
  [[nodiscard]] std::uint8_t* position() const noexcept { return to_; }

 private:
  std::uint8_t* to_;
  std::uint64_t pending_ = 0;
  unsigned pendingCount_ = 0;
};

}  // namespace picture
