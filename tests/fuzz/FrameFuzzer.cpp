// Feeds arbitrary bytes to everything that reads a camera's data: markers, Exif, layouts, the JPEG decoder,
// and through it the PNG writer and the preview. Whatever comes must end in a picture or a failure, and a
// picture must be whole. The last bytes of the input are the frame's fields, the others its data.

#include <array>
#include <cstdlib>
#include <cstring>

#include "picture/ExifBlock.h"
#include "picture/FrameHealth.h"
#include "picture/FrameOrientation.h"
#include "picture/JpegMarkers.h"
#include "picture/PhotoRows.h"
#include "picture/PreviewDecoder.h"
#include "picture/png/PngWriter.h"

namespace {

/// Takes everything, keeps nothing.
class CountingSink final : public picture::ByteSink {
 public:
  bool write(std::span<const std::uint8_t> bytes) noexcept override {
    count_ += bytes.size();
    return true;
  }
  [[nodiscard]] std::size_t count() const { return count_; }

 private:
  std::size_t count_ = 0;
};

// Pictures beyond this only take time.
constexpr std::int64_t kPixelsWorthWriting = 1 << 18;

struct Fields {
  std::int16_t width;
  std::int16_t height;
  std::int16_t stride;
  std::uint8_t format;  // more values than there are formats: the rest is JPEG
  std::uint8_t transform;
  std::uint8_t colors;
  std::uint8_t view;
};

picture::Frame frameOf(std::span<const std::uint8_t> data, const Fields& fields) {
  picture::Frame frame;
  const bool isKnown = fields.format < picture::kAllPixelFormats.size();
  frame.format = isKnown ? picture::kAllPixelFormats[fields.format] : picture::PixelFormat::MJPG;
  frame.width = fields.width;
  frame.height = fields.height;
  frame.stride = fields.stride;
  frame.transform = static_cast<picture::Transform>(fields.transform % 8);
  frame.isDamaged = fields.transform >= 128;
  frame.matrix = static_cast<picture::ColorMatrix>(fields.colors % 5);
  frame.range = static_cast<picture::ColorRange>(fields.colors / 5 % 3);
  frame.bytes.assign(data.begin(), data.end());
  return frame;
}

void require(bool holds) {
  if (!holds) std::abort();
}

bool writePhoto(const picture::Frame& frame, bool isMirrored) {
  std::string failure;
  const auto source = picture::openPhotoRows(frame, isMirrored, failure);
  require((source == nullptr) != failure.empty());
  if (!source) return false;
  CountingSink sink;
  const auto result = picture::writePng(*source, {}, sink, {.threads = 1});
  const bool failed = result == picture::PngResult::SourceFailed;
  require(failed != source->failure().empty() && sink.count() != 0);
  return !failed;
}

void showPreview(const picture::Frame& frame, std::uint8_t view, bool isPhoto) {
  picture::PixelBufferPool pool;
  const picture::PictureRequest request{
      .view = {1 + view, 1 + view / 2}, .mirrored = view % 2 != 0, .mayEnlarge = view % 3 == 0};
  const auto shown = picture::decodeForView(frame, request, pool);
  require(shown.has_value() == isPhoto);
  require(!shown || shown->size == picture::decodedSize(frame, request));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fields fields{};
  if (size < sizeof fields) return 0;
  const std::span bytes(data, size - sizeof fields);
  std::memcpy(&fields, data + bytes.size(), sizeof fields);
  if (const auto exif = picture::ExifBlock::parse(bytes))
    require(picture::ExifBlock::parse(exif->bytes()).has_value());
  (void)picture::sizeOfJpeg(bytes);
  const picture::Frame frame = frameOf(bytes, fields);
  const auto stored = picture::storedSize(frame);
  if (picture::isAcceptablePictureSize(stored) &&
      std::int64_t{stored.width} * stored.height > kPixelsWorthWriting)
    return 0;
  const auto health = picture::examineFrame(frame);
  require(health.lostPart >= 0 && health.lostPart <= 1);
  const bool isPhoto = writePhoto(frame, fields.view % 2 != 0);
  if (!frame.isDamaged) require(isPhoto == health.isWhole());
  if (health.isWhole() && frame.format == picture::PixelFormat::MJPG)
    require(picture::sizeOfJpeg(bytes).has_value());
  showPreview(frame, fields.view, isPhoto);
  return 0;
}
