#pragma once

#include <cerrno>
#include <string_view>

namespace storage_tests {

/// Makes one system call of this program fail: the calls named below are defined here in place of the C
/// library's, for everything that is linked into the program. One at a time, one thread.
class FaultySystem {
 public:
  /// Whether the call fails at all or, for `write`, takes only half of the bytes once.
  enum class Fault { Error, ShortWrite };

  /// The call number `which`, from 0, of those that come from now on, whatever it is, fails with `error`.
  FaultySystem(int which, int error, Fault fault = Fault::Error);
  /// Every call of that name fails with `error`.
  FaultySystem(std::string_view call, int error);
  FaultySystem(const FaultySystem&) = delete;
  FaultySystem& operator=(const FaultySystem&) = delete;
  ~FaultySystem();

  /// Name of the call that failed; empty while none did.
  std::string_view failedCall() const { return failedCall_; }

  /// For the calls in place: sets errno and answers true when the call is to fail.
  bool fails(std::string_view call);
  bool isShort(std::string_view call);

 private:
  const int which_ = -1;
  const std::string_view call_;
  const int error_;
  const Fault fault_ = Fault::Error;
  int calls_ = 0;
  std::string_view failedCall_;
};

}  // namespace storage_tests
