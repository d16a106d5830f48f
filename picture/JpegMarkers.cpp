#include "picture/JpegMarkers.h"

#include <algorithm>
#include <array>

#include "picture/ExifBlock.h"

namespace picture {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kMarkerPrefix = 0xFF;
constexpr std::uint8_t kStartOfImage = 0xD8;
constexpr std::uint8_t kEndOfImage = 0xD9;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::uint8_t kApp1 = 0xE1;
constexpr std::uint8_t kFirstRestart = 0xD0;
constexpr std::uint8_t kTemporary = 0x01;
constexpr std::array<std::uint8_t, 6> kExifSignature = {'E', 'x', 'i', 'f', 0, 0};
constexpr std::size_t kMarkerBytes = 2;
constexpr std::size_t kLengthBytes = 2;

bool beginsWithStartOfImage(Bytes jpeg) {
  return jpeg.size() >= kMarkerBytes && jpeg[0] == kMarkerPrefix && jpeg[1] == kStartOfImage;
}

// The segment at `offset`; markers that carry no length (restarts, image borders) do not belong into a
// header.
std::optional<JpegSegment> segmentAt(Bytes jpeg, std::size_t offset) {
  std::size_t at = offset;
  if (at >= jpeg.size() || jpeg[at] != kMarkerPrefix) return std::nullopt;
  while (at < jpeg.size() && jpeg[at] == kMarkerPrefix)
    ++at;  // any number of fill bytes may precede a marker
  if (at + 1 + kLengthBytes > jpeg.size()) return std::nullopt;
  const std::uint8_t marker = jpeg[at++];
  if (marker == 0 || marker == kTemporary || (marker >= kFirstRestart && marker <= kEndOfImage)) {
    return std::nullopt;
  }
  const std::size_t length = static_cast<std::size_t>(jpeg[at]) << 8 | jpeg[at + 1];
  if (length < kLengthBytes || length > jpeg.size() - at) return std::nullopt;
  return JpegSegment{marker, offset, at + length - offset,
                     jpeg.subspan(at + kLengthBytes, length - kLengthBytes)};
}

bool isExif(const JpegSegment& segment) {
  return segment.marker == kApp1 && segment.payload.size() >= kExifSignature.size() &&
         std::equal(kExifSignature.begin(), kExifSignature.end(), segment.payload.begin());
}

void appendExifSegment(std::vector<std::uint8_t>& out, const std::vector<std::uint8_t>& payload) {
  const std::size_t length = kLengthBytes + kExifSignature.size() + payload.size();
  out.push_back(kMarkerPrefix);
  out.push_back(kApp1);
  out.push_back(static_cast<std::uint8_t>(length >> 8));
  out.push_back(static_cast<std::uint8_t>(length));
  out.insert(out.end(), kExifSignature.begin(), kExifSignature.end());
  out.insert(out.end(), payload.begin(), payload.end());
}

}  // namespace

std::optional<std::vector<JpegSegment>> jpegHeaderSegments(Bytes jpeg) {
  if (!beginsWithStartOfImage(jpeg)) return std::nullopt;
  std::vector<JpegSegment> segments;
  std::size_t offset = kMarkerBytes;
  while (true) {
    const auto segment = segmentAt(jpeg, offset);
    if (!segment) return std::nullopt;
    segments.push_back(*segment);
    if (segment->marker == kStartOfScan) return segments;
    offset += segment->size;
  }
}

bool isCompleteJpeg(Bytes jpeg) {
  const auto segments = jpegHeaderSegments(jpeg);
  if (!segments) return false;
  const std::size_t scanData = segments->back().offset + segments->back().size;
  std::size_t end = jpeg.size();
  while (end > scanData && jpeg[end - 1] == 0)
    --end;
  return end >= scanData + kMarkerBytes && jpeg[end - 1] == kEndOfImage && jpeg[end - 2] == kMarkerPrefix;
}

std::optional<ExifBlock> exifOfJpeg(Bytes jpeg) {
  const auto segments = jpegHeaderSegments(jpeg);
  if (!segments) return std::nullopt;
  const auto exif = std::find_if(segments->begin(), segments->end(), isExif);
  if (exif == segments->end()) return std::nullopt;
  return ExifBlock::parse(exif->payload.subspan(kExifSignature.size()));
}

std::optional<std::vector<std::uint8_t>> jpegWithExif(Bytes jpeg, const ExifBlock& exif) {
  const auto segments = jpegHeaderSegments(jpeg);
  if (!segments) return std::nullopt;
  const auto payload = exif.bytes();
  std::vector<std::uint8_t> out;
  out.reserve(jpeg.size() + payload.size() + 16);
  out.assign({kMarkerPrefix, kStartOfImage});
  appendExifSegment(out, payload);
  auto copied = jpeg.begin() + kMarkerBytes;
  for (const JpegSegment& segment : *segments) {
    if (!isExif(segment)) continue;
    const auto begin = jpeg.begin() + static_cast<std::ptrdiff_t>(segment.offset);
    out.insert(out.end(), copied, begin);
    copied = begin + static_cast<std::ptrdiff_t>(segment.size);
  }
  out.insert(out.end(), copied, jpeg.end());
  return out;
}

}  // namespace picture
