#include "picture/png/PngPipeline.h"

#include <algorithm>
#include <system_error>
#include <thread>

#include <libdeflate.h>

#include "picture/CeilDivide.h"
#include "picture/png/PngChunks.h"
#include "picture/png/PngFilter.h"

namespace picture {
namespace {

// About as many bytes of rows make up a strip: few enough to stay in a core's cache from decoding to coding,
// enough that a strip's own codes and chunk cost next to nothing.
constexpr std::size_t kStripBytes = std::size_t{112} * 1024;

// Strips in memory for each thread: one in work, one waiting to be written or coded.
constexpr unsigned kSlotsPerThread = 2;

std::uint32_t rowsPerStripOf(const RowSource& source) {
  const auto fitting = static_cast<std::uint32_t>(kStripBytes / source.rowBytes());
  return std::clamp(fitting, std::uint32_t{1}, source.height());
}

}  // namespace

PngPipeline::Worker::Worker(std::size_t stripBytes)
    : filtered(std::make_unique_for_overwrite<std::uint8_t[]>(stripBytes)), coder(stripBytes) {}

PngPipeline::PngPipeline(RowSource& source, ByteSink& sink, unsigned threads)
    : source_(source),
      sink_(sink),
      rowBytes_(source.rowBytes()),
      rowsPerStrip_(rowsPerStripOf(source)),
      strips_(ceilDivide(source.height(), rowsPerStrip_)),
      drawings_(sink) {
  const std::size_t filteredBytes = rowsPerStrip_ * (rowBytes_ + 1);
  const std::size_t chunkBytes =
      kPngChunkHeadBytes + StripCoder::codedBound(filteredBytes) + kPngChunkTailBytes;
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
      case Task::Write:
        write(worker, lock);
        break;
      case Task::Code:
        code(worker, lock);
        break;
      case Task::Read:
        read(lock);
        break;
      case Task::ReadAhead:
        readAhead(lock);
        break;
      case Task::Wait:
        changed_.wait(lock);
        break;
      case Task::Leave:
        return;
    }
  }
}

PngPipeline::Task PngPipeline::nextTask() const noexcept {
  if (stopped_ || written_ == strips_) return Task::Leave;
  if (!writing_ && slots_[written_ % slots_.size()].coded) return Task::Write;
  if (taken_ < read_) return Task::Code;
  if (!reading_ && read_ < strips_ && read_ - written_ < slots_.size()) return Task::Read;
  if (source_.canReadAhead()) return Task::ReadAhead;
  return Task::Wait;
}

void PngPipeline::read(std::unique_lock<std::mutex>& lock) noexcept {
  reading_ = true;
  const std::uint32_t strip = read_;
  lock.unlock();
  const bool delivered = readStrip(strip);
  lock.lock();
  reading_ = false;
  ++read_;
  if (!delivered) stop(PngResult::SourceFailed);
  changed_.notify_all();
}

void PngPipeline::readAhead(std::unique_lock<std::mutex>& lock) noexcept {
  lock.unlock();
  source_.readAhead();
  lock.lock();
}

void PngPipeline::code(Worker& worker, std::unique_lock<std::mutex>& lock) noexcept {
  const std::uint32_t strip = taken_++;
  lock.unlock();
  codeStrip(strip, worker);
  lock.lock();
  slotOf(strip).coded = true;
  changed_.notify_all();
}

void PngPipeline::write(Worker& worker, std::unique_lock<std::mutex>& lock) noexcept {
  writing_ = true;
  const std::uint32_t strip = written_;
  Slot& slot = slotOf(strip);
  adler_ = combineAdler(adler_, slot.adler, rowsIn(strip) * (rowBytes_ + 1));
  lock.unlock();
  const PngResult result = writeStrip(strip, worker);
  lock.lock();
  writing_ = false;
  slot.coded = false;
  ++written_;
  if (result != PngResult::Written) stop(result);
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

std::span<const std::uint8_t> PngPipeline::filterStrip(std::uint32_t strip, Worker& worker) noexcept {
  const std::uint8_t* row = slotOf(strip).rows.get();
  std::uint8_t* filtered = worker.filtered.get();
  for (std::uint32_t i = 0; i < rowsIn(strip); ++i, row += rowBytes_, filtered += rowBytes_ + 1)
    filterRow({row + rowBytes_, rowBytes_}, row, filtered);
  return {worker.filtered.get(), filtered};
}

void PngPipeline::codeStrip(std::uint32_t strip, Worker& worker) noexcept {
  Slot& slot = slotOf(strip);
  const auto filtered = filterStrip(strip, worker);
  slot.adler = libdeflate_adler32(1, filtered.data(), filtered.size());
  std::uint8_t* out = slot.chunk.get() + kPngChunkHeadBytes;
  const auto size = worker.coder.code(filtered, {out, StripCoder::codedBound(filtered.size())});
  slot.chunkBytes = size ? kPngChunkHeadBytes + *size + kPngChunkTailBytes : 0;
  if (size) finishPngChunk("IDAT", {slot.chunk.get(), slot.chunkBytes});
}

PngResult PngPipeline::writeStrip(std::uint32_t strip, Worker& worker) noexcept {
  const Slot& slot = slotOf(strip);
  const bool isDrawn = slot.chunkBytes == 0;
  PngResult result = isDrawn ? drawings_.append(filterStrip(strip, worker)) : drawings_.finish();
  const bool isLast = strip + 1 == strips_;
  if (result == PngResult::Written && isDrawn && isLast) result = drawings_.finish();
  if (result != PngResult::Written || isDrawn) return result;
  return sink_.write({slot.chunk.get(), slot.chunkBytes}) ? PngResult::Written : PngResult::SinkFailed;
}

void PngPipeline::stop(PngResult result) noexcept {
  if (!stopped_) result_ = result;
  stopped_ = true;
}

std::uint32_t PngPipeline::rowsIn(std::uint32_t strip) const noexcept {
  return std::min(rowsPerStrip_, source_.height() - strip * rowsPerStrip_);
}

}  // namespace picture
