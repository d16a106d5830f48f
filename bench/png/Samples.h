#pragma once

#include <functional>

#include "bench/png/Picture.h"

namespace camera_shot_bench {

struct SampleOptions {
  bool quick = false;
  /// Pictures of about 12 megapixels rather than 2.
  bool large = false;
};

/// Makes the generated samples one by one and hands each over; only one is in memory at a time.
void forEachGeneratedSample(const SampleOptions& options, const std::function<void(const Sample&)>& use);

/// Hands over the JPEG files of at least a megapixel below `folder`, if it exists, as samples of the kind
/// "wallpaper".
void forEachInstalledSample(const std::string& folder, const std::function<void(const Sample&)>& use);

}  // namespace camera_shot_bench
