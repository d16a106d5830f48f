#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/png/Picture.h"

namespace camera_shot_bench {

struct SampleOptions {
  bool quick = false;
  /// Pictures of about 12 megapixels rather than 2.
  bool large = false;
};

/// Makes the generated samples one by one and hands each over; only one is in memory at a time.
void forEachGeneratedSample(const SampleOptions& options, const std::function<void(const Sample&)>& use);

/// Hands over the JPEG files of at least a megapixel below `folders`, as far as those exist, as samples of
/// the kind "wallpaper", and the large ones once more at half the size, as "halved wallpaper": clean, like
/// the photographs of cameras that take the noise away.
void forEachInstalledSample(const std::vector<std::string>& folders,
                            const std::function<void(const Sample&)>& use);

}  // namespace camera_shot_bench
