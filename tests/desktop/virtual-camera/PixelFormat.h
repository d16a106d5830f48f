#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace virtual_camera {

enum class PixelFormat {
  kMjpg,
  kH264,   ///< offered by its name only: its frames are no pictures
  kBayer,  ///< likewise
  kYuy2,
  kUyvy,
  kYvyu,
  kVyuy,
  kNv12,
  kNv21,
  kNv16,
  kNv61,
  kNv24,
  kI420,
  kYv12,
  kY42b,
  kY444,
  kAyuv,
  kV308,
  kIyu2,
  kP010,
  kI420Ten,
  kI422Ten,
  kY444Ten,
  kI420TenBe,
  kI422Twelve,
  kV216,
  kV210,
  kUyvp,
  kGray8,
  kGray16,
  kGray16Be,
  kRgb,
  kBgr,
  kRgbx,
  kBgrx,
  kXrgb,
  kXbgr,
  kRgba,
  kBgra,
  kArgb,
  kAbgr,
  kRgb16,
  kRgb15,
};

/// "MJPG", "YUY2" …, the names of PipeWire in its own spelling.
std::string_view formatName(PixelFormat format);
std::optional<PixelFormat> formatOfName(std::string_view name);

enum class Channel : std::uint8_t { kLuma, kBlueDifference, kRedDifference, kRed, kGreen, kBlue, kUnused };

/// Where the samples of one channel lie. A sample stands for `columns` by `rows` pixels. Distances are in
/// bytes, or in samples where these lie closer than that.
struct ChannelPlace {
  Channel channel;
  std::uint8_t plane;
  std::uint8_t offset;  ///< of the first sample in a row
  std::uint8_t step;    ///< from one sample to the next in the row
  std::uint8_t columns;
  std::uint8_t rows;
};

/// How samples of more than eight bits follow each other.
enum class Packing : std::uint8_t {
  kWords,   ///< each in two bytes
  kThrees,  ///< three of ten bits in four bytes, rows completed to 128 bytes (v210)
  kString,  ///< ten bits after ten bits (UYVP)
};

/// The channels of a raw format.
struct RawFormat {
  unsigned bits = 8;   ///< of a sample
  unsigned shift = 0;  ///< by which a sample of two bytes is moved up
  std::span<const ChannelPlace> channels;
  bool isBigEndian = false;  ///< the order of a sample's two bytes
  Packing packing = Packing::kWords;
};

/// What lies where in a raw format; no channels for compressed ones and for those whose pixels are words.
RawFormat rawFormat(PixelFormat format);

/// How many bits of green are in a little-endian word of RGB, between five of red above and five of blue
/// below; 0 where a pixel is no word.
constexpr unsigned greenBits(PixelFormat format) {
  return format == PixelFormat::kRgb16 ? 6 : format == PixelFormat::kRgb15 ? 5 : 0;
}

constexpr bool isGrey(PixelFormat format) {
  return format == PixelFormat::kGray8 || format == PixelFormat::kGray16 || format == PixelFormat::kGray16Be;
}

constexpr bool isRaw(PixelFormat format) {
  return format != PixelFormat::kMjpg && format != PixelFormat::kH264 && format != PixelFormat::kBayer;
}

}  // namespace virtual_camera
