#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Of a JPEG stream's syntax (ITU-T T.81, Annex B) what several readers of it need.
namespace picture::jpeg_syntax {

/// What each marker begins with.
inline constexpr std::uint8_t kMarkerPrefix = 0xFF;
inline constexpr std::size_t kMarkerBytes = 2;
inline constexpr std::size_t kLengthBytes = 2;

/// RST0 to RST7.
inline constexpr std::uint8_t kFirstRestart = 0xD0;
inline constexpr unsigned kRestartNumbers = 8;

/// Where these begin in a frame header's payload (B.2.2).
inline constexpr std::size_t kHeightInFrame = 1;  // behind the bits a sample
inline constexpr std::size_t kWidthInFrame = 3;

[[nodiscard]] inline std::uint16_t numberAt(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

/// Writes the lower 16 bits.
inline void putNumber(std::span<std::uint8_t> bytes, std::size_t at, std::size_t number) {
  bytes[at] = static_cast<std::uint8_t>(number >> 8);
  bytes[at + 1] = static_cast<std::uint8_t>(number);
}

}  // namespace picture::jpeg_syntax
