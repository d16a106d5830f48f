#pragma once

namespace picture {

/// How many times `divisor` it takes to hold `value`; neither is negative.
template <typename Integer>
[[nodiscard]] constexpr Integer ceilDivide(Integer value, Integer divisor) {
  return (value + divisor - 1) / divisor;
}

}  // namespace picture
