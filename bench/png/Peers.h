#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/png/Picture.h"

namespace camera_shot_bench {

/// Another way to make a PNG file of a picture.
struct Peer {
  std::string name;
  /// Answers the file's size in bytes; 0 when it failed or is not installed.
  std::function<std::size_t(const Picture&)> encode;
  /// Runs as a process of its own, start included, and reads the picture from a file.
  bool ownProcess = false;
};

/// libpng at its defaults: what everything is measured by.
std::size_t encodeByLibpng(const Picture& picture);

/// Everything else that this benchmark was built with.
std::vector<Peer> libraryPeers();
/// Programs, whether they are installed or not.
std::vector<Peer> programPeers();
/// Names of libraries that were not there when this was built.
std::vector<std::string> absentPeers();

}  // namespace camera_shot_bench
