#include "platform/linux/image/DeflateBlock.h"

#include <algorithm>
#include <bit>

namespace platform_linux {
namespace {

// Four literals of at most this length, and the seven bits that may be pending, fit into one 64-bit word.
constexpr unsigned kLongestLiteralCode = 14;
constexpr unsigned kLongestDistanceCode = 15;
constexpr unsigned kLongestHeaderCode = 7;

constexpr std::uint32_t kEndOfBlock = 256;
constexpr std::uint32_t kFirstLengthSymbol = 257;
constexpr std::uint32_t kDynamicBlock = 2;

// Symbols of the table of code lengths that repeat (RFC 1951, 3.2.7).
constexpr std::uint8_t kRepeatPrevious = 16;
constexpr std::uint8_t kRepeatZeroShort = 17;
constexpr std::uint8_t kRepeatZeroLong = 18;
constexpr std::array<std::uint8_t, 19> kHeaderOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                       11, 4,  12, 3, 13, 2, 14, 1, 15};

// A match's length or distance as a symbol with extra bits. Both alphabets double their steps every few
// symbols.
struct Symbol {
  std::uint8_t symbol;
  std::uint8_t extraBits;
  std::uint16_t base;
};

// Values from 0 up; `linear` symbols of step one, then groups of `linear` / 2 symbols of doubling steps.
constexpr Symbol steppedSymbol(std::uint32_t value, std::uint32_t linearLog2) {
  const std::uint32_t linear = 1U << linearLog2;
  if (value < linear) return {static_cast<std::uint8_t>(value), 0, static_cast<std::uint16_t>(value)};
  const std::uint32_t extraBits = static_cast<std::uint32_t>(std::bit_width(value)) - linearLog2;
  const std::uint32_t mantissa = value >> extraBits;  // from linear / 2 to linear - 1
  return {static_cast<std::uint8_t>(extraBits * (linear / 2) + mantissa),
          static_cast<std::uint8_t>(extraBits), static_cast<std::uint16_t>(mantissa << extraBits)};
}

constexpr std::array<Symbol, kLongestMatch + 1> makeLengthSymbols() {
  std::array<Symbol, kLongestMatch + 1> symbols{};
  for (std::uint32_t length = kShortestMatch; length < kLongestMatch; ++length) {
    symbols[length] = steppedSymbol(length - kShortestMatch, 3);
  }
  symbols[kLongestMatch] = {28, 0, kLongestMatch - kShortestMatch};  // the longest has a symbol of its own
  return symbols;
}

constexpr auto kLengthSymbols = makeLengthSymbols();
static_assert(kLengthSymbols[11].symbol == 8 && kLengthSymbols[12].base == 8 &&
              kLengthSymbols[257].symbol == 27);

constexpr Symbol distanceSymbol(std::uint32_t distance) {
  return steppedSymbol(distance - 1, 2);
}
static_assert(distanceSymbol(5).symbol == 4 && distanceSymbol(32768).symbol == 29);

// How often each byte occurs. Counted in four tables, so that equal neighbours do not wait for each other's
// store.
std::array<std::uint32_t, 256> histogramOf(std::span<const std::uint8_t> data) {
  std::array<std::array<std::uint32_t, 256>, 4> counts{};
  const std::size_t whole = data.size() & ~std::size_t{7};
  for (std::size_t i = 0; i < whole; i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, data.data() + i, sizeof word);
    for (unsigned lane = 0; lane < 8; ++lane)
      ++counts[lane % 4][word >> (8 * lane) & 0xFF];
  }
  for (const std::uint8_t byte : data.subspan(whole))
    ++counts[0][byte];
  for (std::size_t byte = 0; byte < 256; ++byte)
    counts[0][byte] += counts[1][byte] + counts[2][byte] + counts[3][byte];
  return counts[0];
}

// A code and its length, side by side for the inner loop.
struct Code {
  std::uint16_t bits;
  std::uint16_t length;
};

template <std::size_t count>
std::array<Code, count> codesFor(const std::array<std::uint8_t, count>& lengths) {
  std::array<std::uint16_t, count> bits{};
  buildCodes(lengths, bits);
  std::array<Code, count> codes{};
  for (std::size_t i = 0; i < count; ++i)
    codes[i] = {bits[i], lengths[i]};
  return codes;
}

