#include "picture/png/DeflateBlock.h"

#include <algorithm>

#include "picture/png/HuffmanCode.h"
#include "picture/png/LiteralHistogram.h"

namespace picture {
namespace {

constexpr unsigned kLongestHeaderCode = 7;
constexpr std::uint32_t kDynamicBlock = 2;

// Symbols of the table of code lengths that repeat (RFC 1951, 3.2.7).
constexpr std::uint8_t kRepeatPrevious = 16;
constexpr std::uint8_t kRepeatZeroShort = 17;
constexpr std::uint8_t kRepeatZeroLong = 18;
constexpr std::array<std::uint8_t, 19> kHeaderOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                       11, 4,  12, 3, 13, 2, 14, 1, 15};

template <typename Lengths>
std::size_t usedCount(const Lengths& lengths, std::size_t least) {
  std::size_t count = lengths.size();
  while (count > least && lengths[count - 1] == 0)
    --count;
  return count;
}

}  // namespace

void DeflateBlock::plan(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                        std::span<const std::uint64_t> matched) noexcept {
  countSymbols(data, tokens, matched);
  buildCodeLengths(literalFrequencies_, kLongestLiteralCode, literalLengths_);
  buildCodeLengths(distanceFrequencies_, kLongestDistanceCode, distanceLengths_);
  planHeader();
  bits_ += bodyBits();
}

void DeflateBlock::countSymbols(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                                std::span<const std::uint64_t> matched) noexcept {
  literalFrequencies_.fill(0);
  distanceFrequencies_.fill(0);
  std::ranges::copy(literalHistogram(data, tokens, matched), literalFrequencies_.begin());
  for (const DeflateToken& token : tokens) {
    if (token.length == 0) continue;
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
    out.put(codes[symbol.symbol].bits, codes[symbol.symbol].length);
    out.put(symbol.extra, symbol.extraBits);
    out.flush();
  }
}

void DeflateBlock::write(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                         BitWriter& out) const noexcept {
  writeHeader(out);
  writeTokens(data, tokens, literalLengths_, distanceLengths_, out);
}

}  // namespace picture
