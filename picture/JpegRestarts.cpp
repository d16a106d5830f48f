#include "picture/JpegRestarts.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "picture/CeilDivide.h"
#include "picture/JpegMarkers.h"
#include "picture/JpegSyntax.h"

namespace picture {
namespace {

using jpeg_syntax::kFirstRestart, jpeg_syntax::kRestartNumbers;
using jpeg_syntax::kHeightInFrame, jpeg_syntax::kWidthInFrame;
using jpeg_syntax::kLengthBytes, jpeg_syntax::kMarkerBytes, jpeg_syntax::kMarkerPrefix;
using jpeg_syntax::numberAt, jpeg_syntax::putNumber;

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kBaselineFrame = 0xC0;
constexpr std::uint8_t kExtendedFrame = 0xC1;  // the same with eight bits a sample
constexpr std::uint8_t kRestartInterval = 0xDD;
constexpr std::uint32_t kBlockSide = 8;

// Of a frame header's payload (ITU-T T.81, B.2.2).
constexpr std::size_t kComponents = 5;
constexpr std::size_t kFirstComponent = 6;
constexpr std::size_t kComponentBytes = 3;

const JpegSegment* lastOf(const std::vector<JpegSegment>& segments, std::uint8_t marker) {
  const auto found = std::find_if(segments.rbegin(), segments.rend(),
                                  [=](const JpegSegment& segment) { return segment.marker == marker; });
  return found == segments.rend() ? nullptr : &*found;
}

const JpegSegment* frameOf(const std::vector<JpegSegment>& segments) {
  const JpegSegment* const baseline = lastOf(segments, kBaselineFrame);
  return baseline ? baseline : lastOf(segments, kExtendedFrame);
}

unsigned across(std::uint8_t factors) {
  return factors >> 4;
}
unsigned down(std::uint8_t factors) {
  return factors & 0xFU;
}

// Samples a component, across in the upper and down in the lower half; one or three of them.
std::optional<std::vector<std::uint8_t>> samplingOf(Bytes frame, Bytes scan) {
  if (frame.size() <= kComponents || scan.empty() || scan[0] != frame[kComponents]) return std::nullopt;
  const std::size_t count = frame[kComponents];
  if ((count != 1 && count != 3) || frame.size() < kFirstComponent + count * kComponentBytes)
    return std::nullopt;
  std::vector<std::uint8_t> factors;
  for (std::size_t i = 0; i < count; ++i)
    factors.push_back(frame[kFirstComponent + i * kComponentBytes + 1]);
  // A component alone has blocks of its own, whatever it states.
  if (count == 1) factors = {0x11};
  const bool isSound = std::all_of(factors.begin(), factors.end(), [](std::uint8_t factor) {
    return across(factor) >= 1 && across(factor) <= 4 && down(factor) >= 1 && down(factor) <= 4;
  });
  return isSound ? std::optional(factors) : std::nullopt;
}

// Behind the next restart marker from `at` on, if it has this number.
std::optional<std::size_t> behindRestart(Bytes jpeg, std::size_t at, unsigned number) {
  while (at + 1 < jpeg.size()) {
    const void* const prefix = std::memchr(jpeg.data() + at, kMarkerPrefix, jpeg.size() - 1 - at);
    if (!prefix) break;
    at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(prefix) - jpeg.data());
    const std::uint8_t next = jpeg[at + 1];
    if (next == kFirstRestart + number) return at + 2;
    if (next != 0 && next != kMarkerPrefix) break;
    at += next == 0 ? 2 : 1;
  }
  return std::nullopt;
}

// Where each interval begins that begins a step. None when not all markers are there.
std::vector<std::size_t> findSteps(Bytes jpeg, std::size_t codes, std::size_t intervals,
                                   unsigned intervalsPerStep) {
  std::vector<std::size_t> steps = {codes};
  std::size_t at = codes;
  for (std::size_t interval = 1; interval < intervals; ++interval) {
    const auto next = behindRestart(jpeg, at, static_cast<unsigned>(interval - 1) % kRestartNumbers);
    if (!next) return {};
    at = *next;
    if (interval % intervalsPerStep == 0) steps.push_back(at);
  }
  return steps;
}

// The rest, of blocks that these samples make up and of intervals of so many of them.
std::optional<JpegRestarts> withSteps(JpegRestarts restarts, Bytes jpeg,
                                      const std::vector<std::uint8_t>& factors, unsigned interval) {
  unsigned mostAcross = 1;
  unsigned mostDown = 1;
  for (const std::uint8_t factor : factors) {
    mostAcross = std::max(mostAcross, across(factor));
    mostDown = std::max(mostDown, down(factor));
  }
  restarts.hasSharedColorRows = std::any_of(factors.begin(), factors.end(),
                                            [=](std::uint8_t factor) { return down(factor) != mostDown; });
  restarts.rowsPerBlock = kBlockSide * mostDown;
  const std::uint32_t blocksAcross = ceilDivide(restarts.width, kBlockSide * mostAcross);
  const std::uint32_t blocksDown = ceilDivide(restarts.height, restarts.rowsPerBlock);
  if (interval == 0 || blocksAcross == 0) return std::nullopt;
  const std::uint32_t blocksDownPerStep = interval / std::gcd(interval, blocksAcross);
  if (blocksDownPerStep >= blocksDown) return std::nullopt;
  restarts.rowsPerStep = blocksDownPerStep * restarts.rowsPerBlock;
  restarts.intervalsPerStep = blocksDownPerStep * blocksAcross / interval;
  const std::size_t intervals = ceilDivide<std::uint32_t>(blocksAcross * blocksDown, interval);
  restarts.steps = findSteps(jpeg, restarts.headerBytes, intervals, restarts.intervalsPerStep);
  return restarts.steps.empty() ? std::nullopt : std::optional(std::move(restarts));
}

}  // namespace

std::optional<JpegRestarts> restartsOf(Bytes jpeg) {
  const auto segments = jpegHeaderSegments(jpeg);
  if (!segments) return std::nullopt;
  const JpegSegment* const frame = frameOf(*segments);
  const JpegSegment* const restart = lastOf(*segments, kRestartInterval);
  const JpegSegment& scan = segments->back();
  if (!frame || !restart || restart->payload.size() != 2) return std::nullopt;
  const auto factors = samplingOf(frame->payload, scan.payload);
  if (!factors) return std::nullopt;
  JpegRestarts restarts;
  restarts.headerBytes = scan.offset + scan.size;
  restarts.heightAt = frame->offset + kMarkerBytes + kLengthBytes + kHeightInFrame;
  restarts.width = numberAt(frame->payload, kWidthInFrame);
  restarts.height = numberAt(frame->payload, kHeightInFrame);
  return withSteps(std::move(restarts), jpeg, *factors, numberAt(restart->payload, 0));
}

std::vector<std::uint8_t> headerFrom(std::size_t step, Bytes jpeg, const JpegRestarts& restarts) {
  const Bytes whole = jpeg.first(restarts.headerBytes);
  std::vector<std::uint8_t> header(whole.begin(), whole.end());
  putNumber(header, restarts.heightAt, restarts.height - step * restarts.rowsPerStep);
  return header;
}

}  // namespace picture
