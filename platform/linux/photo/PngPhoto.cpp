#include "platform/linux/photo/PngPhoto.h"

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

}  // namespace

PngPhoto::PngPhoto(std::shared_ptr<const PictureData> picture, std::unique_ptr<picture::RowSource> rows,
                   platform::NSLog& log, SavedThumbnails* thumbnails)
    : picture_(std::move(picture)), rows_(std::move(rows)), log_(log), thumbnails_(thumbnails) {}

bool PngPhoto::writeToFile(const std::string& path, bool) const {
  const std::string why = whyNotWritten(path);
  if (!why.empty()) log_.log("Cannot save " + path + ": " + why);
  removeLeftovers(std::filesystem::path(path).parent_path());
  return why.empty();
}

std::string PngPhoto::whyNotWritten(const std::string& path) const {
  std::string failure;
  auto rows = std::move(rows_);
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
