#include "picture/png/HuffmanCode.h"

#include <algorithm>
#include <array>

namespace picture {
namespace {

constexpr unsigned kLongestCode = 15;  // RFC 1951, 3.2.7

// A symbol and how often it occurs, in one number that sorts by frequency and then by symbol.
using Leaf = std::uint64_t;
constexpr unsigned kSymbolBits = 16;

struct Leaves {
  std::array<Leaf, kMaximumSymbols> sorted{};
  std::size_t count = 0;
};

void sortLeaves(std::span<const std::uint32_t> frequencies, Leaves& leaves) {
  for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
    if (frequencies[symbol] == 0) continue;
    leaves.sorted[leaves.count++] = static_cast<Leaf>(frequencies[symbol]) << kSymbolBits | symbol;
  }
  for (std::size_t symbol = 0; leaves.count < 2; ++symbol) {
    if (frequencies[symbol] == 0) leaves.sorted[leaves.count++] = symbol;
  }
  std::sort(leaves.sorted.begin(), leaves.sorted.begin() + static_cast<std::ptrdiff_t>(leaves.count));
}

// How many leaves of the unlimited Huffman tree lie at each depth, those deeper than `maximumLength` counted
// there. The tree is built by merging two queues, leaves and inner nodes, both of which are in ascending
// order.
std::array<std::uint32_t, kLongestCode + 1> depthCounts(const Leaves& leaves, unsigned maximumLength) {
  std::array<std::uint64_t, kMaximumSymbols> weight{};  // of inner nodes
  std::array<std::uint16_t, 2 * kMaximumSymbols>
      parent{};  // of leaves, then of inner nodes, as inner node numbers
  const std::size_t leafCount = leaves.count;
  const std::size_t innerCount = leafCount - 1;
  std::size_t leaf = 0;
  std::size_t inner = 0;
  for (std::size_t node = 0; node < innerCount; ++node) {
    weight[node] = 0;
    for (int child = 0; child < 2; ++child) {
      const std::uint64_t leafWeight = leaf < leafCount ? leaves.sorted[leaf] >> kSymbolBits : 0;
      const bool takesLeaf = leaf < leafCount && (inner == node || leafWeight <= weight[inner]);
      weight[node] += takesLeaf ? leafWeight : weight[inner];
      parent[takesLeaf ? leaf++ : leafCount + inner++] = static_cast<std::uint16_t>(node);
    }
  }
  std::array<std::uint16_t, kMaximumSymbols> depth{};  // of inner nodes; the last one is the root
  depth[innerCount - 1] = 0;
  for (std::size_t node = innerCount - 1; node-- > 0;) {
    depth[node] = static_cast<std::uint16_t>(depth[parent[leafCount + node]] + 1);
  }
  std::array<std::uint32_t, kLongestCode + 1> counts{};
  for (std::size_t i = 0; i < leafCount; ++i)
    ++counts[std::min<unsigned>(depth[parent[i]] + 1U, maximumLength)];
  return counts;
}

// Clamping made the code too large (its Kraft sum exceeds one). Each step moves a leaf down to make room for
// a sibling, which takes one unit of 2^-maximumLength from the excess.
void repairKraftSum(std::array<std::uint32_t, kLongestCode + 1>& counts, unsigned maximumLength) {
  std::uint64_t sum = 0;
  for (unsigned length = 1; length <= maximumLength; ++length) {
    sum += static_cast<std::uint64_t>(counts[length]) << (maximumLength - length);
  }
  for (std::uint64_t excess = sum - (std::uint64_t{1} << maximumLength); excess > 0; --excess) {
    unsigned length = maximumLength - 1;
    while (counts[length] == 0)
      --length;
    --counts[length];
    counts[length + 1] += 2;
    --counts[maximumLength];
  }
}

}  // namespace

void buildCodeLengths(std::span<const std::uint32_t> frequencies, unsigned maximumLength,
                      std::span<std::uint8_t> lengths) noexcept {
  Leaves leaves;
  sortLeaves(frequencies, leaves);
  auto counts = depthCounts(leaves, maximumLength);
  repairKraftSum(counts, maximumLength);
  std::fill(lengths.begin(), lengths.end(), std::uint8_t{0});
  std::size_t leaf = 0;  // the rarest gets the longest
  for (unsigned length = maximumLength; length >= 1; --length) {
    for (std::uint32_t i = 0; i < counts[length]; ++i) {
      lengths[leaves.sorted[leaf++] & ((1U << kSymbolBits) - 1)] = static_cast<std::uint8_t>(length);
    }
  }
}

void buildCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes) noexcept {
  std::array<std::uint32_t, kLongestCode + 2> next{};
  for (const std::uint8_t length : lengths)
    ++next[length + 1U];
  next[1] = 0;  // absent symbols take no room
  for (unsigned length = 1; length <= kLongestCode; ++length)
    next[length + 1] = (next[length + 1] + next[length]) << 1;
  // Now next[length] holds the first code of that length.
  for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    const unsigned length = lengths[symbol];
    std::uint32_t code = length == 0 ? 0 : next[length]++;
    std::uint32_t reversed = 0;
    for (unsigned bit = 0; bit < length; ++bit, code >>= 1)
      reversed = reversed << 1 | (code & 1);
    codes[symbol] = static_cast<std::uint16_t>(reversed);
  }
}

}  // namespace picture
