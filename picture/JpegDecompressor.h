#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include <jpeglib.h>

namespace picture {

/// One decoding of one JPEG stream in memory to 8-bit RGB, a few rows at a time, with the decoder's default
/// (exact) parameters. This is the only place where the decoder's errors jump.
/// Anything that damages pixels is a failure: a stream that ends early or does not decode cleanly gives no
/// picture rather than a half-grey one. Camera frames without Huffman tables are decoded by the standard
/// ones. One call at a time, on any thread.
class JpegDecompressor {
 public:
  JpegDecompressor() noexcept;
  JpegDecompressor(const JpegDecompressor&) = delete;
  JpegDecompressor& operator=(const JpegDecompressor&) = delete;
  ~JpegDecompressor();

  /// Reads the header and makes ready to deliver rows. `jpeg` must outlive this object.
  [[nodiscard]] bool start(std::span<const std::uint8_t> jpeg) noexcept;
  /// Decodes the next rows; after the last one the stream's end is checked too.
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept;

  /// Size of the delivered picture, after `start`.
  [[nodiscard]] std::uint32_t width() const noexcept { return decoder_.output_width; }
  [[nodiscard]] std::uint32_t height() const noexcept { return decoder_.output_height; }
  /// What went wrong, in the decoder's words.
  [[nodiscard]] std::string failure() const { return failure_; }

 private:
  struct ErrorManager {
    jpeg_error_mgr base;  // first, so that the decoder's pointer to it is a pointer to this
    JpegDecompressor* owner;
  };

  template <typename Step>
  [[nodiscard]] bool attempt(Step step) noexcept;
  [[noreturn]] void fail(j_common_ptr decoder) noexcept;
  static void onError(j_common_ptr decoder) noexcept;
  static void onMessage(j_common_ptr decoder, int level) noexcept;
  static void onProgress(j_common_ptr decoder) noexcept;

  jpeg_decompress_struct decoder_{};
  ErrorManager errors_{};
  jpeg_progress_mgr progress_{};
  std::jmp_buf escape_{};
  char failure_[JMSG_LENGTH_MAX] = {};
};

}  // namespace picture
