#include "picture/Thumbnail.h"

#include <algorithm>
#include <new>
#include <utility>

namespace picture {
namespace {

/// Of the pixels and rows that one of the copy's stands for, so many are looked at each way.
constexpr std::uint32_t kSamples = 4;

/// The place of a sample within `scale` pixels: the samples are spread evenly, about the middle.
constexpr std::uint32_t placeOf(std::uint32_t sample, std::uint32_t samples, std::uint32_t scale) {
  return (2 * sample + 1) * scale / (2 * samples);
}

constexpr std::uint32_t scaleFor(std::uint32_t width, std::uint32_t height, int side) {
  const auto most = static_cast<std::uint32_t>(side);
  return std::max(1U, (std::max(width, height) + most - 1) / most);
}

}  // namespace

ThumbnailRows::ThumbnailRows(RowSource& source, int side)
    : source_(source), scale_(scaleFor(source.width(), source.height(), side)) {
  // What is left of the last pixels at the right and at the bottom is not seen.
  const PixelSize size{static_cast<int>(source.width() / scale_), static_cast<int>(source.height() / scale_)};
  try {
    sums_.resize(static_cast<std::size_t>(size.width) * kBytesPerPixel);
    thumbnail_.pixels.reserve(sums_.size() * static_cast<std::size_t>(size.height));
    thumbnail_.size = size;
  } catch (const std::bad_alloc&) {
    sums_.clear();
  }
}

bool ThumbnailRows::readRows(std::span<std::uint8_t> rows) noexcept {
  if (!source_.readRows(rows)) return false;
  for (auto rest = rows; !rest.empty(); rest = rest.subspan(rowBytes()))
    add(rest.first(rowBytes()));
  return true;
}

void ThumbnailRows::add(std::span<const std::uint8_t> row) noexcept {
  const std::uint32_t samples = std::min(kSamples, scale_);
  const std::uint32_t place = nextRow_++ % scale_;
  const auto isSampled = [&](std::uint32_t sample) { return placeOf(sample, samples, scale_) == place; };
  std::uint32_t sample = 0;
  while (sample < samples && !isSampled(sample))
    ++sample;
  if (sample == samples || nextRow_ > static_cast<std::uint32_t>(thumbnail_.size.height) * scale_) return;
  for (std::size_t value = 0; value < sums_.size(); ++value) {
    const std::size_t first = value / kBytesPerPixel * scale_;
    for (std::uint32_t across = 0; across < samples; ++across)
      sums_[value] = static_cast<std::uint16_t>(
          sums_[value] +
          row[(first + placeOf(across, samples, scale_)) * kBytesPerPixel + value % kBytesPerPixel]);
  }
  if (sample + 1 < samples) return;
  for (std::uint16_t& sum : sums_)
    thumbnail_.pixels.push_back(static_cast<std::uint8_t>(std::exchange(sum, 0) / (samples * samples)));
}

Thumbnail ThumbnailRows::take() {
  return std::move(thumbnail_);
}

}  // namespace picture