void put(Code code, BitWriter& out) {
  out.put(code.bits, code.length);
}

// Some codes joined, the first one least significant. Joining does not wait for the stream's position, so one
// group is put together while the one before is on its way into the stream.
struct Group {
  std::uint64_t bits;
  unsigned length;
};

Group join(Group first, Group second) {
  return {first.bits | second.bits << first.length, first.length + second.length};
}

Group fourLiterals(const std::uint8_t* at, const Code* codes) {
  const auto literal = [=](std::size_t i) { return Group{codes[at[i]].bits, codes[at[i]].length}; };
  return join(join(literal(0), literal(1)), join(literal(2), literal(3)));
}

void writeLiterals(std::span<const std::uint8_t> literals, const Code* codes, BitWriter& stream) {
  constexpr unsigned kRoom = BitWriter::kMostBits;
  BitWriter out = stream;  // a copy stays in registers
  const std::uint8_t* at = literals.data();
  std::size_t left = literals.size();
  for (; left >= 8; left -= 8, at += 8) {
    const Group first = fourLiterals(at, codes);
    const Group second = fourLiterals(at + 4, codes);
    if (first.length + second.length <= kRoom) {
      const Group both = join(first, second);
      out.put(both.bits, both.length);
    } else {
      out.put(first.bits, first.length);
      out.flush();
      out.put(second.bits, second.length);
    }
    out.flush();
  }
  if (left >= 4) {
    const Group group = fourLiterals(at, codes);
    out.put(group.bits, group.length);
    out.flush();
    left -= 4;
    at += 4;
  }
  for (; left > 0; --left)
    put(codes[*at++], out);
  out.flush();
  stream = out;
}

template <typename Lengths>
std::size_t usedCount(const Lengths& lengths, std::size_t least) {
  std::size_t count = lengths.size();
  while (count > least && lengths[count - 1] == 0)
    --count;
  return count;
}

}  // namespace

void DeflateBlock::plan(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens) noexcept {
  countSymbols(data, tokens);
  buildCodeLengths(literalFrequencies_, kLongestLiteralCode, literalLengths_);
  buildCodeLengths(distanceFrequencies_, kLongestDistanceCode, distanceLengths_);
  planHeader();
  bits_ += bodyBits();
}

void DeflateBlock::countSymbols(std::span<const std::uint8_t> data,
                                std::span<const DeflateToken> tokens) noexcept {
  literalFrequencies_.fill(0);
  distanceFrequencies_.fill(0);
  // All bytes are counted in one go, then those within matches are taken off: most matches are one byte
  // repeated.
  const auto bytes = histogramOf(data);
  std::copy(bytes.begin(), bytes.end(), literalFrequencies_.begin());
  for (const DeflateToken& token : tokens) {
    data = data.subspan(token.literals);
    if (token.length == 0) continue;
    if (token.distance == 1) {
      literalFrequencies_[data.front()] -= token.length;
    } else {
      for (const std::uint8_t byte : data.first(token.length))
        --literalFrequencies_[byte];
    }
    data = data.subspan(token.length);
    ++literalFrequencies_[kFirstLengthSymbol + kLengthSymbols[token.length].symbol];
    ++distanceFrequencies_[distanceSymbol(token.distance).symbol];
  }
  literalFrequencies_[kEndOfBlock] = 1;
}

std::uint64_t DeflateBlock::bodyBits() const noexcept {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < kLiteralSymbols; ++i) {
    std::uint64_t each = literalLengths_[i];
    // Groups of four symbols share a number of extra bits, from the ninth on; the last symbol has none.
    if (i >= kFirstLengthSymbol + 8 && i < kLiteralSymbols - 1) each += (i - kFirstLengthSymbol - 4) / 4;
    bits += each * literalFrequencies_[i];
  }
  for (std::size_t i = 0; i < kDistanceSymbols; ++i) {
    const std::uint64_t extra = i >= 4 ? (i - 2) / 2 : 0;
    bits += (distanceLengths_[i] + extra) * distanceFrequencies_[i];
  }
  return bits;
}

