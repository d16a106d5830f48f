#include "platform/linux/camera/pipewire/DmaBufRead.h"

#include <cerrno>
#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace platform_linux {
namespace {

/// A device that is still writing may make the call be interrupted; it is asked again, but not for ever.
constexpr int kAttempts = 8;

void sync(int descriptor, std::uint64_t flags) {
  dma_buf_sync call{};
  call.flags = flags | DMA_BUF_SYNC_READ;
  for (int i = 0; i < kAttempts; ++i)
    if (::ioctl(descriptor, DMA_BUF_IOCTL_SYNC, &call) == 0 || (errno != EINTR && errno != EAGAIN)) return;
}

}  // namespace

DmaBufRead::DmaBufRead(const spa_data& data) : bytes_(static_cast<const std::uint8_t*>(data.data)) {
  if (data.type != SPA_DATA_DmaBuf || data.fd < 0) return;
  descriptor_ = static_cast<int>(data.fd);
  if (!bytes_) map(data);
  if (bytes_) sync(descriptor_, DMA_BUF_SYNC_START);
}

DmaBufRead::~DmaBufRead() {
  if (descriptor_ >= 0 && bytes_) sync(descriptor_, DMA_BUF_SYNC_END);
  if (mapping_) ::munmap(mapping_, mappedSize_);
}

// The library maps only what is marked as mappable, which not every camera does.
void DmaBufRead::map(const spa_data& data) {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const std::size_t begin = data.mapoffset / page * page;
  mappedSize_ = data.mapoffset - begin + data.maxsize;
  void* const mapped =
      ::mmap(nullptr, mappedSize_, PROT_READ, MAP_SHARED, descriptor_, static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return;
  mapping_ = mapped;
  bytes_ = static_cast<const std::uint8_t*>(mapped) + (data.mapoffset - begin);
}

}  // namespace platform_linux
