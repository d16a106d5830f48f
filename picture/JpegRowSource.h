#pragma once

#include <memory>
#include <vector>

#include "picture/JpegDecompressor.h"
#include "picture/RowSource.h"

namespace picture {

/// The rows of a JPEG stream, as seen: an Exif orientation that says mirrored is carried out, on the decoded
/// pixels, so that they are exactly the reference decoder's, reversed. Grey pictures come as RGB. Only a few
/// rows are held at a time (of a progressive stream the whole coded picture).
class JpegRowSource final : public RowSource {
 public:
  /// Begins to decode `jpeg`, which must outlive the source, `mirrored` left to right against what it says of
  /// itself. Null when that is no JPEG picture that can be decoded, and `failure` then says why.
  [[nodiscard]] static std::unique_ptr<JpegRowSource> open(std::span<const std::uint8_t> jpeg,
                                                           std::string& failure, bool mirrored = false);

  [[nodiscard]] std::uint32_t width() const noexcept override { return decompressor_.width(); }
  [[nodiscard]] std::uint32_t height() const noexcept override { return decompressor_.height(); }
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  [[nodiscard]] std::string failure() const override { return decompressor_.failure(); }

 private:
  JpegRowSource() = default;

  JpegDecompressor decompressor_;
  std::vector<std::uint8_t> unmirroredRow_;  // empty when nothing is to be mirrored
};

}  // namespace picture
