#include "tests/desktop/virtual-camera/JpegMarkers.h"

namespace virtual_camera {
namespace {

constexpr std::size_t kFirstSegment = 2;  // after the start marker

std::size_t segmentEnd(const Bytes& jpeg, std::size_t at) {
  return at + 2 + (std::size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
}

bool isRestart(std::uint8_t marker) {
  return marker >= jpeg_marker::kFirstRestart && marker <= jpeg_marker::kLastRestart;
}

/// Whether a marker begins here in coded data, in which a zero after 0xff makes it a mere byte.
bool isMarker(const Bytes& jpeg, std::size_t at) {
  return jpeg[at] == 0xff && jpeg[at + 1] != 0;
}

}  // namespace

Scan scanOf(const Bytes& jpeg) {
  auto at = kFirstSegment;
  while (jpeg[at + 1] != jpeg_marker::kScan)
    at = segmentEnd(jpeg, at);
  const auto first = segmentEnd(jpeg, at);
  auto end = first;
  while (end + 1 < jpeg.size() && (!isMarker(jpeg, end) || isRestart(jpeg[end + 1])))
    ++end;
  return {first, end - first};
}

void insertBeforeRestarts(Bytes& jpeg, std::size_t count) {
  const auto scan = scanOf(jpeg);
  Bytes changed(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(scan.first));
  for (auto at = scan.first; at < jpeg.size(); ++at) {
    const bool inScan = at < scan.first + scan.size;
    if (inScan && isMarker(jpeg, at) && isRestart(jpeg[at + 1])) appendRubbish(changed, count);
    changed.push_back(jpeg[at]);
  }
  jpeg = std::move(changed);
}

void appendRubbish(Bytes& bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    bytes.push_back(static_cast<std::uint8_t>(1 + i % 0xfd));
}

}  // namespace virtual_camera
