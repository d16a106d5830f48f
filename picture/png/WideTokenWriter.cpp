#include "picture/png/WideTokenWriter.h"

#ifdef __x86_64__

#include <array>
#include <cstring>

#include "picture/png/Avx512.h"
#include "picture/png/HuffmanCode.h"

// The stream is made in two steps. First everything becomes pieces: bytes of up to eight bits each, beside
// bytes that say which of their bits count. Most literals are one piece, so that 64 of them are looked up at
// once; a match is several. Then the bits of sixteen pieces at a time are pushed together. Neither step has a
// jump for each literal, and hardly any for a token.

namespace picture {
namespace {

constexpr std::size_t kVector = 64;

template <std::size_t size>
struct alignas(kVector) ByteTable : std::array<std::uint8_t, size> {};

// Bits that go into the stream together; the first is the least significant. 64 at most.
struct Bits {
  std::uint64_t bits;
  std::uint64_t count;
};

// Literals near zero, and no others, are found in tables of half the size. Filtered photographs hardly have
// any others.
constexpr unsigned kNear = 64;

struct Codes {
  // Of the literals from -kNear to kNear - 1: pieces and their masks. A mask of 0: more than one piece.
  ByteTable<2 * kNear> near;
  ByteTable<2 * kNear> nearMasks;
  // Of all literals: the first eight bits, and what follows them.
  ByteTable<256> low;
  ByteTable<256> lowMasks;
  ByteTable<256> high;
  ByteTable<256> highMasks;
  // By a match's length, with the extra bits; by a distance's symbol, without. The count lies in the lowest
  // byte, the bits above it.
  std::array<std::uint32_t, kLongestMatch + 1> lengths;
  std::array<std::uint32_t, kDistanceSymbols> distances;
  Bits end;
};

constexpr std::uint32_t entryOf(std::uint32_t bits, std::uint32_t count) {
  return bits << 8 | count;
}

constexpr Bits bitsOfEntry(std::uint32_t entry) {
  return {entry >> 8, entry & 0xFF};
}

void fillLiterals(std::span<const Code> codes, Codes& out) {
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const unsigned mask = (1U << codes[byte].length) - 1;
    out.low[byte] = static_cast<std::uint8_t>(codes[byte].bits);
    out.lowMasks[byte] = static_cast<std::uint8_t>(mask);
    out.high[byte] = static_cast<std::uint8_t>(codes[byte].bits >> 8);
    out.highMasks[byte] = static_cast<std::uint8_t>(mask >> 8);
  }
  for (std::size_t i = 0; i < 2 * kNear; ++i) {
    const auto byte = static_cast<std::uint8_t>(i - kNear);
    out.near[i] = out.low[byte];
    out.nearMasks[i] = out.highMasks[byte] == 0 ? out.lowMasks[byte] : std::uint8_t{0};
  }
}

void fillLengths(std::span<const Code> codes, Codes& out) {
  for (std::uint32_t length = kShortestMatch; length <= kLongestMatch; ++length) {
    const DeflateSymbol symbol = kLengthSymbols[length];
    const Code code = codes[kFirstLengthSymbol + symbol.symbol];
    const std::uint32_t extra = length - kShortestMatch - symbol.base;
    out.lengths[length] = entryOf(code.bits | extra << code.length, code.length + symbol.extraBits);
  }
}

void fillCodes(const LiteralCodeLengths& literalLengths, const DistanceCodeLengths& distanceLengths,
               Codes& out) {
  const auto codes = codesFor(literalLengths);
  fillLiterals(codes, out);
  fillLengths(codes, out);
  out.end = {codes[kEndOfBlock].bits, codes[kEndOfBlock].length};
  const auto distanceCodes = codesFor(distanceLengths);
  for (std::size_t symbol = 0; symbol < kDistanceSymbols; ++symbol)
    out.distances[symbol] = entryOf(distanceCodes[symbol].bits, distanceCodes[symbol].length);
}

[[gnu::always_inline]] inline Bits bitsOfMatch(const DeflateToken& token, const Codes& codes) {
  const DeflateSymbol symbol = distanceSymbol(token.distance);
  const Bits length = bitsOfEntry(codes.lengths[token.length]);
  const Bits distance = bitsOfEntry(codes.distances[symbol.symbol]);
  const std::uint64_t extra = token.distance - 1U - symbol.base;
  return {length.bits | (distance.bits | extra << distance.count) << length.count,
          length.count + distance.count + symbol.extraBits};
}

CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] inline __m512i lookUp(const ByteTable<2 * kNear>& table,
                                                                    __m512i index) {
  return _mm512_permutex2var_epi8(_mm512_load_si512(table.data()), index,
                                  _mm512_load_si512(table.data() + kVector));
}

CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] inline __m512i lookUp(const ByteTable<256>& table,
                                                                    __m512i index) {
  const auto part = [&table](std::size_t i) { return static_cast<const void*>(table.data() + i * kVector); };
  return _mm512_mask_mov_epi8(
      _mm512_permutex2var_epi8(_mm512_load_si512(part(0)), index, _mm512_load_si512(part(1))),
      _mm512_movepi8_mask(index),
      _mm512_permutex2var_epi8(_mm512_load_si512(part(2)), index, _mm512_load_si512(part(3))));
}

// Stores whole words of the stream; one word is pending. Up to eight bytes are touched behind what is
// written.
class WordWriter {
 public:
  explicit WordWriter(const BitWriter& begun)
      : to_(begun.position()), word_(begun.pendingBits()), count_(begun.pendingCount()) {}

  [[gnu::always_inline]] void put(Bits bits) {
    word_ |= bits.bits << (count_ & 63);
    std::memcpy(to_, &word_, sizeof word_);
    const std::uint64_t rest = bits.bits >> 1 >> (~count_ & 63);
    count_ += bits.count;
    to_ += count_ >> 3 & 8;
    // Whether the word was full there is no telling: without a jump.
    const std::uint64_t isFull = -(count_ >> 6);
    word_ = (rest & isFull) | (word_ & ~isFull);
    count_ &= 63;
  }

  [[nodiscard]] BitWriter finished() const {
    BitWriter writer(to_);
    const auto count = static_cast<unsigned>(count_);
    const unsigned half = count / 2;
    writer.put(word_ & ((std::uint64_t{1} << half) - 1), half);
    writer.flush();
    writer.put(word_ >> half, count - half);
    writer.flush();
    return writer;
  }

 private:
  std::uint8_t* to_;
  std::uint64_t word_;
  std::uint64_t count_;
};

// The bytes of two vectors by turns: those of the first have the numbers from 0 on, of the second from 64 on.
constexpr std::array<ByteTable<kVector>, 2> makeByTurns() {
  std::array<ByteTable<kVector>, 2> byTurns{};
  for (std::size_t i = 0; i < 2 * kVector; ++i)
    byTurns[i / kVector][i % kVector] = static_cast<std::uint8_t>(i / 2 + i % 2 * kVector);
  return byTurns;
}
constexpr auto kByTurns = makeByTurns();

