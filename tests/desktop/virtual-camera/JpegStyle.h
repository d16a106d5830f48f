#pragma once

#include <cstddef>
#include <string>

namespace virtual_camera {

/// How the camera codes its JPEG frames, and what is odd about them although the picture is whole.
struct JpegStyle {
  enum class Sampling { k422, k420, k444, kGrey, kCmyk, kYcck };

  Sampling sampling = Sampling::k422;
  int quality = 85;  ///< 1 to 100
  bool progressive = false;
  unsigned restart = 0;            ///< a restart marker after so many blocks (MCU); none when 0
  bool withoutTables = false;      ///< no Huffman tables: the standard's own are meant
  std::size_t strayAtRestart = 0;  ///< bytes before each restart marker
  std::size_t strayAtEnd = 0;      ///< bytes before the end marker
  std::size_t zerosAfter = 0;      ///< zero bytes after the end marker
  std::size_t rubbishAfter = 0;    ///< other bytes there
  bool withoutEnd = false;         ///< no end marker
  bool secondEnd = false;          ///< the end marker comes twice
  bool lateHeight = false;         ///< the height stands behind the scan only (DNL)
  std::size_t before = 0;          ///< bytes of the camera's own before the start marker
  unsigned orientation = 0;        ///< of an Exif tag, 1 to 8; no Exif when 0

  bool operator==(const JpegStyle&) const = default;
};

/// Reads one word of a camera's `jpeg` key into `style`. Throws std::invalid_argument.
void parseJpegWord(const std::string& text, JpegStyle& style);

}  // namespace virtual_camera
