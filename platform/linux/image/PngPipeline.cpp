#include "platform/linux/image/PngPipeline.h"

#include <algorithm>
#include <system_error>
#include <thread>

#include <libdeflate.h>

#include "platform/linux/image/PngChunks.h"

namespace platform_linux {
namespace {

// About as many bytes of rows make up a strip: few enough to stay in a core's cache from decoding to coding,
// enough that a strip's own codes and chunk cost next to nothing.
constexpr std::size_t kStripBytes = std::size_t{112} * 1024;

// Strips in memory for each thread: one in work, one waiting to be written or coded.
constexpr unsigned kSlotsPerThread = 2;

// A strip that comes out smaller than this part of its size is drawn or flat, where the best filter is not
// always the photographs' one and trying others takes little.
constexpr std::size_t kDrawnFraction = 16;

std::uint32_t rowsPerStripOf(const RowSource& source) {
  const auto fitting = static_cast<std::uint32_t>(kStripBytes / source.rowBytes());
  return std::clamp(fitting, std::uint32_t{1}, source.height());
}

}  // namespace

PngPipeline::Worker::Worker(std::size_t stripBytes)
    : filtered(std::make_unique_for_overwrite<std::uint8_t[]>(stripBytes)),
      alternative(std::make_unique_for_overwrite<std::uint8_t[]>(StripCoder::codedBound(stripBytes))),
      coder(stripBytes) {}

PngPipeline::PngPipeline(RowSource& source, ByteSink& sink, unsigned threads)
    : source_(source),
      sink_(sink),
      rowBytes_(source.rowBytes()),
      rowsPerStrip_(rowsPerStripOf(source)),
      strips_((source.height() + rowsPerStrip_ - 1) / rowsPerStrip_) {
  const std::size_t filteredBytes = rowsPerStrip_ * (rowBytes_ + 1);
  const std::size_t chunkBytes =
      kPngChunkHeadBytes + kZlibBeginning.size() + StripCoder::codedBound(filteredBytes) + kPngChunkTailBytes;
  threads = std::min(threads, strips_);
  workers_.reserve(threads);
  for (unsigned i = 0; i < threads; ++i)
    workers_.emplace_back(filteredBytes);
  // At least two: a strip is read while the row above it still lies in the slot of the strip before.
  slots_.resize(std::max(2U, threads * kSlotsPerThread));
  for (Slot& slot : slots_) {
    slot.rows = std::make_unique_for_overwrite<std::uint8_t[]>((rowsPerStrip_ + 1) * rowBytes_);
    slot.chunk = std::make_unique_for_overwrite<std::uint8_t[]>(chunkBytes);
  }
}

PngResult PngPipeline::run() noexcept {
  {
    std::vector<std::jthread> helpers;
    try {
      helpers.reserve(workers_.size());
      for (std::size_t i = 1; i < workers_.size(); ++i) {
        helpers.emplace_back([this, i] { work(workers_[i]); });
      }
    } catch (const std::exception&) {
      // Fewer threads, or this one alone, do the same work.
    }
    work(workers_.front());
  }
  return result_;
}

void PngPipeline::work(Worker& worker) noexcept {
  std::unique_lock lock(mutex_);
  while (true) {
    switch (nextTask()) {
      case Task::kWrite:
        write(lock);
        break;
      case Task::kCode:
        code(worker, lock);
        break;
      case Task::kRead:
        read(lock);
        break;
      case Task::kWait:
        changed_.wait(lock);
        break;
      case Task::kLeave:
        return;
    }
  }
}

PngPipeline::Task PngPipeline::nextTask() const noexcept {
  if (stopped_ || written_ == strips_) return Task::kLeave;
  if (!writing_ && slots_[written_ % slots_.size()].coded) return Task::kWrite;
  if (taken_ < read_) return Task::kCode;
  if (!reading_ && read_ < strips_ && read_ - written_ < slots_.size()) return Task::kRead;
  return Task::kWait;
}

void PngPipeline::read(std::unique_lock<std::mutex>& lock) noexcept {
  reading_ = true;
  const std::uint32_t strip = read_;
  lock.unlock();
  const bool delivered = readStrip(strip);
  lock.lock();
  reading_ = false;
  ++read_;
  if (!delivered) stop(PngResult::kSourceFailed);
  changed_.notify_all();
}

void PngPipeline::code(Worker& worker, std::unique_lock<std::mutex>& lock) noexcept {
  const std::uint32_t strip = taken_++;
  lock.unlock();
  codeStrip(strip, worker);
  lock.lock();
  slotOf(strip).coded = true;
  changed_.notify_all();
}

void PngPipeline::write(std::unique_lock<std::mutex>& lock) noexcept {
  writing_ = true;
  Slot& slot = slotOf(written_);
  const std::size_t filteredBytes = rowsIn(written_) * (rowBytes_ + 1);
  adler_ = combineAdler(adler_, slot.adler, filteredBytes);
  lock.unlock();
  const bool accepted = sink_.write({slot.chunk.get(), slot.chunkBytes});
  lock.lock();
  writing_ = false;
  slot.coded = false;
  ++written_;
  if (!accepted) stop(PngResult::kSinkFailed);
  changed_.notify_all();
}

bool PngPipeline::readStrip(std::uint32_t strip) noexcept {
  std::uint8_t* above = slotOf(strip).rows.get();
  if (strip == 0) {
    std::fill_n(above, rowBytes_, std::uint8_t{0});
  } else {
    std::copy_n(slotOf(strip - 1).rows.get() + rowsPerStrip_ * rowBytes_, rowBytes_, above);
  }
  return source_.readRows({above + rowBytes_, rowsIn(strip) * rowBytes_});
}

std::span<const std::uint8_t> PngPipeline::filterStrip(std::uint32_t strip, PngFilter filter,
                                                       Worker& worker) noexcept {
  const std::uint8_t* row = slotOf(strip).rows.get();
  std::uint8_t* filtered = worker.filtered.get();
  for (std::uint32_t i = 0; i < rowsIn(strip); ++i, row += rowBytes_, filtered += rowBytes_ + 1) {
    filterRow(filter, {row + rowBytes_, rowBytes_}, row, filtered);
  }
  return {worker.filtered.get(), filtered};
}

void PngPipeline::codeStrip(std::uint32_t strip, Worker& worker) noexcept {
  Slot& slot = slotOf(strip);
  std::uint8_t* out = slot.chunk.get() + kPngChunkHeadBytes;
  if (strip == 0) out = std::copy(kZlibBeginning.begin(), kZlibBeginning.end(), out);
  auto filtered = filterStrip(strip, PngFilter::kPaeth, worker);
  slot.adler = libdeflate_adler32(1, filtered.data(), filtered.size());
  std::size_t size = worker.coder.code(filtered, {out, StripCoder::codedBound(filtered.size())});
  if (size < filtered.size() / kDrawnFraction) {
    for (const PngFilter filter : {PngFilter::kNone, PngFilter::kUp}) {
      filtered = filterStrip(strip, filter, worker);
      const std::size_t other =
          worker.coder.code(filtered, {worker.alternative.get(), StripCoder::codedBound(filtered.size())});
      if (other >= size) continue;
      size = other;
      std::copy_n(worker.alternative.get(), size, out);
      slot.adler = libdeflate_adler32(1, filtered.data(), filtered.size());
    }
  }
  slot.chunkBytes = static_cast<std::size_t>(out + size - slot.chunk.get()) + kPngChunkTailBytes;
  finishPngChunk("IDAT", {slot.chunk.get(), slot.chunkBytes});
}

void PngPipeline::stop(PngResult result) noexcept {
  if (!stopped_) result_ = result;
  stopped_ = true;
}

std::uint32_t PngPipeline::rowsIn(std::uint32_t strip) const noexcept {
  return std::min(rowsPerStrip_, source_.height() - strip * rowsPerStrip_);
}

}  // namespace platform_linux
