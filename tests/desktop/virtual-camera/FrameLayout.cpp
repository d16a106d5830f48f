#include "tests/desktop/virtual-camera/FrameLayout.h"

#include <algorithm>

namespace virtual_camera {
namespace {

/// Rows of packed RGB end at a multiple of four bytes, as drivers and media frameworks have them.
constexpr std::size_t kPackedAlignment = 4;

/// Rows of samples in threes end at a multiple of that: of 48 pixels.
constexpr std::size_t kThreesAlignment = 128;

std::size_t partsOf(std::size_t whole, std::size_t part) {
  return (whole + part - 1) / part;
}

void addPlane(FrameLayout& layout, std::size_t stride, std::size_t rows) {
  layout.planes.push_back({layout.size, stride, stride * rows});
  layout.size += stride * rows;
}

/// Bytes of a row without padding: the samples of its channel with the widest step. The width is completed to
/// whole chroma samples in every plane, so that all strides follow from the first as drivers have it.
std::size_t rowBytes(const RawFormat& raw, unsigned plane, std::uint32_t width) {
  std::size_t columns = 1;
  for (const auto& place : raw.channels)
    columns = std::max<std::size_t>(columns, place.columns);
  const auto whole = partsOf(width, columns) * columns;
  std::size_t units = 0;
  for (const auto& place : raw.channels) {
    if (place.plane == plane) units = std::max(units, whole / place.columns * place.step);
  }
  switch (raw.packing) {
    case Packing::kThrees:
      return partsOf(partsOf(units, 3) * 4, kThreesAlignment) * kThreesAlignment;
    case Packing::kString:
      return partsOf(units * raw.bits, 8);
    case Packing::kWords:
      break;
  }
  return units;
}

const ChannelPlace& firstOf(const RawFormat& raw, unsigned plane) {
  return *std::find_if(raw.channels.begin(), raw.channels.end(),
                       [&](const auto& place) { return place.plane == plane; });
}

}  // namespace

FrameLayout frameLayout(PixelFormat format, std::uint32_t width, std::uint32_t height, std::size_t padding) {
  FrameLayout layout{format, width, height, {}, 0};
  const auto raw = rawFormat(format);
  if (!isRaw(format)) {
    layout.size = std::size_t{2} * width * height;
    layout.planes.push_back({0, 0, layout.size});
  } else if (raw.channels.empty()) {
    addPlane(layout, std::size_t{2} * width + padding, height);
  } else if (raw.channels.front().step == 3) {
    addPlane(layout, partsOf(std::size_t{3} * width, kPackedAlignment) * kPackedAlignment + padding, height);
  } else {
    const unsigned planes =
        std::max_element(raw.channels.begin(), raw.channels.end(), [](auto one, auto other) {
          return one.plane < other.plane;
        })->plane;
    for (unsigned plane = 0; plane <= planes; ++plane) {
      const auto& place = firstOf(raw, plane);
      const auto bytes = rowBytes(raw, plane, width);
      const auto more =
          plane == 0 ? padding : padding * place.step / raw.channels.front().step / place.columns;
      addPlane(layout, bytes + more, partsOf(height, place.rows));
    }
  }
  return layout;
}

}  // namespace virtual_camera
