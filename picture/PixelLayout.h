#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "picture/Frame.h"

namespace picture {

enum class ColorModel : std::uint8_t { Compressed, Yuv, Rgb, Grey };

/// How an uncompressed format lies in memory: the one description that buffers, photo and preview share.
struct PixelLayout {
  static constexpr std::size_t kMaximumPlanes = 3;

  /// A plane has a group of `groupBytes` bytes for every `1 << across` by `1 << down` pixels; for six pixels
  /// of a row where samples are packed in threes.
  struct Plane {
    std::uint8_t groupBytes = 0;
    std::uint8_t across = 0;
    std::uint8_t down = 0;
  };
  /// Where a component's first sample lies in its plane's rows, and the distance to the next: in bytes, or in
  /// samples where these are packed closer than that.
  struct Component {
    std::uint8_t plane = 0;
    std::uint8_t offset = 0;
    std::uint8_t step = 0;
  };

  /// How samples of more than eight bits follow each other.
  enum class Packing : std::uint8_t {
    Words,   ///< each in two bytes
    Threes,  ///< three of ten bits in a little-endian word of four bytes, the first in its lowest bits
    String,  ///< ten bits after ten bits, each with its highest first
  };
  /// Of samples of more than eight bits, or of pixels that are words.
  struct Word {
    bool isBigEndian = false;
    std::uint8_t shift = 0;  ///< unused bits below the sample
    Packing packing = Packing::Words;
  };
  /// A component's bits in a word, of as many bytes as the plane's groups, that all components share.
  struct Field {
    std::uint8_t shift = 0;
    std::uint8_t bits = 0;
  };

  /// The layout of `format`; without planes for MJPG.
  [[nodiscard]] static const PixelLayout& of(PixelFormat format) noexcept;

  /// Bytes of a row's pixels, without padding.
  [[nodiscard]] std::size_t rowBytes(std::size_t plane, int width) const noexcept;
  [[nodiscard]] std::size_t rows(std::size_t plane, int height) const noexcept;
  /// The stride of a plane that shares memory with the first: in the proportion of their rows, halves rounded
  /// down as V4L2 does (`bytesperline / 2`), but never less than a row.
  [[nodiscard]] std::size_t stride(std::size_t plane, std::size_t firstStride, int width) const noexcept;

  PixelFormat format;
  std::string_view name;
  ColorModel model;
  std::uint8_t bits;  ///< of a sample; the most of its components where they share a word
  std::uint8_t planeCount;
  std::array<Plane, kMaximumPlanes> planes;
  /// Luma, blue and red difference; or red, green and blue; or grey alone. None where components share a
  /// word.
  std::array<Component, 3> components;
  /// Shifts from pixels to samples of colour difference.
  std::uint8_t chromaAcross;
  std::uint8_t chromaDown;
  Word word = {};
  std::array<Field, 3> fields = {};  ///< red, green and blue, where they share a word
};

/// One plane of a frame.
struct PlaneRows {
  const std::uint8_t* data = nullptr;
  std::size_t stride = 0;

  [[nodiscard]] const std::uint8_t* row(std::size_t index) const noexcept { return data + index * stride; }
};

/// The planes of an uncompressed frame, whose bytes must outlive them. Nothing when its size is not
/// acceptable, its stride is less than a row, or bytes are missing, and `whyNot` then says which; the last
/// row of a plane may lack its padding only at the end of all bytes.
[[nodiscard]] std::optional<std::array<PlaneRows, PixelLayout::kMaximumPlanes>> planesOf(const Frame& frame,
                                                                                         std::string& whyNot);

/// What an unstated range means for the frame's format: Limited or Full.
[[nodiscard]] ColorRange rangeOf(const Frame& frame) noexcept;

}  // namespace picture
