#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "picture/RowSource.h"

namespace picture {

/// One decoding of one JPEG stream in memory, a few rows at a time: the only place where the decoder is
/// called and its errors jump.
///
/// Cameras' streams are taken as they come: without Huffman tables (the standard ones are supplied), with
/// stray bytes before restart markers and before or after the end marker, with a second end marker or none,
/// with their height behind their scan, all of which cost no pixel. Of inks comes the light that they leave.
/// What does is damage: data that ends within the scan, codes that do not exist, restart markers that are
/// missing. One call at a time, on any thread.
class JpegDecoder final : public RowSource {
 public:
  enum class Pixels {
    Rgb,   ///< R G B, three bytes
    Bgra,  ///< B G R 255, four bytes
    Luma,  ///< one byte; other components are parsed but not decoded
  };
  enum class Damage {
    Fails,   ///< Reading fails where pixels are lost.
    Filled,  ///< Lost pixels are filled with what the decoder chooses, and counted.
  };
  struct Options {
    Pixels pixels = Pixels::Rgb;
    int eighths = 8;  ///< scale, 1 to 8 eighths of the size, carried out while decoding
    Damage damage = Damage::Fails;
    /// Whether the decoder's exact parameters are used; else faster ones that nobody tells apart in a moving
    /// picture.
    bool isExact = true;
  };

  /// Reads the header and makes ready to deliver rows; `jpeg` must outlive the decoder. Null when that is no
  /// picture that can be decoded, and `whyNot` then says why.
  [[nodiscard]] static std::unique_ptr<JpegDecoder> open(std::span<const std::uint8_t> jpeg,
                                                         const Options& options, std::string& whyNot);
  /// The same of a stream in two parts: a header, which is kept, and codes that begin behind a restart
  /// marker, the first of theirs having the number `firstRestart`, 0 to 7.
  [[nodiscard]] static std::unique_ptr<JpegDecoder> openPart(std::vector<std::uint8_t> header,
                                                             std::span<const std::uint8_t> codes,
                                                             unsigned firstRestart, const Options& options,
                                                             std::string& whyNot);
  ~JpegDecoder() override;

  [[nodiscard]] std::uint32_t width() const noexcept override { return decoder_.output_width; }
  [[nodiscard]] std::uint32_t height() const noexcept override { return decoder_.output_height; }
  /// As RowSource has it; of Pixels::Rgb only.
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  /// Decodes the next row, of whatever pixels, to `out`.
  [[nodiscard]] bool readRow(std::uint8_t* out) noexcept;
  /// Reads the codes of all rows but the last one, which is left to be read; computes no pixels of them.
  [[nodiscard]] bool skipToLastRow() noexcept;
  /// What went wrong, in the decoder's words.
  [[nodiscard]] std::string failure() const override { return failure_; }

  /// How much of the picture read so far is damaged, from 0 to 1.
  [[nodiscard]] double lostPart() const noexcept;

 private:
  struct ErrorManager {
    jpeg_error_mgr base;  // first, so that the decoder's pointer to it is a pointer to this
    JpegDecoder* owner;
  };

  explicit JpegDecoder(const Options& options) noexcept;

  [[nodiscard]] bool start(std::span<const std::uint8_t> jpeg);
  template <typename Step>
  [[nodiscard]] bool attempt(Step step) noexcept;
  [[noreturn]] void fail(j_common_ptr decoder) noexcept;
  [[nodiscard]] bool costsPixels(int warning) const noexcept;
  void countLoss() noexcept;
  [[nodiscard]] bool readInkRow(std::uint8_t* out) noexcept;
  static void onError(j_common_ptr decoder) noexcept;
  static void onMessage(j_common_ptr decoder, int level) noexcept;
  static void onProgress(j_common_ptr decoder) noexcept;
  static boolean onHeaderRead(j_decompress_ptr decoder) noexcept;
  static boolean onOtherRestart(j_decompress_ptr decoder, int number) noexcept;
  void continueWithCodes() noexcept;

  const Options options_;
  jpeg_decompress_struct decoder_{};
  ErrorManager errors_{};
  jpeg_progress_mgr progress_{};
  std::jmp_buf escape_{};
  char failure_[JMSG_LENGTH_MAX] = {};
  bool isHeaderRead_ = false;
  bool hasSeveralScans_ = false;
  std::vector<std::uint8_t> completed_;  // the stream, or its header, where a copy had to be made
  std::span<const std::uint8_t> codes_;  // what follows when the header has been read, if that is all there
  unsigned firstRestart_ = 0;
  boolean (*onStreamEnd_)(j_decompress_ptr) = nullptr;
  std::vector<std::uint8_t> inks_;  // of one row; empty where the decoder delivers what is wanted
  // In rows of blocks, the decoder's unit.
  unsigned lostRows_ = 0;
  unsigned countedUpTo_ = 0;
};

}  // namespace picture
