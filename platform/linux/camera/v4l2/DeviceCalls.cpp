#include "platform/linux/camera/v4l2/DeviceCalls.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

#include "platform/linux/base/FileDescriptor.h"

namespace platform_linux {
namespace {

class KernelBuffer final : public MappedBuffer {
 public:
  KernelBuffer(void* data, std::size_t size) : data_(data), size_(size) {}
  KernelBuffer(const KernelBuffer&) = delete;
  KernelBuffer& operator=(const KernelBuffer&) = delete;
  ~KernelBuffer() override { ::munmap(data_, size_); }

  [[nodiscard]] const std::uint8_t* data() const override { return static_cast<const std::uint8_t*>(data_); }
  [[nodiscard]] std::size_t size() const override { return size_; }

 private:
  void* const data_;
  const std::size_t size_;
};

class KernelDevice final : public DeviceFile {
 public:
  explicit KernelDevice(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  [[nodiscard]] int control(unsigned long request, void* argument) override {
    while (::ioctl(descriptor_.get(), request, argument) != 0)
      if (errno != EINTR) return errno;
    return 0;
  }

  [[nodiscard]] std::unique_ptr<MappedBuffer> map(std::size_t length, std::int64_t offset) override {
    // Some drivers refuse mappings that cannot be written to.
    void* const data = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_.get(),
                              static_cast<off_t>(offset));
    if (data == MAP_FAILED) return nullptr;
    return std::make_unique<KernelBuffer>(data, length);
  }

  [[nodiscard]] int descriptor() const override { return descriptor_.get(); }

 private:
  const FileDescriptor descriptor_;
};

constexpr std::string_view kName = "video";

}  // namespace

std::optional<unsigned> deviceNumber(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  if (!name.starts_with(kName)) return {};
  unsigned number = 0;
  const char* const nameEnd = name.data() + name.size();
  const auto [end, error] = std::from_chars(name.data() + kName.size(), nameEnd, number);
  if (error != std::errc() || end != nameEnd) return {};
  return number;
}

std::vector<std::string> devicePaths(const std::filesystem::path& folder) {
  std::vector<std::string> paths;
  std::error_code error;
  for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
       each.increment(error))
    if (deviceNumber(each->path())) paths.push_back(each->path().native());
  std::sort(paths.begin(), paths.end(), [](auto& a, auto& b) { return deviceNumber(a) < deviceNumber(b); });
  return paths;
}

std::pair<std::unique_ptr<DeviceFile>, int> KernelDeviceCalls::open(const std::string& path) {
  while (true) {
    FileDescriptor descriptor(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (descriptor) return {std::make_unique<KernelDevice>(std::move(descriptor)), 0};
    if (errno != EINTR) return {nullptr, errno};
  }
}

bool KernelDeviceCalls::areAllRefused() const {
  const std::vector<std::string> paths = devicePaths(folder_);
  return !paths.empty() && std::all_of(paths.begin(), paths.end(), [](auto& path) {
    return ::access(path.c_str(), R_OK | W_OK) != 0 && (errno == EACCES || errno == EPERM);
  });
}

}  // namespace platform_linux
