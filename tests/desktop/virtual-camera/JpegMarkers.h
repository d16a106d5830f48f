#pragma once

#include <cstddef>
#include <cstdint>

#include "tests/desktop/virtual-camera/FrameLayout.h"

namespace virtual_camera {

/// The second bytes of markers (ITU-T T.81, table B.1).
namespace jpeg_marker {
constexpr std::uint8_t kHuffmanTables = 0xc4;
constexpr std::uint8_t kFirstRestart = 0xd0;
constexpr std::uint8_t kLastRestart = 0xd7;
constexpr std::uint8_t kEnd = 0xd9;
constexpr std::uint8_t kScan = 0xda;
}  // namespace jpeg_marker

/// The coded data of the first scan, without its header and without the marker that ends it.
struct Scan {
  std::size_t first = 0;
  std::size_t size = 0;
};

/// The functions below take whole JPEGs as libjpeg writes them.
Scan scanOf(const Bytes& jpeg);
/// Puts `count` bytes that are no marker before each restart marker of the first scan.
void insertBeforeRestarts(Bytes& jpeg, std::size_t count);
/// Bytes that are not zero and no marker.
void appendRubbish(Bytes& bytes, std::size_t count);

}  // namespace virtual_camera
