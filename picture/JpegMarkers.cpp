#include "picture/JpegMarkers.h"

#include <algorithm>
#include <array>

#include "picture/ExifBlock.h"
#include "picture/JpegSyntax.h"

namespace picture {
namespace {

using Bytes = std::span<const std::uint8_t>;

using jpeg_syntax::kFirstRestart, jpeg_syntax::kRestartNumbers;
using jpeg_syntax::kHeightInFrame, jpeg_syntax::kWidthInFrame;
using jpeg_syntax::kLengthBytes, jpeg_syntax::kMarkerBytes, jpeg_syntax::kMarkerPrefix;
using jpeg_syntax::numberAt, jpeg_syntax::putNumber;

constexpr std::uint8_t kStartOfImage = 0xD8;
constexpr std::uint8_t kEndOfImage = 0xD9;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::uint8_t kNumberOfLines = 0xDC;
constexpr std::uint8_t kApp1 = 0xE1;
constexpr std::uint8_t kTemporary = 0x01;
constexpr std::array<std::uint8_t, 6> kExifSignature = {'E', 'x', 'i', 'f', 0, 0};
constexpr std::size_t kFrameHeaderBytes = 6;  // at the least

bool beginsWithStartOfImage(Bytes jpeg) {
  return jpeg.size() >= kMarkerBytes && jpeg[0] == kMarkerPrefix && jpeg[1] == kStartOfImage;
}

bool standsAlone(std::uint8_t marker) {
  return marker == kTemporary || (marker >= kFirstRestart && marker < kFirstRestart + kRestartNumbers);
}

// Where the next marker's prefix is, from `offset` on; other bytes and markers without a segment are passed
// over.
std::size_t nextMarker(Bytes jpeg, std::size_t offset) {
  for (std::size_t at = offset; at + 1 < jpeg.size(); ++at) {
    if (jpeg[at] != kMarkerPrefix) continue;
    const std::uint8_t marker = jpeg[at + 1];
    if (marker != 0 && marker != kMarkerPrefix && !standsAlone(marker)) return at;
  }
  return jpeg.size();
}

// The next segment from `offset` on; the image's borders do not belong into a header.
std::optional<JpegSegment> segmentFrom(Bytes jpeg, std::size_t offset) {
  const std::size_t begin = nextMarker(jpeg, offset);
  const std::size_t at = begin + kMarkerBytes;
  if (at + kLengthBytes > jpeg.size()) return std::nullopt;
  const std::uint8_t marker = jpeg[begin + 1];
  if (marker == kStartOfImage || marker == kEndOfImage) return std::nullopt;
  // A length counts itself; decoders take less than that for an empty segment.
  const std::size_t length = std::max(static_cast<std::size_t>(jpeg[at]) << 8 | jpeg[at + 1], kLengthBytes);
  if (length > jpeg.size() - at) return std::nullopt;
  return JpegSegment{marker, begin, at + length - begin,
                     jpeg.subspan(at + kLengthBytes, length - kLengthBytes)};
}

// SOF0 to SOF15 but for DHT, JPG and DAC, which lie among them.
bool isFrameHeader(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

const JpegSegment* frameHeaderOf(const std::vector<JpegSegment>& segments) {
  const auto frame = std::find_if(segments.begin(), segments.end(),
                                  [](const JpegSegment& segment) { return isFrameHeader(segment.marker); });
  return frame == segments.end() || frame->payload.size() < kFrameHeaderBytes ? nullptr : &*frame;
}

// What stands behind the scan that is the last of these segments; 0 when no height does.
int heightBehindTheScan(Bytes jpeg, const std::vector<JpegSegment>& segments) {
  const JpegSegment& scan = segments.back();
  const auto lines = segmentFrom(jpeg, scan.offset + scan.size);
  return lines && lines->marker == kNumberOfLines && lines->payload.size() == 2 ? numberAt(lines->payload, 0)
                                                                                : 0;
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
    const auto segment = segmentFrom(jpeg, offset);
    if (!segment) return std::nullopt;
    segments.push_back(*segment);
    offset = segment->offset + segment->size;
    if (segment->marker == kStartOfScan) return segments;
  }
}

std::optional<PixelSize> sizeOfJpeg(Bytes jpeg) {
  const auto segments = jpegHeaderSegments(jpeg);
  if (!segments) return std::nullopt;
  const JpegSegment* const frame = frameHeaderOf(*segments);
  if (!frame) return std::nullopt;
  PixelSize size{numberAt(frame->payload, kWidthInFrame), numberAt(frame->payload, kHeightInFrame)};
  if (size.height == 0) size.height = heightBehindTheScan(jpeg, *segments);
  return isAcceptablePictureSize(size) ? std::optional(size) : std::nullopt;
}

std::optional<std::vector<std::uint8_t>> jpegWithItsHeight(Bytes jpeg) {
  const auto segments = jpegHeaderSegments(jpeg);
  const JpegSegment* const frame = segments ? frameHeaderOf(*segments) : nullptr;
  if (!frame || numberAt(frame->payload, kHeightInFrame) != 0) return std::nullopt;
  const int height = heightBehindTheScan(jpeg, *segments);
  if (height == 0) return std::nullopt;
  std::vector<std::uint8_t> out(jpeg.begin(), jpeg.end());
  const std::size_t at = frame->offset + kMarkerBytes + kLengthBytes + kHeightInFrame;
  putNumber(out, at, static_cast<std::size_t>(height));
  return out;
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
