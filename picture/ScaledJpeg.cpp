#include "picture/ScaledJpeg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>
// After jpeglib.h, which it needs.
#include <jerror.h>

namespace picture {
namespace {

/// The decoder scales while it decodes, by eighths: each block of 8 x 8 coefficients becomes `eighths` x
/// `eighths` pixels.
constexpr int kEighths = 8;

PixelSize scaledBy(PixelSize picture, int eighths) {
  return {(picture.width * eighths + kEighths - 1) / kEighths,
          (picture.height * eighths + kEighths - 1) / kEighths};
}

int smallestScale(PixelSize picture, PixelSize covered) {
  for (int eighths = 1; eighths < kEighths; ++eighths) {
    const PixelSize scaled = scaledBy(picture, eighths);
    if (scaled.width >= covered.width && scaled.height >= covered.height) return eighths;
  }
  return kEighths;
}

/// The library's error manager with the place to return to.
struct ErrorManager {
  jpeg_error_mgr base{};  // first: the library hands it back as its own
  std::jmp_buf giveUp{};
  bool truncated = false;
};

ErrorManager& managerOf(j_common_ptr decoder) {
  return *reinterpret_cast<ErrorManager*>(decoder->err);
}

[[noreturn]] void onError(j_common_ptr decoder) {
  std::longjmp(managerOf(decoder).giveUp, 1);
}

/// Cameras send frames with harmless oddities; but one that ends early would show as a grey lower part.
void onMessage(j_common_ptr decoder, int level) {
  const int code = decoder->err->msg_code;
  if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)) managerOf(decoder).truncated = true;
}

void readPixels(jpeg_decompress_struct& decoder, PixelRows& rows) {
  while (decoder.output_scanline < decoder.output_height) {
    const int row = static_cast<int>(decoder.output_scanline);
    JSAMPROW pixels = rows.strip(row);
    jpeg_read_scanlines(&decoder, &pixels, 1);
    rows.written(row, 1);
  }
}

}  // namespace

PixelSize scaledJpegSize(PixelSize picture, PixelSize covered) {
  return scaledBy(picture, smallestScale(picture, covered));
}

// Only plain data between the library's setjmp and longjmp, so that nothing is jumped over.
bool decodeScaledJpeg(const Frame& frame, PixelRows& rows) {
  const PixelSize size = rows.size();
  jpeg_decompress_struct decoder{};
  ErrorManager errors{};
  decoder.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = onError;
  errors.base.emit_message = onMessage;
  if (setjmp(errors.giveUp)) {
    jpeg_destroy_decompress(&decoder);
    return false;
  }
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, frame.bytes.data(), frame.bytes.size());
  jpeg_read_header(&decoder, TRUE);
  decoder.scale_num = static_cast<unsigned>(smallestScale({frame.width, frame.height}, size));
  decoder.scale_denom = kEighths;
  decoder.out_color_space = JCS_EXT_BGRA;
  decoder.do_fancy_upsampling = FALSE;  // twice the speed, and nobody sees it in a moving picture
  jpeg_calc_output_dimensions(&decoder);
  const bool asExpected = decoder.output_width == static_cast<unsigned>(size.width) &&
                          decoder.output_height == static_cast<unsigned>(size.height);
  if (asExpected) {
    jpeg_start_decompress(&decoder);
    readPixels(decoder, rows);
    jpeg_finish_decompress(&decoder);
  }
  jpeg_destroy_decompress(&decoder);
  return asExpected && !errors.truncated;
}

}  // namespace picture
