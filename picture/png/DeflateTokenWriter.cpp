#include "picture/png/DeflateTokenWriter.h"

#include "picture/png/HuffmanCode.h"

namespace picture {
namespace {

// Some codes joined, the first one least significant. Joining does not wait for the stream's position, so one
// group is put together while the one before is on its way into the stream.
struct Group {
  std::uint64_t bits;
  unsigned length;
};

constexpr std::size_t kLiteralsTogether = 4;
static_assert(kLiteralsTogether * kLongestLiteralCode <= BitWriter::kMostBits);

// Always inline, here and below: compiled for the processor that the caller is compiled for.
[[gnu::always_inline]] inline Group groupOf(Code code) {
  return {code.bits, code.length};
}

[[gnu::always_inline]] inline Group join(Group first, Group second) {
  return {first.bits | second.bits << first.length, first.length + second.length};
}

[[gnu::always_inline]] inline void put(Group group, BitWriter& out) {
  out.put(group.bits, group.length);
}

[[gnu::always_inline]] inline Group fourLiterals(const std::uint8_t* at, const Code* codes) {
  const auto literal = [=](std::size_t i) { return groupOf(codes[at[i]]); };
  return join(join(literal(0), literal(1)), join(literal(2), literal(3)));
}

// The first `count` (0 to 3) of the three literals at `at`; without a jump, as there is no telling how many
// there will be.
[[gnu::always_inline]] inline Group fewLiterals(const std::uint8_t* at, std::size_t count,
                                                const Code* codes) {
  const auto literal = [=](std::size_t i) {
    const Code code = codes[at[i]];
    const std::uint64_t kept = i < count ? ~std::uint64_t{0} : 0;
    return Group{code.bits & kept, static_cast<unsigned>(code.length & kept)};
  };
  return join(join(literal(0), literal(1)), literal(2));
}

// All of `count` literals but the last 0 to 3; answers where those begin.
[[gnu::always_inline]] inline const std::uint8_t* writeByFours(const std::uint8_t* at, std::size_t count,
                                                               const Code* codes, BitWriter& out) {
  for (; count >= kLiteralsTogether; count -= kLiteralsTogether, at += kLiteralsTogether) {
    put(fourLiterals(at, codes), out);
    out.flush();
  }
  return at;
}

using LengthGroups = std::array<Group, kLongestMatch + 1>;

// The codes of all match lengths with their extra bits.
LengthGroups makeLengthGroups(const Code* codes) {
  LengthGroups groups{};
  for (std::uint32_t length = kShortestMatch; length <= kLongestMatch; ++length) {
    const DeflateSymbol symbol = kLengthSymbols[length];
    groups[length] = join(groupOf(codes[kFirstLengthSymbol + symbol.symbol]),
                          {length - kShortestMatch - symbol.base, symbol.extraBits});
  }
  return groups;
}

// The work of `writeTokens`, to be compiled for more than one kind of processor.
[[gnu::always_inline]] inline void writeAll(std::span<const std::uint8_t> data,
                                            std::span<const DeflateToken> tokens,
                                            const LiteralCodeLengths& literalLengths,
                                            const DistanceCodeLengths& distanceLengths, BitWriter& out) {
  const auto codes = codesFor(literalLengths);
  const auto distanceCodes = codesFor(distanceLengths);
  const LengthGroups lengthGroups = makeLengthGroups(codes.data());
  BitWriter stream = out;  // a copy stays in registers
  const std::uint8_t* at = data.data();
  for (const DeflateToken& token : tokens) {
    const std::uint8_t* rest = writeByFours(at, token.literals, codes.data(), stream);
    at += token.literals;
    if (token.length == 0) {
      for (; rest < at; ++rest)
        put(groupOf(codes[*rest]), stream);
      stream.flush();
      continue;
    }
    // The match makes sure that there are three bytes to look at.
    put(fewLiterals(rest, static_cast<std::size_t>(at - rest), codes.data()), stream);
    stream.flush();
    const DeflateSymbol distance = distanceSymbol(token.distance);
    put(lengthGroups[token.length], stream);
    put(groupOf(distanceCodes[distance.symbol]), stream);
    stream.put(token.distance - 1U - distance.base, distance.extraBits);
    stream.flush();
    at += token.length;
  }
  put(groupOf(codes[kEndOfBlock]), stream);
  stream.flush();
  out = stream;
}

#ifdef __x86_64__
// Shifts by any number of bits take one step instead of three: a fifth of the time.
[[gnu::target("bmi2")]] void writeAllWithBmi2(std::span<const std::uint8_t> data,
                                              std::span<const DeflateToken> tokens,
                                              const LiteralCodeLengths& literalLengths,
                                              const DistanceCodeLengths& distanceLengths, BitWriter& out) {
  writeAll(data, tokens, literalLengths, distanceLengths, out);
}
#endif

}  // namespace

void writeTokensPortably(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                         const LiteralCodeLengths& literalLengths, const DistanceCodeLengths& distanceLengths,
                         BitWriter& out) noexcept {
  writeAll(data, tokens, literalLengths, distanceLengths, out);
}

void writeTokens(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                 const LiteralCodeLengths& literalLengths, const DistanceCodeLengths& distanceLengths,
                 BitWriter& out) noexcept {
#ifdef __x86_64__
  if (__builtin_cpu_supports("bmi2")) {
    writeAllWithBmi2(data, tokens, literalLengths, distanceLengths, out);
    return;
  }
#endif
  writeTokensPortably(data, tokens, literalLengths, distanceLengths, out);
}

}  // namespace picture
