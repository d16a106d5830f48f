#include "picture/png/DrawingCoder.h"

#include <new>

#include "picture/png/PngChunks.h"

namespace picture {
namespace {

// A chunk's data: enough that the chunk itself costs nothing to speak of.
constexpr std::size_t kDataBytes = std::size_t{32} * 1024;

constexpr int kRawDeflate = -15;  // no header or checksum around the largest window
constexpr int kMemoryLevel = 8;   // zlib's default

}  // namespace

DrawingCoder::~DrawingCoder() {
  if (hasStream_) deflateEnd(&stream_);
}

bool DrawingCoder::begin() noexcept {
  if (!chunk_)
    chunk_.reset(new (std::nothrow) std::uint8_t[kPngChunkHeadBytes + kDataBytes + kPngChunkTailBytes]);
  if (!chunk_) return false;
  if (hasStream_) {
    deflateReset(&stream_);
  } else {
    hasStream_ = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRawDeflate, kMemoryLevel,
                              Z_DEFAULT_STRATEGY) == Z_OK;
  }
  stream_.next_out = chunk_.get() + kPngChunkHeadBytes;
  stream_.avail_out = kDataBytes;
  isOpen_ = hasStream_;
  return isOpen_;
}

PngResult DrawingCoder::append(std::span<const std::uint8_t> filtered) noexcept {
  if (!isOpen_ && !begin()) return PngResult::OutOfMemory;
  stream_.next_in = const_cast<Bytef*>(filtered.data());  // which zlib does not write to
  stream_.avail_in = static_cast<uInt>(filtered.size());
  return run(Z_NO_FLUSH);
}

PngResult DrawingCoder::finish() noexcept {
  if (!isOpen_) return PngResult::Written;
  isOpen_ = false;
  const PngResult result = run(Z_SYNC_FLUSH);
  if (result != PngResult::Written) return result;
  return writeChunk() ? PngResult::Written : PngResult::SinkFailed;
}

PngResult DrawingCoder::run(int flush) noexcept {
  while (true) {
    deflate(&stream_, flush);
    if (stream_.avail_out > 0) return PngResult::Written;
    if (!writeChunk()) return PngResult::SinkFailed;
  }
}

bool DrawingCoder::writeChunk() noexcept {
  const std::size_t data = kDataBytes - stream_.avail_out;
  if (data == 0) return true;
  const std::span chunk(chunk_.get(), kPngChunkHeadBytes + data + kPngChunkTailBytes);
  finishPngChunk("IDAT", chunk);
  stream_.next_out = chunk_.get() + kPngChunkHeadBytes;
  stream_.avail_out = kDataBytes;
  return sink_.write(chunk);
}

}  // namespace picture
