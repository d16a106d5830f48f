#pragma once

#include <array>

#include "picture/PixelFormat.h"

namespace camera_shot_test {

/// An uncompressed format by its public description, and not by the code under test.
struct RawFormat {
  enum class Model { None, Yuv, Rgb, Grey };
  enum class Packing {
    Whole,   ///< each sample in one byte, or two where it has more than eight bits
    Threes,  ///< three of ten bits in four bytes, the first in the lowest bits of a little-endian word
    String,  ///< ten bits after ten bits, each sample with its highest first
  };
  /// How many pixels share a sample of colour difference.
  struct Sampling {
    int across = 1;
    int down = 1;
  };
  /// What the first plane's rows are made of.
  struct Group {
    int bytes = 0;
    int pixels = 1;
  };
  /// Where the samples of luma and both colour differences, or of red, green and blue, or of grey, lie in the
  /// rows of their plane: in bytes, or in samples where these are packed.
  struct Place {
    int plane = 0;
    int offset = 0;
    int step = 0;
  };
  /// Red, green and blue in one word: the lowest bit and the largest number of each.
  struct SharedWord {
    std::array<int, 3> shifts{};
    int bytes = 0;  ///< 0: there is none
    std::array<int, 3> largest{};
  };

  const char* name = "";
  Model model = Model::None;
  int bits = 8;  ///< of a sample
  Sampling sampling = {};
  Group group = {};
  std::array<Place, 3> places = {};
  SharedWord word = {};
  bool isBigEndian = false;
  int unusedBits = 0;  ///< below the sample in its word
  Packing packing = Packing::Whole;
};

const RawFormat& rawFormat(picture::PixelFormat format);

}  // namespace camera_shot_test
