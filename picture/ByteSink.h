#pragma once

#include <cstdint>
#include <span>

namespace picture {

/// Where finished bytes go, in order. One call at a time, but the calls may come from different threads.
class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  virtual ~ByteSink() = default;

  /// Takes all of `bytes`, or answers false, after which it is not called again.
  [[nodiscard]] virtual bool write(std::span<const std::uint8_t> bytes) noexcept = 0;
};

}  // namespace picture
