#include "picture/JpegDecoder.h"

#include <algorithm>
#include <array>
#include <jerror.h>
#include <type_traits>
#include <utility>

#include "picture/JpegMarkers.h"

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

// Cyan, magenta, yellow, black.
constexpr std::size_t kInks = 4;

std::uint8_t lightThrough(unsigned clearness, unsigned clearnessOfBlack) {
  constexpr unsigned kAll = 255;
  return static_cast<std::uint8_t>((clearness * clearnessOfBlack + kAll / 2) / kAll);
}

std::uint8_t lumaOf(const std::array<std::uint8_t, 3>& rgb) {
  // ITU-R BT.601, 2.5.1
  return static_cast<std::uint8_t>((299U * rgb[0] + 587U * rgb[1] + 114U * rgb[2] + 500) / 1000);
}

// Writes a row of inks as other pixels. `turns` is 0 for inks that are stored as how clear they are, 255 for
// inks that are stored as such: then each turns into the other.
void writeLight(std::span<const std::uint8_t> inks, std::uint8_t turns, JpegDecoder::Pixels pixels,
                std::uint8_t* out) {
  for (; !inks.empty(); inks = inks.subspan(kInks)) {
    std::array<std::uint8_t, 3> rgb{};
    for (std::size_t channel = 0; channel < rgb.size(); ++channel)
      rgb[channel] = lightThrough(inks[channel] ^ turns, inks[3] ^ turns);
    switch (pixels) {
      case JpegDecoder::Pixels::Rgb:
        out = std::copy(rgb.begin(), rgb.end(), out);
        break;
      case JpegDecoder::Pixels::Bgra:
        out = std::copy(rgb.rbegin(), rgb.rend(), out);
        *out++ = 255;
        break;
      case JpegDecoder::Pixels::Luma:
        *out++ = lumaOf(rgb);
        break;
    }
  }
}

}  // namespace

std::unique_ptr<JpegDecoder> JpegDecoder::open(std::span<const std::uint8_t> jpeg, const Options& options,
                                               std::string& whyNot) {
  std::unique_ptr<JpegDecoder> decoder(new JpegDecoder(options));
  if (decoder->start(jpeg)) return decoder;
  if (auto completed = jpegWithItsHeight(jpeg)) {
    decoder.reset(new JpegDecoder(options));
    decoder->completed_ = std::move(*completed);
    if (decoder->start(decoder->completed_)) return decoder;
  }
  whyNot = decoder->failure();
  return nullptr;
}

std::unique_ptr<JpegDecoder> JpegDecoder::openPart(std::vector<std::uint8_t> header,
                                                   std::span<const std::uint8_t> codes, unsigned firstRestart,
                                                   const Options& options, std::string& whyNot) {
  std::unique_ptr<JpegDecoder> decoder(new JpegDecoder(options));
  decoder->completed_ = std::move(header);
  decoder->codes_ = codes;
  decoder->firstRestart_ = firstRestart;
  if (decoder->start(decoder->completed_)) return decoder;
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

boolean JpegDecoder::onHeaderRead(j_decompress_ptr decoder) noexcept {
  auto* self = reinterpret_cast<ErrorManager*>(decoder->err)->owner;
  decoder->src->next_input_byte = self->codes_.data();
  decoder->src->bytes_in_buffer = self->codes_.size();
  decoder->src->fill_input_buffer = self->onStreamEnd_;
  return TRUE;
}

// The decoder counts from the first marker that it meets, the stream from its own beginning.
boolean JpegDecoder::onOtherRestart(j_decompress_ptr decoder, int number) noexcept {
  const auto* self = reinterpret_cast<ErrorManager*>(decoder->err)->owner;
  const int expected = JPEG_RST0 + (number + static_cast<int>(self->firstRestart_)) % 8;
  if (decoder->unread_marker != expected) return jpeg_resync_to_restart(decoder, number);
  decoder->unread_marker = 0;
  return TRUE;
}

void JpegDecoder::continueWithCodes() noexcept {
  onStreamEnd_ = std::exchange(decoder_.src->fill_input_buffer, &JpegDecoder::onHeaderRead);
  decoder_.src->resync_to_restart = &JpegDecoder::onOtherRestart;
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

bool JpegDecoder::start(std::span<const std::uint8_t> jpeg) {
  const bool headerRead = attempt([this, jpeg] {
    jpeg_create_decompress(&decoder_);
    decoder_.progress = &progress_;
    jpeg_mem_src(&decoder_, jpeg.data(), jpeg.size());
    if (!codes_.empty()) continueWithCodes();
    jpeg_read_header(&decoder_, TRUE);
    hasSeveralScans_ = jpeg_has_multiple_scans(&decoder_) != FALSE;
  });
  if (!headerRead) return false;
  isHeaderRead_ = true;
  if (!isAcceptablePictureSize(decoder_.image_width, decoder_.image_height)) {
    std::copy(std::begin(kBadSizeText), std::end(kBadSizeText), failure_);
    return false;
  }
  // The decoder makes no other colours of inks.
  const bool isInk = decoder_.jpeg_color_space == JCS_CMYK || decoder_.jpeg_color_space == JCS_YCCK;
  const bool isStarted = attempt([this, isInk] {
    decoder_.out_color_space = isInk ? JCS_CMYK : colorSpaceOf(options_.pixels);
    decoder_.scale_num = static_cast<unsigned>(options_.eighths);
    decoder_.scale_denom = kScaleDenominator;
    if (!options_.isExact) decoder_.do_fancy_upsampling = FALSE;  // twice the speed
    jpeg_start_decompress(&decoder_);
  });
  if (isStarted && isInk) inks_.resize(kInks * decoder_.output_width);
  return isStarted;
}

// The stream's end is not looked at: what stands behind the last row costs no pixel.
bool JpegDecoder::readRows(std::span<std::uint8_t> rows) noexcept {
  if (!inks_.empty()) {
    for (; !rows.empty(); rows = rows.subspan(rowBytes()))
      if (!readInkRow(rows.data())) return false;
    return true;
  }
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

// Programs that store inks as complements say who they are: Adobe's, and those that follow them.
bool JpegDecoder::readInkRow(std::uint8_t* out) noexcept {
  const bool isRead = attempt([this] {
    JSAMPROW pointer = inks_.data();
    jpeg_read_scanlines(&decoder_, &pointer, 1);
  });
  if (isRead) writeLight(inks_, decoder_.saw_Adobe_marker ? 0 : 255, options_.pixels, out);
  return isRead;
}

bool JpegDecoder::readRow(std::uint8_t* out) noexcept {
  if (!inks_.empty()) return readInkRow(out);
  return attempt([this, out] {
    JSAMPROW pointer = out;
    jpeg_read_scanlines(&decoder_, &pointer, 1);
  });
}

}  // namespace picture
