// Feeds arbitrary bytes to everything that reads a camera's data: markers, Exif, the JPEG decoder, and
// through it the PNG writer. Whatever comes must end in a picture or a failure, and a picture must be whole.

#include <cstdlib>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "picture/PhotoRows.h"
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
constexpr std::uint64_t kPixelsWorthWriting = 1U << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  (void)picture::isCompleteJpeg(bytes);
  if (const auto exif = picture::ExifBlock::parse(bytes)) {
    if (!picture::ExifBlock::parse(exif->bytes())) std::abort();
  }
  std::string failure;
  const auto source = picture::openJpegRows(bytes, failure);
  if (!source) {
    if (failure.empty()) std::abort();
    return 0;
  }
  if (std::uint64_t{source->width()} * source->height() > kPixelsWorthWriting) return 0;
  CountingSink sink;
  const auto result = picture::writePng(*source, {}, sink, {.threads = 1});
  const bool failed = result == picture::PngResult::kSourceFailed;
  if (failed == source->failure().empty() || sink.count() == 0) std::abort();
  return 0;
}
