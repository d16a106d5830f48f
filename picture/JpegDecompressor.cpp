#include "picture/JpegDecompressor.h"

#include <algorithm>
#include <jerror.h>
#include <type_traits>

#include "picture/RowSource.h"

namespace picture {
namespace {

// A small file can ask for thousands of passes over a large picture; photographs have some ten.
constexpr int kMaximumScans = 100;

// Rows asked of the decoder at once; it gives no more than two or so, whatever is asked.
constexpr std::size_t kRowsAtOnce = 16;

constexpr char kBadSizeText[] = "Picture size is zero or too large";
constexpr char kTooManyScansText[] = "Too many scans";

// Some cameras put bytes between the coded picture and its end marker, which harms no pixel.
bool isPaddingBeforeEnd(const jpeg_error_mgr& error) {
  return error.msg_code == JWRN_EXTRANEOUS_DATA && error.msg_parm.i[1] == JPEG_EOI;
}

bool isHarmless(const jpeg_error_mgr& error) {
  return isPaddingBeforeEnd(error) || error.msg_code == JWRN_JFIF_MAJOR || error.msg_code == JWRN_ADOBE_XFORM;
}

}  // namespace

JpegDecompressor::JpegDecompressor() noexcept {
  decoder_.err = jpeg_std_error(&errors_.base);
  errors_.base.error_exit = &JpegDecompressor::onError;
  errors_.base.emit_message = &JpegDecompressor::onMessage;
  errors_.owner = this;
  progress_.progress_monitor = &JpegDecompressor::onProgress;
}

JpegDecompressor::~JpegDecompressor() {
  // Before `start` there is nothing to destroy, and the decoder knows that from its zeroed memory manager.
  jpeg_destroy_decompress(&decoder_);
}

// Runs `step` so that an error of the decoder comes back as false. The jump passes over the decoder's own C
// frames and `step` only, which therefore must own nothing.
template <typename Step>
bool JpegDecompressor::attempt(Step step) noexcept {
  static_assert(std::is_trivially_destructible_v<Step>);
  if (setjmp(escape_) != 0) return false;
  step();
  return true;
}

void JpegDecompressor::fail(j_common_ptr decoder) noexcept {
  (*decoder->err->format_message)(decoder, failure_);
  std::longjmp(escape_, 1);
}

void JpegDecompressor::onError(j_common_ptr decoder) noexcept {
  reinterpret_cast<ErrorManager*>(decoder->err)->owner->fail(decoder);
}

void JpegDecompressor::onMessage(j_common_ptr decoder, int level) noexcept {
  // Levels of zero and above are traces.
  if (level < 0 && !isHarmless(*decoder->err)) onError(decoder);
}

void JpegDecompressor::onProgress(j_common_ptr decoder) noexcept {
  const auto* decompressor = reinterpret_cast<j_decompress_ptr>(decoder);
  if (decompressor->input_scan_number <= kMaximumScans) return;
  auto* self = reinterpret_cast<ErrorManager*>(decoder->err)->owner;
  std::copy(std::begin(kTooManyScansText), std::end(kTooManyScansText), self->failure_);
  std::longjmp(self->escape_, 1);
}

bool JpegDecompressor::start(std::span<const std::uint8_t> jpeg) noexcept {
  const bool headerRead = attempt([this, jpeg] {
    jpeg_create_decompress(&decoder_);
    decoder_.progress = &progress_;
    jpeg_mem_src(&decoder_, jpeg.data(), jpeg.size());
    jpeg_read_header(&decoder_, TRUE);
  });
  if (!headerRead) return false;
  if (!isAcceptablePictureSize(decoder_.image_width, decoder_.image_height)) {
    std::copy(std::begin(kBadSizeText), std::end(kBadSizeText), failure_);
    return false;
  }
  return attempt([this] {
    decoder_.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decoder_);
  });
}

bool JpegDecompressor::readRows(std::span<std::uint8_t> rows) noexcept {
  return attempt([this, rows] {
    const std::size_t rowBytes = decoder_.output_width * kBytesPerPixel;
    const std::size_t count = rows.size() / rowBytes;
    for (std::size_t row = 0; row < count;) {
      JSAMPROW pointers[kRowsAtOnce];
      const std::size_t asked = std::min(kRowsAtOnce, count - row);
      for (std::size_t i = 0; i < asked; ++i)
        pointers[i] = rows.data() + (row + i) * rowBytes;
      row += jpeg_read_scanlines(&decoder_, pointers, static_cast<JDIMENSION>(asked));
    }
    if (decoder_.output_scanline == decoder_.output_height) jpeg_finish_decompress(&decoder_);
  });
}

}  // namespace picture
