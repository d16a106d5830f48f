#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "picture/png/DrawingCoder.h"
#include "picture/png/PngWriter.h"
#include "picture/png/StripCoder.h"

namespace picture {

/// The pixels' way from a source into `IDAT` chunks. The picture is cut into strips of rows; any thread may
/// read the next strip, code one that has been read, or write the next coded one, whichever there is to do,
/// or else do ahead what the source allows, so that no thread waits as long as there is work, and the number
/// of strips in memory is fixed.
class PngPipeline {
 public:
  /// Allocates everything, so that the threads never do. Throws std::bad_alloc.
  PngPipeline(RowSource& source, ByteSink& sink, unsigned threads);

  /// Runs the threads, the calling one included, until the picture is through or something failed. Once only.
  [[nodiscard]] PngResult run() noexcept;

  /// The checksum of all filtered rows, after `run`.
  [[nodiscard]] std::uint32_t adler() const noexcept { return adler_; }

 private:
  using Buffer = std::unique_ptr<std::uint8_t[]>;

  // A strip's place in memory; strips take the places in turn.
  struct Slot {
    Buffer rows;                 // the row above the strip, then the strip
    Buffer chunk;                // the strip as a chunk
    std::size_t chunkBytes = 0;  // 0: drawn, to be coded in order
    std::uint32_t adler = 1;
    bool coded = false;
  };
  // What a thread needs of its own.
  struct Worker {
    explicit Worker(std::size_t stripBytes);
    Buffer filtered;
    StripCoder coder;
  };
  enum class Task { Read, Code, Write, ReadAhead, Wait, Leave };

  void work(Worker& worker) noexcept;
  [[nodiscard]] Task nextTask() const noexcept;
  void read(std::unique_lock<std::mutex>& lock) noexcept;
  void readAhead(std::unique_lock<std::mutex>& lock) noexcept;
  void code(Worker& worker, std::unique_lock<std::mutex>& lock) noexcept;
  void write(Worker& worker, std::unique_lock<std::mutex>& lock) noexcept;
  [[nodiscard]] PngResult writeStrip(std::uint32_t strip, Worker& worker) noexcept;
  [[nodiscard]] bool readStrip(std::uint32_t strip) noexcept;
  void codeStrip(std::uint32_t strip, Worker& worker) noexcept;
  [[nodiscard]] std::span<const std::uint8_t> filterStrip(std::uint32_t strip, Worker& worker) noexcept;
  void stop(PngResult result) noexcept;

  [[nodiscard]] Slot& slotOf(std::uint32_t strip) noexcept { return slots_[strip % slots_.size()]; }
  [[nodiscard]] std::uint32_t rowsIn(std::uint32_t strip) const noexcept;

  RowSource& source_;
  ByteSink& sink_;
  const std::size_t rowBytes_;
  const std::uint32_t rowsPerStrip_;
  const std::uint32_t strips_;
  std::vector<Slot> slots_;
  std::vector<Worker> workers_;
  DrawingCoder drawings_;  // of the thread that writes

  // Guards what follows, and each slot's `coded`.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint32_t read_ = 0;     // strips that have been read
  std::uint32_t taken_ = 0;    // strips that have been taken for coding
  std::uint32_t written_ = 0;  // strips that have been written
  bool reading_ = false;
  bool writing_ = false;
  bool stopped_ = false;
  PngResult result_ = PngResult::Written;
  std::uint32_t adler_ = 1;
};

}  // namespace picture
