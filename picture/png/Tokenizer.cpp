#include "picture/png/Tokenizer.h"

#include <algorithm>

#include "picture/png/BitPositions.h"
#include "picture/png/RepetitionBits.h"

namespace picture {
namespace {

// What matches leave of a run is worth a token of its own from so many bytes on.
constexpr std::uint32_t kShortestRest = 4;

}  // namespace

// Where runs begin and end, in turn; then one more of each.
Tokenizer::Tokenizer(std::size_t bytes)
    : edges_(std::make_unique_for_overwrite<std::uint64_t[]>(bytes / kRepetitionWindow + 1)),
      bounds_(std::make_unique_for_overwrite<std::uint32_t[]>(bytes / 3 + kPositionsSlack + 4)),
      tokens_(std::make_unique_for_overwrite<DeflateToken[]>(bytes / kShortestMatch + 2)) {}

const std::uint32_t* Tokenizer::findBounds(std::size_t bytes, std::span<const std::uint64_t> runs) noexcept {
  std::uint64_t before = 0;
  for (std::size_t word = 0; word < runs.size(); ++word) {
    const std::uint64_t here = runs[word];
    edges_[word] = here ^ shiftedUp(here, before, 1);
    before = here;
  }
  std::uint32_t* end = listPositions({edges_.get(), runs.size()}, bounds_.get());
  const bool lastIsOpen = (end - bounds_.get()) % 2 != 0;
  if (lastIsOpen) *end++ = static_cast<std::uint32_t>(bytes);
  std::fill_n(end, 2, static_cast<std::uint32_t>(bytes));
  return bounds_.get();
}

std::span<const DeflateToken> Tokenizer::divide(std::size_t bytes, std::span<const std::uint64_t> runs,
                                                std::span<const Match> matches) noexcept {
  const std::uint32_t* bound = findBounds(bytes, runs);
  const std::uint32_t size = static_cast<std::uint32_t>(bytes);
  const Match* match = matches.data();
  const Match* const lastMatch = match + matches.size();
  const Match none{size, 0, 0};
  DeflateToken* out = tokens_.get();
  std::uint32_t end = 0;
  while (true) {
    const Match& next = match < lastMatch ? *match : none;
    const std::uint32_t begin = std::min(next.position, bound[0]);
    if (begin == size) break;
    const bool takesMatch = next.position < bound[0];
    std::uint32_t length = takesMatch ? next.length : bound[1] - bound[0];
    const std::uint16_t distance = takesMatch ? next.distance : 1;
    match += takesMatch ? 1 : 0;
    bound += takesMatch ? 0 : 2;
    std::uint32_t literals = begin - end;
    const bool isWorthIt = length >= kShortestRest;
    end = isWorthIt ? begin + length : end;
    while (length > kLongestMatch) {
      const std::uint32_t rest = length - kLongestMatch;
      const std::uint32_t taken = rest < kShortestMatch ? length - kShortestMatch : kLongestMatch;
      *out++ = {literals, static_cast<std::uint16_t>(taken), distance};
      literals = 0;
      length -= taken;
    }
    *out = {literals, static_cast<std::uint16_t>(length), distance};
    out += isWorthIt ? 1 : 0;
  }
  *out++ = {size - end, 0, 0};
  return {tokens_.get(), out};
}

}  // namespace picture
