#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "picture/png/DeflateToken.h"

namespace picture {

/// Finds earlier places that repeat, in filtered photographs whose pixels changed by the same amount in all
/// three channels: grey ones, and all those that came as JPEG with colours that change slowly. There, and
/// hardly anywhere else, whole pixels repeat, so it begins to look only where two such pixels stand side by
/// side. Matches stay within the bytes given, so that pieces can be coded independently. One thread at a
/// time.
class MatchFinder {
 public:
  /// What to look for.
  struct Search {
    /// Long matches are 16 bytes and more; short ones 6 and more, which pays where literals take many bits.
    enum class Lengths { Long, Short, All };
    Lengths lengths;
    /// What a byte that differs from the one before takes without matches, in bits, together with all that
    /// follow it up to the next one: a match has to take less.
    unsigned changeBits;
  };

  /// Makes room for up to `bytes` bytes; nothing is allocated later. Throws std::bad_alloc.
  explicit MatchFinder(std::size_t bytes);

  /// Finds matches that take less than what is in their place. `repetitions` are those of `data`, as
  /// StripScan has them. The answer is good until the next call.
  [[nodiscard]] std::span<const Match> find(std::span<const std::uint8_t> data,
                                            std::span<const std::uint64_t> repetitions,
                                            Search search) noexcept;
  /// The same by instructions that every processor has; the other one uses faster ones where they exist.
  [[nodiscard]] std::span<const Match> findPortably(std::span<const std::uint8_t> data,
                                                    std::span<const std::uint64_t> repetitions,
                                                    Search search) noexcept;

 private:
  // So many are looked at before any is chosen: few enough to stay in the processor's nearest cache.
  static constexpr std::size_t kPlacesAtOnce = 1024;

  [[nodiscard]] std::span<const std::uint32_t> findPlaces(
      std::size_t bytes, std::span<const std::uint64_t> repetitions) noexcept;
  template <typename Processor>
  [[nodiscard]] std::span<const Match> findOn(std::span<const std::uint8_t> data,
                                              std::span<const std::uint64_t> repetitions,
                                              Search search) noexcept;
  [[nodiscard]] std::span<const Match> findByAvx2(std::span<const std::uint8_t> data,
                                                  std::span<const std::uint64_t> repetitions,
                                                  Search search) noexcept;

  // Not initialised, so that what is not needed never becomes resident.
  std::unique_ptr<std::uint64_t[]> placeBits_;
  std::unique_ptr<std::uint32_t[]> places_;
  std::array<Match, kPlacesAtOnce> candidates_{};
  std::unique_ptr<Match[]> matches_;
  // By hash, the newest place; 0 for none.
  std::vector<std::uint32_t> long_;
  std::vector<std::uint32_t> short_;
};

}  // namespace picture
