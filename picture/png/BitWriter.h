#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace picture {

/// Some bits that go into the stream together. They end at the word's most significant bit, so that to append
/// others is to shift and to set: nothing has to be cut out, and what lies below them does not matter as long
/// as it stays within the lowest byte.
struct BitGroup {
  std::uint64_t bits;
  unsigned count;

  /// Of the `count` lowest bits, 56 at most; the others are zero.
  [[nodiscard]] static constexpr BitGroup of(std::uint64_t bits, unsigned count) noexcept {
    return {bits << 1 << (63 - count), count};
  }
};

/// The bits of `first`, then those of `second`.
[[gnu::always_inline]] inline BitGroup join(BitGroup first, BitGroup second) noexcept {
  return {second.bits | first.bits >> (second.count & 63), first.count + second.count};
}

/// Writes deflate's bit stream: least significant bit first. Bits are gathered in a word and stored eight
/// bytes at a time, so the buffer must reach seven bytes further than what is written. After a `flush`,
/// kMostBits can be put before the next one.
class BitWriter {
  static_assert(std::endian::native == std::endian::little, "words are stored as they lie in memory");

 public:
  /// One less than what seven pending bits leave of a word, as a word cannot be shifted by its own width.
  static constexpr unsigned kMostBits = 56;

  explicit BitWriter(std::uint8_t* to) noexcept : to_(to) {}

  void put(BitGroup group) noexcept {
    pending_ = join(pending_, {group.bits & ~std::uint64_t{0xFF}, group.count});
  }
  void put(std::uint64_t bits, unsigned count) noexcept { put(BitGroup::of(bits, count)); }

  /// Stores the pending whole bytes; seven bits at most stay pending.
  void flush() noexcept {
    const std::uint64_t word = pending_.bits >> (-pending_.count & 63);
    std::memcpy(to_, &word, sizeof word);
    to_ += pending_.count / 8;
    pending_.count &= 7U;
  }

  /// Zero bits up to the next whole byte.
  void alignToByte() noexcept {
    flush();
    put(0, -pending_.count & 7U);
    flush();
  }

  /// Only when aligned.
  void putBytes(const std::uint8_t* from, std::size_t count) noexcept { to_ = std::copy_n(from, count, to_); }

  /// Behind the last stored byte.
  [[nodiscard]] std::uint8_t* position() const noexcept { return to_; }

  /// What is not stored yet, after a `flush`: the lowest bits so many, seven at most.
  [[nodiscard]] std::uint64_t pendingBits() const noexcept {
    return pending_.bits >> 1 >> (63 - pending_.count);
  }
  [[nodiscard]] unsigned pendingCount() const noexcept { return pending_.count; }

 private:
  std::uint8_t* to_;
  BitGroup pending_{0, 0};
};

}  // namespace picture
