#include "tests/desktop/virtual-camera/FrameRecorder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <zlib.h>

namespace virtual_camera {
namespace {

std::string fileName(std::uint64_t sequence, PixelFormat format) {
  std::array<char, 32> number{};
  std::snprintf(number.data(), number.size(), "/%08" PRIu64 ".", sequence);
  std::string name(number.data());
  if (format == PixelFormat::kMjpg) return name + "jpg";
  for (const char letter : formatName(format))
    name += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return name;
}

}  // namespace

FrameRecorder::FrameRecorder(const CameraSpec& spec) : dump_(spec.dump) {
  if (!spec.log.empty()) {
    log_.open(spec.log);
    if (!log_) throw std::runtime_error("cannot write the log " + spec.log);
  }
  std::error_code error;
  if (!dump_.empty() && !std::filesystem::create_directories(dump_, error) && error)
    throw std::runtime_error("cannot make the folder " + dump_ + ": " + error.message());
}

void FrameRecorder::record(std::uint64_t sequence, PixelFormat format, std::span<const std::uint8_t> bytes) {
  if (!dump_.empty()) {
    std::ofstream file(dump_ + fileName(sequence, format), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  if (!log_.is_open()) return;
  const auto checksum = crc32(0, bytes.data(), static_cast<uInt>(bytes.size()));
  std::array<char, 64> line{};
  std::snprintf(line.data(), line.size(), "%" PRIu64 " %zu %08lx\n", sequence, bytes.size(), checksum);
  log_ << line.data() << std::flush;
}

}  // namespace virtual_camera
