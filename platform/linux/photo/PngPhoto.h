#pragma once

#include <memory>

#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSLog.h"
#include "platform/linux/photo/PictureData.h"

namespace platform_linux {

/// A captured photo as a PNG file that comes into being while it is written: decoded, filtered, coded and
/// written strip by strip, so that it never is in memory as a whole and every step overlaps the others.
class PngPhoto : public platform::NSData {
 public:
  /// `picture` must be given. `log` is told why a file could not be written; it outlives this.
  PngPhoto(std::shared_ptr<const PictureData> picture, platform::NSLog& log);

  /// Always atomic. Also clears away what killed processes left of earlier photos in the same folder.
  bool writeToFile(const std::string& path, bool atomically) const override;

 private:
  /// Answers why the file is not there; empty when it is.
  std::string whyNotWritten(const std::string& path) const;

  const std::shared_ptr<const PictureData> picture_;
  platform::NSLog& log_;
};

}  // namespace platform_linux
