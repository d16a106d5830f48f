#include "platform/linux/photo/PngPhoto.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "picture/PhotoRows.h"
#include "picture/png/PngWriter.h"
#include "platform/linux/storage/AtomicFile.h"

namespace platform_linux {
namespace {

std::string errorText(int error) {
  return std::generic_category().message(error);
}

/// Answers why the file is not there; empty when it is.
std::string whyNotCopied(const EncodedPhoto& photo, const std::string& path) {
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  if (!file) return errorText(error);
  const auto writes = [&](const auto& piece) { return file->write(piece); };
  const bool isWritten = std::all_of(photo.pieces.begin(), photo.pieces.end(), writes);
  return isWritten && file->commit() ? "" : errorText(file->error());
}

}  // namespace

PngPhoto::PngPhoto(std::shared_ptr<const PictureData> picture, PhotoContents contents, platform::NSLog& log,
                   SavedThumbnails* thumbnails)
    : picture_(std::move(picture)), contents_(std::move(contents)), log_(log), thumbnails_(thumbnails) {}

bool PngPhoto::writeToFile(const std::string& path, bool) const {
  std::string why = whyNotWritten(path);
  const int removed = removeLeftovers(std::filesystem::path(path).parent_path());
  // They may be what had filled the disk.
  if (!why.empty() && removed > 0) why = whyNotWritten(path);
  if (!why.empty()) log_.log("Cannot save " + path + ": " + why);
  return why.empty();
}

std::string PngPhoto::whyNotWritten(const std::string& path) const {
  if (const auto file = std::exchange(contents_.file, nullptr)) {
    std::string failure = whyNotCopied(*file, path);
    if (failure.empty() && thumbnails_) thumbnails_->remember(path, file->thumbnail);
    return failure;
  }
  std::string failure;
  auto rows = std::move(contents_.rows);
  if (!rows) rows = picture::openPhotoRows(picture_->frame(), picture_->mirrored(), failure);
  if (!rows) return failure;
  if (!thumbnails_) return whyNotWritten(path, *rows);
  picture::ThumbnailRows passing(*rows, SavedThumbnails::kSide);
  failure = whyNotWritten(path, passing);
  if (failure.empty()) thumbnails_->remember(path, passing.take());
  return failure;
}

std::string PngPhoto::whyNotWritten(const std::string& path, picture::RowSource& rows) const {
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  if (!file) return errorText(error);
  switch (picture::writePng(rows, {.captureTime = picture_->frame().captured}, *file)) {
    case picture::PngResult::Written:
      return file->commit() ? "" : errorText(file->error());
    case picture::PngResult::SourceFailed:
      return rows.failure();
    case picture::PngResult::SinkFailed:
      return errorText(file->error());
    case picture::PngResult::OutOfMemory:
      break;
  }
  return errorText(ENOMEM);
}

}  // namespace platform_linux