class Pieces {
 public:
  // 64 literals at most, those at `at` whose bits are set in `there`, the lowest ones.
  CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] void appendLiterals(const std::uint8_t* at,
                                                                    std::uint64_t there, const Codes& codes) {
    const __m512i index =
        _mm512_add_epi8(_mm512_maskz_loadu_epi8(there, at), _mm512_set1_epi8(static_cast<char>(kNear)));
    const __m512i masks = lookUp(codes.nearMasks, index);
    const std::uint64_t far = _mm512_movepi8_mask(index);
    if ((_mm512_mask_testn_epi8_mask(there, masks, masks) | far) != 0)
      return appendAnyLiterals(at, there, codes);
    _mm512_storeu_si512(pieces_ + size_, lookUp(codes.near, index));
    _mm512_storeu_si512(masks_ + size_, masks);
    size_ += static_cast<std::size_t>(_mm_popcnt_u64(there));
  }

  CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] void append(Bits bits) {
    const std::uint64_t mask = _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(bits.count));
    std::memcpy(pieces_ + size_, &bits.bits, sizeof bits.bits);
    std::memcpy(masks_ + size_, &mask, sizeof mask);
    size_ += (bits.count + 7) / 8;
  }

  // To be asked after each append.
  [[nodiscard]] bool areMany() const { return size_ > kMany; }

  // Some may stay behind, fewer than are pushed together at once.
  CAMERA_SHOT_FOR_AVX512 [[gnu::noinline]] void writeTo(WordWriter& out) {
    WordWriter writer = out;  // a copy stays in registers
    const std::size_t count = size_ / kTogether * kTogether;
    const std::uint64_t bits = mostlyFitTogether_ ? writeTogether(count, writer) : writeHalves(count, writer);
    // As many pieces as these take about as many bits the next time.
    mostlyFitTogether_ = bits < kMostBitsOfFitting * count;
    std::memcpy(pieces_, pieces_ + count, kTogether);
    std::memcpy(masks_, masks_ + count, kTogether);
    size_ -= count;
    out = writer;
  }

  CAMERA_SHOT_FOR_AVX512 void writeAllTo(WordWriter& out) {
    std::memset(masks_ + size_, 0, kTogether);
    size_ += kTogether - 1;
    writeTo(out);
  }

 private:
  static constexpr std::size_t kTogether = 16;
  static constexpr std::size_t kMany = 4096;
  // A piece's on the average, from which on too many sixteens do not fit into a word.
  static constexpr std::uint64_t kMostBitsOfFitting = 3;
  // What one append of literals adds and touches, and that of a match after it.
  static constexpr std::size_t kRoom = kMany + 4 * kVector;

  // Also such as have codes of more than eight bits, or lie far from zero: first bits and those that follow
  // them by turns, of which those that there are stay.
  CAMERA_SHOT_FOR_AVX512 [[gnu::noinline]] void appendAnyLiterals(const std::uint8_t* at, std::uint64_t there,
                                                                  const Codes& codes) {
    const __m512i bytes = _mm512_maskz_loadu_epi8(there, at);
    const __m512i low = lookUp(codes.low, bytes);
    const __m512i lowMasks = lookUp(codes.lowMasks, bytes);
    const __m512i high = lookUp(codes.high, bytes);
    const __m512i highMasks = lookUp(codes.highMasks, bytes);
    const std::uint64_t isLong = _mm512_mask_test_epi8_mask(there, highMasks, highMasks);
    for (unsigned half = 0; half < 2; ++half) {
      const __m512i order = _mm512_load_si512(kByTurns[half].data());
      constexpr std::uint64_t kEven = 0x5555555555555555;
      const std::uint64_t kept =
          _pdep_u64(there >> 32 * half, kEven) | _pdep_u64(isLong >> 32 * half, ~kEven);
      _mm512_storeu_si512(pieces_ + size_,
                          _mm512_maskz_compress_epi8(kept, _mm512_permutex2var_epi8(low, order, high)));
      _mm512_storeu_si512(masks_ + size_, _mm512_maskz_compress_epi8(
                                              kept, _mm512_permutex2var_epi8(lowMasks, order, highMasks)));
      size_ += static_cast<std::size_t>(_mm_popcnt_u64(kept));
    }
  }

  // The first `count` pieces; answers how many bits those are. Sixteen at a time, where they fit into a word:
  // a question whose answer should be clear, as a wrong guess of the processor's takes longer than another
  // word.
  CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] std::uint64_t writeTogether(std::size_t count,
                                                                            WordWriter& writer) const {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < count; i += kTogether) {
      const Bits first = together(i);
      const Bits second = together(i + kTogether / 2);
      const std::uint64_t both = first.count + second.count;
      bits += both;
      if (both <= 64) {
        writer.put({first.bits | second.bits << (first.count & 63), both});
      } else {
        writer.put(first);
        writer.put(second);
      }
    }
    return bits;
  }
  // Eight at a time, which always fit.
  CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] std::uint64_t writeHalves(std::size_t count,
                                                                          WordWriter& writer) const {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < count; i += kTogether / 2) {
      const Bits eight = together(i);
      bits += eight.count;
      writer.put(eight);
    }
    return bits;
  }

  // The bits of eight pieces.
  CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] Bits together(std::size_t at) const {
    std::uint64_t pieces = 0;
    std::uint64_t masks = 0;
    std::memcpy(&pieces, pieces_ + at, sizeof pieces);
    std::memcpy(&masks, masks_ + at, sizeof masks);
    return {_pext_u64(pieces, masks), static_cast<std::uint64_t>(_mm_popcnt_u64(masks))};
  }

  bool mostlyFitTogether_ = true;
  std::size_t size_ = 0;
  alignas(kVector) std::uint8_t pieces_[kRoom]{};
  alignas(kVector) std::uint8_t masks_[kRoom]{};
};

}  // namespace

CAMERA_SHOT_FOR_AVX512 void writeTokensByAvx512(std::span<const std::uint8_t> data,
                                                std::span<const DeflateToken> tokens,
                                                const LiteralCodeLengths& literalLengths,
                                                const DistanceCodeLengths& distanceLengths,
                                                BitWriter& out) noexcept {
  constexpr std::uint64_t kAll = ~std::uint64_t{0};
  Codes codes{};
  fillCodes(literalLengths, distanceLengths, codes);
  WordWriter writer(out);
  Pieces pieces;
  const std::uint8_t* at = data.data();
  for (const DeflateToken& token : tokens) {
    const std::uint8_t* const end = at + token.literals;
    for (; end - at > static_cast<std::ptrdiff_t>(kVector); at += kVector) {
      pieces.appendLiterals(at, kAll, codes);
      if (pieces.areMany()) pieces.writeTo(writer);
    }
    pieces.appendLiterals(at, _bzhi_u64(kAll, static_cast<unsigned>(end - at)), codes);
    if (token.length != 0) pieces.append(bitsOfMatch(token, codes));
    if (pieces.areMany()) pieces.writeTo(writer);
    at = end + token.length;
  }
  pieces.append(codes.end);
  pieces.writeAllTo(writer);
  out = writer.finished();
}

}  // namespace picture

#endif
