#include "picture/png/PngFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "picture/ByteVector.h"
#include "picture/RowSource.h"

namespace picture {
namespace {

// The filters' numbers in the file.
constexpr std::uint8_t kNone = 0;
constexpr std::uint8_t kPaeth = 4;

// The Paeth predictor of PNG (section 9.4), `left`, `above` and `aboveLeft` of the pixel to predict. The
// distances to the estimate left + above - aboveLeft are taken without leaving 8 bits:
//   left:      |above - aboveLeft|
//   above:     |left - aboveLeft|
//   aboveLeft: the difference of the two others when it lies between left and above; otherwise their sum,
//   which
//              never wins, so that any value as large will do.
ByteVector paethPredictor(ByteVector left, ByteVector above, ByteVector aboveLeft) {
  const ByteVector low = smaller(left, above);
  const ByteVector high = larger(left, above);
  const ByteVector between =
      equalMask(larger(aboveLeft, high), high) & equalMask(smaller(aboveLeft, low), low);
  const ByteVector leftDistance = distance(above, aboveLeft);
  const ByteVector aboveDistance = distance(left, aboveLeft);
  const ByteVector aboveLeftDistance = distance(leftDistance, aboveDistance) | ~between;
  const ByteVector smallest = smaller(aboveDistance, aboveLeftDistance);
  const ByteVector aboveWins = equalMask(aboveDistance, smallest);
  const ByteVector leftWins = equalMask(smaller(leftDistance, smallest), leftDistance);
  const ByteVector other = (above & aboveWins) | (aboveLeft & ~aboveWins);
  return (left & leftWins) | (other & ~leftWins);
}

std::uint8_t paethPredictor(int left, int above, int aboveLeft) {
  const int leftDistance = std::abs(above - aboveLeft);
  const int aboveDistance = std::abs(left - aboveLeft);
  const int aboveLeftDistance = std::abs(left + above - 2 * aboveLeft);
  if (leftDistance <= aboveDistance && leftDistance <= aboveLeftDistance)
    return static_cast<std::uint8_t>(left);
  return static_cast<std::uint8_t>(aboveDistance <= aboveLeftDistance ? above : aboveLeft);
}

void filterPaeth(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::uint8_t* out) {
  // The first pixel has nothing to its left; there the predictor is the pixel above.
  std::size_t i = 0;
  for (; i < kBytesPerPixel; ++i)
    out[i] = static_cast<std::uint8_t>(row[i] - previous[i]);
  const std::uint8_t* current = row.data();
  for (; i + kByteVectorSize <= row.size(); i += kByteVectorSize) {
    const ByteVector predicted = paethPredictor(load(current + i - kBytesPerPixel), load(previous + i),
                                                load(previous + i - kBytesPerPixel));
    store(load(current + i) - predicted, out + i);
  }
  for (; i < row.size(); ++i) {
    out[i] = static_cast<std::uint8_t>(
        row[i] - paethPredictor(row[i - kBytesPerPixel], previous[i], previous[i - kBytesPerPixel]));
  }
}

bool isBlack(std::span<const std::uint8_t> row) {
  return std::all_of(row.begin(), row.end(), [](std::uint8_t value) { return value == 0; });
}

}  // namespace

void filterRow(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::uint8_t* out) noexcept {
  if (isBlack(row)) {
    *out++ = kNone;
    std::fill_n(out, row.size(), std::uint8_t{0});
  } else {
    *out++ = kPaeth;
    filterPaeth(row, previous, out);
  }
}

}  // namespace picture
