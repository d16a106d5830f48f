#include "platform/linux/photo/EncodedPhoto.h"

#include <new>
#include <string>

#include "picture/PhotoRows.h"
#include "platform/linux/photo/SavedThumbnails.h"

namespace platform_linux {
namespace {

/// Keeps what is written, piece by piece: nothing is ever moved to make room.
class Pieces final : public picture::ByteSink {
 public:
  explicit Pieces(EncodedPhoto& photo) : photo_(photo) {}

  [[nodiscard]] bool write(std::span<const std::uint8_t> bytes) noexcept override {
    try {
      photo_.pieces.emplace_back(bytes.begin(), bytes.end());
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }

 private:
  EncodedPhoto& photo_;
};

}  // namespace

std::shared_ptr<const EncodedPhoto> encodePhoto(const picture::Frame& frame, bool isMirrored,
                                                picture::PngResult& whyNot) {
  whyNot = picture::PngResult::SourceFailed;
  std::string reason;
  const auto rows = picture::openPhotoRows(frame, isMirrored, reason);
  if (!rows) return nullptr;
  const auto photo = std::make_shared<EncodedPhoto>();
  photo->isMirrored = isMirrored;
  Pieces pieces(*photo);
  picture::ThumbnailRows passing(*rows, SavedThumbnails::kSide);
  whyNot = picture::writePng(passing, {.captureTime = frame.captured}, pieces);
  if (whyNot != picture::PngResult::Written) return nullptr;
  photo->thumbnail = passing.take();
  return photo;
}

}  // namespace platform_linux
