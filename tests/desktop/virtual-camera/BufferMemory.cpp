#include "tests/desktop/virtual-camera/BufferMemory.h"

#include <cerrno>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace virtual_camera {
namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

BufferMemory::Area::Area(std::size_t size)
    : descriptor_(memfd_create("virtual-camera", MFD_CLOEXEC)), size_(size), data_(nullptr) {
  if (descriptor_ < 0) fail("memfd_create");
  void* mapped = MAP_FAILED;
  if (ftruncate(descriptor_, static_cast<off_t>(size)) == 0)
    mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
  if (mapped == MAP_FAILED) {
    const int cause = errno;
    close(descriptor_);
    errno = cause;
    fail("shared memory");
  }
  data_ = static_cast<std::uint8_t*>(mapped);
}

BufferMemory::Area::~Area() {
  munmap(data_, size_);
  close(descriptor_);
}

BufferMemory::BufferMemory(spa_buffer& buffer, const FrameLayout& layout, const CameraSpec& spec) {
  const bool inBlocks = spec.blocks != Blocks::kOne;
  if (spec.blocks == Blocks::kShared)
    areas_.push_back(std::make_unique<Area>(layout.size + layout.planes.size() * spec.lead));
  for (std::uint32_t block = 0; block < buffer.n_datas; ++block) {
    auto& data = buffer.datas[block];
    const auto size = spec.lead + (inBlocks ? layout.planes.at(block).size : layout.size);
    if (spec.blocks != Blocks::kShared) areas_.push_back(std::make_unique<Area>(size));
    const auto& area = *areas_.back();
    const auto offset =
        spec.blocks == Blocks::kShared ? layout.planes.at(block).offset + block * spec.lead : 0;
    data.type = spec.memory == Memory::kDmaBuf ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
    data.flags = SPA_DATA_FLAG_READWRITE;
    data.fd = area.descriptor();
    data.mapoffset = static_cast<std::uint32_t>(offset);
    data.maxsize = static_cast<std::uint32_t>(size);
    data.data = area.data() + offset;
  }
}

}  // namespace virtual_camera
