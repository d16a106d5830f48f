#pragma once

#include <memory>

#include "picture/RowSource.h"
#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSLog.h"
#include "platform/linux/photo/PictureData.h"
#include "platform/linux/photo/SavedThumbnails.h"

namespace platform_linux {

/// As much of a photo as has been made before it is written.
struct PhotoContents {
  std::unique_ptr<picture::RowSource> rows;  ///< its rows, the header read and nothing more
  std::shared_ptr<const EncodedPhoto> file;  ///< the whole file
};

/// A captured photo as a PNG file. One that has not been made before comes into being while it is written:
/// decoded, filtered, coded and written strip by strip, so that it never is in memory as a whole and every
/// step overlaps the others.
class PngPhoto : public platform::NSData {
 public:
  /// `picture` must be given. Without `contents`, and to be written again, it opens its rows itself. `log` is
  /// told why a file could not be written, `thumbnails`, which may be null, of every file that could; they
  /// outlive this.
  PngPhoto(std::shared_ptr<const PictureData> picture, PhotoContents contents, platform::NSLog& log,
           SavedThumbnails* thumbnails);

  /// Always atomic. Also clears away what killed processes left of earlier photos in the same folder; a photo
  /// that could not be written before that is written then, once more.
  [[nodiscard]] bool writeToFile(const std::string& path, bool atomically) const override;

 private:
  /// Answers why the file is not there; empty when it is.
  [[nodiscard]] std::string whyNotWritten(const std::string& path) const;
  [[nodiscard]] std::string whyNotWritten(const std::string& path, picture::RowSource& rows) const;

  const std::shared_ptr<const PictureData> picture_;
  mutable PhotoContents contents_;
  platform::NSLog& log_;
  SavedThumbnails* const thumbnails_;
};

}  // namespace platform_linux
