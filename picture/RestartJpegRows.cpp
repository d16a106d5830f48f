#include "picture/RestartJpegRows.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "picture/CeilDivide.h"

namespace picture {
namespace {

// About so many bytes of pixels are worth a decoder of their own, which takes some ten microseconds to begin.
constexpr std::size_t kPieceBytes = std::size_t{128} * 1024;
// And so many rows of blocks where the one above has to be decoded for its colours.
constexpr std::uint32_t kBlocksPerPiece = 4;

std::uint32_t rowsPerPieceOf(const JpegRestarts& restarts) {
  const auto fitting = static_cast<std::uint32_t>(kPieceBytes / (restarts.width * kBytesPerPixel));
  const std::uint32_t least = restarts.hasSharedColorRows ? kBlocksPerPiece * restarts.rowsPerBlock : 1;
  return ceilDivide(std::max({fitting, least, 1U}), restarts.rowsPerStep) * restarts.rowsPerStep;
}

}  // namespace

RestartJpegRows::RestartJpegRows(std::span<const std::uint8_t> jpeg, JpegRestarts restarts,
                                 std::unique_ptr<JpegDecoder> whole)
    : jpeg_(jpeg),
      restarts_(std::move(restarts)),
      rowsPerPiece_(rowsPerPieceOf(restarts_)),
      pieces_(ceilDivide(restarts_.height, rowsPerPiece_)),
      decoder_(std::move(whole)) {}

bool RestartJpegRows::readRows(std::span<std::uint8_t> rows) noexcept {
  while (!rows.empty()) {
    const std::size_t toPieceEnd = (rowsPerPiece_ - row_ % rowsPerPiece_) * rowBytes();
    const auto here = rows.first(std::min(rows.size(), toPieceEnd));
    if (!(isWhole_ ? readHere(here) : readOfPiece(here) || readAnew(here))) {
      failure_ = decoder_ ? decoder_->failure() : failure_;
      return false;
    }
    row_ += static_cast<std::uint32_t>(here.size() / rowBytes());
    rows = rows.subspan(here.size());
  }
  return true;
}

bool RestartJpegRows::readOfPiece(std::span<std::uint8_t> rows) noexcept {
  const std::uint32_t piece = row_ / rowsPerPiece_;
  Ahead* const ahead = takeAhead(piece);
  if (!ahead) return readHere(rows);
  const std::size_t begin = (row_ % rowsPerPiece_) * rowBytes();
  const bool isSound = ahead->isSound;
  if (isSound) std::copy_n(ahead->rows.get() + begin, rows.size(), rows.data());
  if (!isSound || begin + rows.size() == bytesOf(piece)) giveBack(*ahead);
  return isSound;
}

// Nothing when the piece is ours to decode.
RestartJpegRows::Ahead* RestartJpegRows::takeAhead(std::uint32_t piece) noexcept {
  std::unique_lock lock(mutex_);
  unclaimed_ = std::max(unclaimed_, piece + 1);
  const auto ahead =
      std::find_if(ahead_.begin(), ahead_.end(), [=](const Ahead& one) { return one.piece == piece; });
  if (ahead == ahead_.end()) return nullptr;
  done_.wait(lock, [&] { return ahead->isDone; });
  return &*ahead;
}

void RestartJpegRows::giveBack(Ahead& ahead) noexcept {
  const std::lock_guard lock(mutex_);
  ahead.piece = kNone;
}

bool RestartJpegRows::readHere(std::span<std::uint8_t> rows) noexcept {
  if (decoderRow_ != row_) decoder_ = decoderAt(row_, rows);
  if (!decoder_ || !decoder_->readRows(rows)) return false;
  decoderRow_ = row_ + static_cast<std::uint32_t>(rows.size() / rowBytes());
  return true;
}

// Something is damaged: what there is to see, or to say, is what one decoder makes of it.
bool RestartJpegRows::readAnew(std::span<std::uint8_t> rows) noexcept {
  isWhole_ = true;
  {
    const std::lock_guard lock(mutex_);
    unclaimed_ = pieces_;
  }
  try {
    decoder_ = JpegDecoder::open(jpeg_, {}, failure_);
  } catch (const std::exception& error) {
    failure_ = error.what();
    decoder_ = nullptr;
  }
  if (!decoder_) return false;
  for (std::uint32_t row = 0; row < row_; ++row)
    if (!decoder_->readRow(rows.data())) return false;
  decoderRow_ = row_;
  return readHere(rows);
}

bool RestartJpegRows::canReadAhead() const noexcept {
  const std::lock_guard lock(mutex_);
  return unclaimed_ < pieces_ && freeAhead();
}

const RestartJpegRows::Ahead* RestartJpegRows::freeAhead() const noexcept {
  const auto free =
      std::find_if(ahead_.begin(), ahead_.end(), [](const Ahead& one) { return one.piece == kNone; });
  return free == ahead_.end() ? nullptr : &*free;
}

void RestartJpegRows::readAhead() noexcept {
  std::unique_lock lock(mutex_);
  const Ahead* const free = freeAhead();
  if (unclaimed_ >= pieces_ || !free) return;
  Ahead& ahead = ahead_[static_cast<std::size_t>(free - ahead_.data())];
  ahead.piece = unclaimed_++;
  ahead.isDone = false;
  lock.unlock();
  const bool isSound = decodePiece(ahead);
  lock.lock();
  ahead.isSound = isSound;
  ahead.isDone = true;
  done_.notify_all();
}

bool RestartJpegRows::decodePiece(Ahead& ahead) const noexcept {
  try {
    if (!ahead.rows) ahead.rows = std::make_unique_for_overwrite<std::uint8_t[]>(rowsPerPiece_ * rowBytes());
  } catch (const std::bad_alloc&) {
    return false;
  }
  const std::span rows(ahead.rows.get(), bytesOf(ahead.piece));
  const auto decoder = decoderAt(ahead.piece * rowsPerPiece_, rows);
  return decoder && decoder->readRows(rows);
}

// A decoder that delivers `firstRow`, with which a step begins, next. `scratch` has room for a row.
std::unique_ptr<JpegDecoder> RestartJpegRows::decoderAt(std::uint32_t firstRow,
                                                        std::span<std::uint8_t> scratch) const noexcept {
  const std::size_t step = firstRow / restarts_.rowsPerStep;
  const std::size_t before = restarts_.hasSharedColorRows && step > 0 ? 1 : 0;
  const std::size_t from = step - before;
  try {
    std::string whyNot;
    auto decoder =
        JpegDecoder::openPart(headerFrom(from, jpeg_, restarts_), jpeg_.subspan(restarts_.steps[from]),
                              restarts_.markerOf(from), {}, whyNot);
    for (std::size_t row = 0; decoder && row < before * restarts_.rowsPerStep; ++row)
      if (!decoder->readRow(scratch.data())) return nullptr;
    return decoder;
  } catch (const std::exception&) {
    return nullptr;
  }
}

std::size_t RestartJpegRows::bytesOf(std::uint32_t piece) const noexcept {
  return std::min(rowsPerPiece_, restarts_.height - piece * rowsPerPiece_) * rowBytes();
}

}  // namespace picture