void DeflateBlock::appendLengthRun(std::uint8_t length, std::size_t count) noexcept {
  const auto append = [this](std::uint8_t symbol, std::size_t extra, std::uint8_t extraBits) {
    headerSymbols_[headerSymbolCount_++] = {symbol, static_cast<std::uint8_t>(extra), extraBits};
    ++headerFrequencies_[symbol];
  };
  if (length != 0 && count > 0) {
    append(length, 0, 0);
    --count;
  }
  while (count >= 3) {
    const std::size_t longest = length != 0 ? 6 : 138;
    const std::size_t taken = std::min(count, longest);
    if (length != 0) {
      append(kRepeatPrevious, taken - 3, 2);
    } else if (taken <= 10) {
      append(kRepeatZeroShort, taken - 3, 3);
    } else {
      append(kRepeatZeroLong, taken - 11, 7);
    }
    count -= taken;
  }
  for (; count > 0; --count)
    append(length, 0, 0);
}

void DeflateBlock::planHeader() noexcept {
  literalCodeCount_ = usedCount(literalLengths_, 257);
  distanceCodeCount_ = usedCount(distanceLengths_, 1);
  std::array<std::uint8_t, kLiteralSymbols + kDistanceSymbols> lengths{};
  auto* end = std::copy_n(literalLengths_.begin(), literalCodeCount_, lengths.begin());
  end = std::copy_n(distanceLengths_.begin(), distanceCodeCount_, end);
  headerFrequencies_.fill(0);
  headerSymbolCount_ = 0;
  for (auto* run = lengths.begin(); run != end;) {
    auto* next = std::find_if(run, end, [run](std::uint8_t length) { return length != *run; });
    appendLengthRun(*run, static_cast<std::size_t>(next - run));
    run = next;
  }
  buildCodeLengths(headerFrequencies_, kLongestHeaderCode, headerLengths_);
  headerCodeCount_ = kLengthCodeSymbols;
  while (headerCodeCount_ > 4 && headerLengths_[kHeaderOrder[headerCodeCount_ - 1]] == 0)
    --headerCodeCount_;
  bits_ = 3 + 5 + 5 + 4 + 3 * headerCodeCount_;
  for (std::size_t i = 0; i < headerSymbolCount_; ++i) {
    bits_ += headerLengths_[headerSymbols_[i].symbol] + headerSymbols_[i].extraBits;
  }
}

void DeflateBlock::writeHeader(BitWriter& out) const noexcept {
  const auto codes = codesFor(headerLengths_);
  out.put(0, 1);  // not the last block
  out.put(kDynamicBlock, 2);
  out.put(literalCodeCount_ - 257, 5);
  out.put(distanceCodeCount_ - 1, 5);
  out.put(headerCodeCount_ - 4, 4);
  out.flush();
  for (std::size_t i = 0; i < headerCodeCount_; ++i) {
    out.put(headerLengths_[kHeaderOrder[i]], 3);
    out.flush();
  }
  for (std::size_t i = 0; i < headerSymbolCount_; ++i) {
    const HeaderSymbol& symbol = headerSymbols_[i];
    put(codes[symbol.symbol], out);
    out.put(symbol.extra, symbol.extraBits);
    out.flush();
  }
}

void DeflateBlock::write(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                         BitWriter& out) const noexcept {
  writeHeader(out);
  const auto literalCodes = codesFor(literalLengths_);
  const auto distanceCodes = codesFor(distanceLengths_);
  for (const DeflateToken& token : tokens) {
    writeLiterals(data.first(token.literals), literalCodes.data(), out);
    data = data.subspan(token.literals + token.length);
    if (token.length == 0) continue;
    const Symbol length = kLengthSymbols[token.length];
    const Symbol distance = distanceSymbol(token.distance);
    put(literalCodes[kFirstLengthSymbol + length.symbol], out);
    out.put(token.length - kShortestMatch - length.base, length.extraBits);
    put(distanceCodes[distance.symbol], out);
    out.put(token.distance - 1U - distance.base, distance.extraBits);
    out.flush();
  }
  put(literalCodes[kEndOfBlock], out);
  out.flush();
}

}  // namespace platform_linux
