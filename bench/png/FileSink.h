#pragma once

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "picture/ByteSink.h"

namespace camera_shot_bench {

/// Writes a new file.
class FileSink final : public picture::ByteSink {
 public:
  explicit FileSink(const std::string& path)
      : file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {}
  ~FileSink() override {
    if (file_ >= 0) ::close(file_);
  }

  bool write(std::span<const std::uint8_t> bytes) noexcept override {
    while (!bytes.empty()) {
      const ssize_t count = ::write(file_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

  /// Waits until the file is on the disk.
  [[nodiscard]] bool sync() noexcept { return ::fsync(file_) == 0; }

 private:
  int file_;
};

}  // namespace camera_shot_bench
