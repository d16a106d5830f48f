#include "picture/JpegDecoder.h"

#include <algorithm>
#include <jerror.h>
#include <type_traits>

namespace picture {
namespace {

// A small file can ask for thousands of passes over a large picture; photographs have some ten.
constexpr int kMaximumScans = 100;

// Rows asked of the decoder at once; it gives no more than two or so, whatever is asked.
constexpr std::size_t kRowsAtOnce = 16;

constexpr unsigned kScaleDenominator = 8;

constexpr char kBadSizeText[] = "Picture size is zero or too large";
constexpr char kTooManyScansText[] = "Too many scans";

J_COLOR_SPACE colorSpaceOf(JpegDecoder::Pixels pixels) {
  switch (pixels) {
    case JpegDecoder::Pixels::Bgra:
      return JCS_EXT_BGRA;
    case JpegDecoder::Pixels::Luma:
      return JCS_GRAYSCALE;
    case JpegDecoder::Pixels::Rgb:
      break;
  }
  return JCS_RGB;
}

}  // namespace

std::unique_ptr<JpegDecoder> JpegDecoder::open(std::span<const std::uint8_t> jpeg, const Options& options,
                                               std::string& whyNot) {
  std::unique_ptr<JpegDecoder> decoder(new JpegDecoder(options));
  if (decoder->start(jpeg)) return decoder;
  whyNot = decoder->failure();
  return nullptr;
}

JpegDecoder::JpegDecoder(const Options& options) noexcept : options_(options) {
  decoder_.err = jpeg_std_error(&errors_.base);
  errors_.base.error_exit = &JpegDecoder::onError;
  errors_.base.emit_message = &JpegDecoder::onMessage;
  errors_.owner = this;
  progress_.progress_monitor = &JpegDecoder::onProgress;
}

JpegDecoder::~JpegDecoder() {
  // Before `start` there is nothing to destroy, and the decoder knows that from its zeroed memory manager.
  jpeg_destroy_decompress(&decoder_);
}

// Runs `step` so that an error of the decoder comes back as false. The jump passes over the decoder's own C
// frames and `step` only, which therefore must own nothing.
template <typename Step>
bool JpegDecoder::attempt(Step step) noexcept {
  static_assert(std::is_trivially_destructible_v<Step>);
  if (setjmp(escape_) != 0) return false;
  step();
  return true;
}

void JpegDecoder::fail(j_common_ptr decoder) noexcept {
  (*decoder->err->format_message)(decoder, failure_);
  std::longjmp(escape_, 1);
}

void JpegDecoder::onError(j_common_ptr decoder) noexcept {
  reinterpret_cast<ErrorManager*>(decoder->err)->owner->fail(decoder);
}

// Levels of zero and above are traces.
void JpegDecoder::onMessage(j_common_ptr decoder, int level) noexcept {
  auto* self = reinterpret_cast<ErrorManager*>(decoder->err)->owner;
  if (level >= 0 || !self->costsPixels(decoder->err->msg_code)) return;
  if (self->options_.damage == Damage::Fails || !self->isHeaderRead_) self->fail(decoder);
  self->countLoss();
}

void JpegDecoder::onProgress(j_common_ptr decoder) noexcept {
  const auto* decompressor = reinterpret_cast<j_decompress_ptr>(decoder);
  if (decompressor->input_scan_number <= kMaximumScans) return;
  auto* self = reinterpret_cast<ErrorManager*>(decoder->err)->owner;
  std::copy(std::begin(kTooManyScansText), std::end(kTooManyScansText), self->failure_);
  std::longjmp(self->escape_, 1);
}

bool JpegDecoder::costsPixels(int warning) const noexcept {
  switch (warning) {
    case JWRN_HIT_MARKER:  // the data of an interval ends before its last pixel
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:  // another restart marker than the next one
    case JWRN_NOT_SEQUENTIAL:
    case JWRN_BOGUS_PROGRESSION:
      return true;
    case JWRN_JPEG_EOF:
      // Alone it says that the end marker is missing: where Huffman-coded data ended too early,
      // JWRN_HIT_MARKER follows. Of several scans the last may be missing altogether, which nothing else
      // says.
      return !isHeaderRead_ || decoder_.arith_code || hasSeveralScans_;
    default:
      return false;
  }
}

// Without restart markers everything behind the damage is lost; with them what is left of the interval.
void JpegDecoder::countLoss() noexcept {
  const unsigned rows = decoder_.total_iMCU_rows;
  // Between two scans the decoder still stands at the end of the last one: all of the next is lost.
  const unsigned row = decoder_.input_iMCU_row < rows ? decoder_.input_iMCU_row : 0;
  const unsigned interval = decoder_.restart_interval;
  const unsigned across = std::max(decoder_.MCUs_per_row, 1U);
  const unsigned end = interval == 0 ? rows : std::min(rows, row + (interval + across - 1) / across);
  const unsigned begin = std::max(row, countedUpTo_);
  if (end <= begin) return;
  lostRows_ += end - begin;
  countedUpTo_ = end;
}

double JpegDecoder::lostPart() const noexcept {
  return decoder_.total_iMCU_rows == 0 ? 0 : static_cast<double>(lostRows_) / decoder_.total_iMCU_rows;
}

bool JpegDecoder::start(std::span<const std::uint8_t> jpeg) noexcept {
  const bool headerRead = attempt([this, jpeg] {
    jpeg_create_decompress(&decoder_);
    decoder_.progress = &progress_;
    jpeg_mem_src(&decoder_, jpeg.data(), jpeg.size());
    jpeg_read_header(&decoder_, TRUE);
    hasSeveralScans_ = jpeg_has_multiple_scans(&decoder_) != FALSE;
  });
  if (!headerRead) return false;
  isHeaderRead_ = true;
  if (!isAcceptablePictureSize(decoder_.image_width, decoder_.image_height)) {
    std::copy(std::begin(kBadSizeText), std::end(kBadSizeText), failure_);
    return false;
  }
  return attempt([this] {
    decoder_.out_color_space = colorSpaceOf(options_.pixels);
    decoder_.scale_num = static_cast<unsigned>(options_.eighths);
    decoder_.scale_denom = kScaleDenominator;
    if (!options_.isExact) decoder_.do_fancy_upsampling = FALSE;  // twice the speed
    jpeg_start_decompress(&decoder_);
  });
}

// The stream's end is not looked at: what stands behind the last row costs no pixel.
bool JpegDecoder::readRows(std::span<std::uint8_t> rows) noexcept {
  return attempt([this, rows] {
    const std::size_t count = rows.size() / rowBytes();
    for (std::size_t row = 0; row < count;) {
      JSAMPROW pointers[kRowsAtOnce];
      const std::size_t asked = std::min(kRowsAtOnce, count - row);
      for (std::size_t i = 0; i < asked; ++i)
        pointers[i] = rows.data() + (row + i) * rowBytes();
      row += jpeg_read_scanlines(&decoder_, pointers, static_cast<JDIMENSION>(asked));
    }
  });
}

bool JpegDecoder::skipToLastRow() noexcept {
  return attempt([this] {
    // Of rows that are skipped down to the end not even the codes would be read.
    jpeg_skip_scanlines(&decoder_, decoder_.output_height - 1);
  });
}

bool JpegDecoder::readRow(std::uint8_t* out) noexcept {
  return attempt([this, out] {
    JSAMPROW pointer = out;
    jpeg_read_scanlines(&decoder_, &pointer, 1);
  });
}

}  // namespace picture
