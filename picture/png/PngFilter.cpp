#include "picture/png/PngFilter.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "picture/ByteVector.h"
#include "picture/RowSource.h"
#include "picture/png/Avx512.h"

namespace picture {
namespace {

// The filters' numbers in the file.
constexpr std::uint8_t kNone = 0;
constexpr std::uint8_t kSub = 1;
constexpr std::uint8_t kUp = 2;
constexpr std::uint8_t kPaeth = 4;

// The Paeth predictor of PNG (section 9.4), `left`, `above` and `aboveLeft` of the pixel to predict. The
// distances to the estimate left + above - aboveLeft are taken without leaving 8 bits:
//   left:      |above - aboveLeft|
//   above:     |left - aboveLeft|
//   aboveLeft: the difference of the two others when it lies between left and above; otherwise their sum,
//   which
//              never wins, so that any value as large will do.
template <typename Vector>
[[gnu::always_inline]] inline Vector paethPredictor(Vector left, Vector above, Vector aboveLeft) {
  const Vector low = smaller(left, above);
  const Vector high = larger(left, above);
  const Vector between = equalMask(larger(aboveLeft, high), high) & equalMask(smaller(aboveLeft, low), low);
  const Vector leftDistance = distance(above, aboveLeft);
  const Vector aboveDistance = distance(left, aboveLeft);
  const Vector aboveLeftDistance = distance(leftDistance, aboveDistance) | ~between;
  const Vector smallest = smaller(aboveDistance, aboveLeftDistance);
  const Vector aboveWins = equalMask(aboveDistance, smallest);
  const Vector leftWins = equalMask(smaller(leftDistance, smallest), leftDistance);
  const Vector other = (above & aboveWins) | (aboveLeft & ~aboveWins);
  return (left & leftWins) | (other & ~leftWins);
}

std::uint8_t paethPredictor(std::uint8_t left, std::uint8_t above, std::uint8_t aboveLeft) {
  const int leftDistance = std::abs(above - aboveLeft);
  const int aboveDistance = std::abs(left - aboveLeft);
  const int aboveLeftDistance = std::abs(left + above - 2 * aboveLeft);
  if (leftDistance <= aboveDistance && leftDistance <= aboveLeftDistance) return left;
  return aboveDistance <= aboveLeftDistance ? above : aboveLeft;
}

// Each predictor answers for a vector and for a single byte; what lies outside of the picture is zero.
struct Paeth {
  static constexpr std::uint8_t kNumber = kPaeth;
  template <typename Vector>
  [[gnu::always_inline]] Vector operator()(Vector left, Vector above, Vector aboveLeft) const {
    return paethPredictor(left, above, aboveLeft);
  }
  std::uint8_t operator()(std::uint8_t left, std::uint8_t above, std::uint8_t aboveLeft) const {
    return paethPredictor(left, above, aboveLeft);
  }
};
struct Up {
  static constexpr std::uint8_t kNumber = kUp;
  template <typename Vector>
  [[gnu::always_inline]] Vector operator()(Vector, Vector above, Vector) const {
    return above;
  }
  std::uint8_t operator()(std::uint8_t, std::uint8_t above, std::uint8_t) const { return above; }
};
struct Sub {
  static constexpr std::uint8_t kNumber = kSub;
  template <typename Vector>
  [[gnu::always_inline]] Vector operator()(Vector left, Vector, Vector) const {
    return left;
  }
  std::uint8_t operator()(std::uint8_t left, std::uint8_t, std::uint8_t) const { return left; }
};

// What follows is to be compiled for more than one kind of processor.

// Of the bytes from `at` on, those of the row above at `previous`; pixels to the left are read, too.
template <typename Predictor, typename Vector>
[[gnu::always_inline]] inline Vector residuals(const std::uint8_t* at, const std::uint8_t* previous) {
  return load<Vector>(at) - Predictor{}(load<Vector>(at - kBytesPerPixel), load<Vector>(previous),
                                        load<Vector>(previous - kBytesPerPixel));
}

template <typename Predictor, typename Vector>
[[gnu::always_inline]] inline void filterBytes(std::span<const std::uint8_t> row,
                                               const std::uint8_t* previous, std::uint8_t* out) {
  constexpr Predictor kPredict;
  const std::uint8_t* current = row.data();
  std::size_t i = 0;
  for (; i < kBytesPerPixel; ++i)
    out[i] = static_cast<std::uint8_t>(current[i] - kPredict(std::uint8_t{0}, previous[i], std::uint8_t{0}));
  for (; i + sizeof(Vector) <= row.size(); i += sizeof(Vector))
    store(residuals<Predictor, Vector>(current + i, previous + i), out + i);
  for (; i < row.size(); ++i) {
    out[i] = static_cast<std::uint8_t>(
        current[i] - kPredict(current[i - kBytesPerPixel], previous[i], previous[i - kBytesPerPixel]));
  }
}

// What a filter would leave is told by samples of the row: one window in every period. The fewer suffice to
// see that a row is not smooth, which saves noisy photographs the others.
constexpr std::size_t kWindowBytes = 64;
constexpr std::size_t kFewWindowsPeriod = 16 * kWindowBytes;
constexpr std::size_t kManyWindowsPeriod = 4 * kWindowBytes;

// A byte that repeats the one before is taken to cost nothing, another one this and its distance from zero,
// up to a limit.
constexpr std::uint8_t kChangeCost = 2;
constexpr std::uint8_t kFarthest = 6;

// Below this mean cost of a byte, other filters than Paeth's leave longer repetitions in many rows. Above,
// they may look better by these costs, but came out up to 1 % larger on noisy photographs. A sample errs:
// another filter has to be better by a sixteenth.
constexpr double kSmoothBelowCost = 1.6;
constexpr std::uint32_t kClearlyBetter = 16;

// In half bits, roughly.
template <typename Vector>
[[gnu::always_inline]] inline Vector costsOf(Vector residual, Vector before) {
  const Vector distanceFromZero = smaller(residual, Vector{} - residual);
  const Vector cost = smaller(distanceFromZero, Vector{} + kFarthest) + kChangeCost;
  return cost & ~equalMask(residual, before);
}

// Of one window, those of its vectors added up. The byte before it is taken to be zero.
template <typename Predictor, typename Vector>
[[gnu::always_inline]] inline Vector windowCosts(const std::uint8_t* at, const std::uint8_t* previous) {
  Vector costs{};
  Vector before{};
  for (std::size_t i = 0; i < kWindowBytes; i += sizeof(Vector)) {
    const Vector here = residuals<Predictor, Vector>(at + i, previous + i);
    costs += costsOf(here, movedUp(before, here));
    before = here;
  }
  return costs;
}

// The windows that can be added up before a byte is full.
constexpr std::size_t kWindowsAtOnce = 255 / ((kWindowBytes / kByteVectorSize) * (kChangeCost + kFarthest));

struct Cost {
  std::uint32_t total = 0;
  std::uint32_t bytes = 0;
};

// The first pixel lacks its left neighbour, and is not counted.
template <typename Predictor, typename Vector>
[[gnu::always_inline]] inline Cost costOf(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                                          std::size_t period) {
  Cost cost;
  Vector costs{};
  std::size_t windows = 0;
  for (std::size_t at = kBytesPerPixel; at + kWindowBytes <= row.size(); at += period) {
    costs += windowCosts<Predictor, Vector>(row.data() + at, previous + at);
    cost.bytes += kWindowBytes;
    if (++windows % kWindowsAtOnce != 0) continue;
    cost.total += sumOf(costs);
    costs = Vector{};
  }
  cost.total += sumOf(costs);
  return cost;
}

struct AnyProcessor {
  template <typename Predictor>
  static void filter(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::uint8_t* out) {
    filterBytes<Predictor, ByteVector>(row, previous, out);
  }
  template <typename Predictor>
  static Cost cost(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::size_t period) {
    return costOf<Predictor, ByteVector>(row, previous, period);
  }
};

#ifdef __x86_64__
// By less than half the instructions.
struct WithAvx2 {
  template <typename Predictor>
  [[gnu::target("avx2")]] static void filter(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                                             std::uint8_t* out) {
    filterBytes<Predictor, WideByteVector>(row, previous, out);
  }
  template <typename Predictor>
  [[gnu::target("avx2")]] static Cost cost(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                                           std::size_t period) {
    return costOf<Predictor, WideByteVector>(row, previous, period);
  }
};

struct WithAvx512 {
  template <typename Predictor>
  CAMERA_SHOT_FOR_AVX512 static void filter(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                                            std::uint8_t* out) {
    filterBytes<Predictor, WidestByteVector>(row, previous, out);
  }
  template <typename Predictor>
  CAMERA_SHOT_FOR_AVX512 static Cost cost(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                                          std::size_t period) {
    return costOf<Predictor, WidestByteVector>(row, previous, period);
  }
};
#endif

template <typename Processor, typename Predictor>
void filterBy(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::uint8_t* out) {
  *out = Predictor::kNumber;
  Processor::template filter<Predictor>(row, previous, out + 1);
}

bool isSmooth(Cost paeth) {
  return paeth.total < kSmoothBelowCost * paeth.bytes;
}

bool isBlack(std::span<const std::uint8_t> row) {
  return std::all_of(row.begin(), row.end(), [](std::uint8_t value) { return value == 0; });
}

template <typename Processor>
void filterRowOn(std::span<const std::uint8_t> row, const std::uint8_t* previous,
                 std::uint8_t* out) noexcept {
  if (isBlack(row)) {
    *out++ = kNone;
    std::fill_n(out, row.size(), std::uint8_t{0});
    return;
  }
  if (!isSmooth(Processor::template cost<Paeth>(row, previous, kFewWindowsPeriod)))
    return filterBy<Processor, Paeth>(row, previous, out);
  const auto costBy = [=]<typename Predictor>(Predictor) {
    return Processor::template cost<Predictor>(row, previous, kManyWindowsPeriod).total;
  };
  const std::uint32_t paeth = costBy(Paeth{});
  const std::uint32_t up = costBy(Up{});
  const std::uint32_t sub = costBy(Sub{});
  const std::uint32_t other = std::min(up, sub);
  if (paeth <= other + other / kClearlyBetter) return filterBy<Processor, Paeth>(row, previous, out);
  return up <= sub ? filterBy<Processor, Up>(row, previous, out)
                   : filterBy<Processor, Sub>(row, previous, out);
}

}  // namespace

std::span<RowFilter* const> rowFilters() noexcept {
#ifdef __x86_64__
  static constexpr std::array<RowFilter*, 3> kFilters = {filterRowOn<AnyProcessor>, filterRowOn<WithAvx2>,
                                                         filterRowOn<WithAvx512>};
  if (hasAvx512()) return kFilters;
  return std::span(kFilters).first(__builtin_cpu_supports("avx2") ? 2 : 1);
#else
  static constexpr std::array<RowFilter*, 1> kFilters = {filterRowOn<AnyProcessor>};
  return kFilters;
#endif
}

void filterRow(std::span<const std::uint8_t> row, const std::uint8_t* previous, std::uint8_t* out) noexcept {
  rowFilters().back()(row, previous, out);
}

}  // namespace picture
