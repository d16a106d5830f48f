#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "picture/png/PngWriter.h"

namespace picture {

/// A chunk's length and name before its data, and its checksum behind them.
inline constexpr std::size_t kPngChunkHeadBytes = 8;
inline constexpr std::size_t kPngChunkTailBytes = 4;

/// Completes a chunk in place: `chunk` holds room for the head, the data, and room for the tail.
void finishPngChunk(std::string_view name, std::span<std::uint8_t> chunk) noexcept;

/// All that precedes the pixels: signature, IHDR, sRGB, what the metadata says, and the beginning of the
/// pixels' zlib stream, in a chunk of its own because there are several ways to go on.
[[nodiscard]] std::vector<std::uint8_t> pngBeginning(std::uint32_t width, std::uint32_t height,
                                                     const PngMetadata& metadata);

/// The end of the zlib stream, in a chunk of its own, and of the file. `adler` is that of all filtered rows.
[[nodiscard]] std::vector<std::uint8_t> pngEnd(std::uint32_t adler);

/// The Adler-32 checksum of two byte strings in a row, from theirs and the second one's length.
[[nodiscard]] std::uint32_t combineAdler(std::uint32_t first, std::uint32_t second,
                                         std::size_t secondBytes) noexcept;

}  // namespace picture
