#include "picture/Thumbnail.h"

#include <algorithm>
#include <array>
#include <cstddef>
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
  std::array<std::uint32_t, kSamples> places{};
  for (std::uint32_t sample = 0; sample < samples; ++sample)
    places[sample] = placeOf(sample, samples, scale_);
  const auto end = places.begin() + samples;
  const auto place = std::find(places.begin(), end, nextRow_++ % scale_);
  if (place == end || nextRow_ > static_cast<std::uint32_t>(thumbnail_.size.height) * scale_) return;

  const std::uint8_t* pixels = row.data();
  for (auto sum = sums_.begin(); sum != sums_.end(); sum += kBytesPerPixel, pixels += scale_ * kBytesPerPixel)
    for (auto across = places.begin(); across != end; ++across)
      for (std::size_t channel = 0; channel < kBytesPerPixel; ++channel)
        sum[static_cast<std::ptrdiff_t>(channel)] = static_cast<std::uint16_t>(
            sum[static_cast<std::ptrdiff_t>(channel)] + pixels[*across * kBytesPerPixel + channel]);
  if (place + 1 != end) return;
  for (std::uint16_t& sum : sums_)
    thumbnail_.pixels.push_back(static_cast<std::uint8_t>(std::exchange(sum, 0) / (samples * samples)));
}

Thumbnail ThumbnailRows::take() {
  return std::move(thumbnail_);
}

}  // namespace picture
