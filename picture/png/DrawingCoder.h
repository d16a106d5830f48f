#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <zlib.h>

#include "picture/ByteSink.h"
#include "picture/png/PngWriter.h"

namespace picture {

/// Codes the strips of drawings and flat pictures, which have to be searched for repetitions of all kinds
/// across all of them: by zlib, in order, into `IDAT` chunks. One thread at a time. Takes no memory until it
/// is used.
class DrawingCoder {
 public:
  explicit DrawingCoder(ByteSink& sink) : sink_(sink) {}
  ~DrawingCoder();
  DrawingCoder(const DrawingCoder&) = delete;
  DrawingCoder& operator=(const DrawingCoder&) = delete;

  /// Codes filtered rows, together with those before them since the last `finish`.
  [[nodiscard]] PngResult append(std::span<const std::uint8_t> filtered) noexcept;
  /// Ends what was appended at a whole byte, so that others can go on. Without any, nothing happens.
  [[nodiscard]] PngResult finish() noexcept;

 private:
  [[nodiscard]] bool begin() noexcept;
  [[nodiscard]] PngResult run(int flush) noexcept;
  [[nodiscard]] bool writeChunk() noexcept;

  ByteSink& sink_;
  z_stream stream_{};
  std::unique_ptr<std::uint8_t[]> chunk_;
  bool hasStream_ = false;
  bool isOpen_ = false;
};

}  // namespace picture
