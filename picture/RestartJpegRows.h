#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "picture/JpegDecoder.h"
#include "picture/JpegRestarts.h"
#include "picture/RowSource.h"

namespace picture {

/// The rows of a JPEG stream with restart markers, of which threads that have nothing else to do decode
/// pieces ahead. The rows are those of one decoding; where anything is damaged they come from one, from the
/// beginning.
class RestartJpegRows final : public RowSource {
 public:
  /// `whole` is a decoder of all of `jpeg` that has delivered nothing yet, as its defaults are; `restarts`
  /// are those of `jpeg`, which outlives this.
  RestartJpegRows(std::span<const std::uint8_t> jpeg, JpegRestarts restarts,
                  std::unique_ptr<JpegDecoder> whole);

  [[nodiscard]] std::uint32_t width() const noexcept override { return restarts_.width; }
  [[nodiscard]] std::uint32_t height() const noexcept override { return restarts_.height; }
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  [[nodiscard]] bool canReadAhead() const noexcept override;
  void readAhead() noexcept override;
  [[nodiscard]] std::string failure() const override { return failure_; }

 private:
  // Enough that each of three threads can be at a piece of its own.
  static constexpr std::size_t kPiecesAhead = 2;
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // A piece that a thread decodes, or has decoded, ahead.
  struct Ahead {
    std::uint32_t piece = kNone;
    std::unique_ptr<std::uint8_t[]> rows;  // not there before it is needed
    bool isDone = false;
    bool isSound = false;
  };

  [[nodiscard]] bool readOfPiece(std::span<std::uint8_t> rows) noexcept;
  [[nodiscard]] Ahead* takeAhead(std::uint32_t piece) noexcept;
  void giveBack(Ahead& ahead) noexcept;
  [[nodiscard]] bool readHere(std::span<std::uint8_t> rows) noexcept;
  [[nodiscard]] bool readAnew(std::span<std::uint8_t> rows) noexcept;
  [[nodiscard]] bool decodePiece(Ahead& ahead) const noexcept;
  [[nodiscard]] std::unique_ptr<JpegDecoder> decoderAt(std::uint32_t firstRow,
                                                       std::span<std::uint8_t> scratch) const noexcept;
  [[nodiscard]] const Ahead* freeAhead() const noexcept;
  [[nodiscard]] std::size_t bytesOf(std::uint32_t piece) const noexcept;

  const std::span<const std::uint8_t> jpeg_;
  const JpegRestarts restarts_;
  const std::uint32_t rowsPerPiece_;
  const std::uint32_t pieces_;

  // Of the thread that reads.
  std::unique_ptr<JpegDecoder> decoder_;
  std::uint32_t decoderRow_ = 0;  // the next one that `decoder_` delivers
  std::uint32_t row_ = 0;         // the next one to be delivered
  bool isWhole_ = false;          // read by one decoder of all rows from now on
  std::string failure_;

  // Guards what follows, but for the rows of a piece that is being decoded or read.
  mutable std::mutex mutex_;
  std::condition_variable done_;
  std::uint32_t unclaimed_ = 1;  // the first piece that nobody decodes or has decoded
  std::array<Ahead, kPiecesAhead> ahead_;
};

}  // namespace picture
