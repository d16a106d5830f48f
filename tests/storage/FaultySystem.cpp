#include "tests/storage/FaultySystem.h"

#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage_tests {
namespace {

FaultySystem* current = nullptr;

/// The C library's own function of that name.
template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool fails(std::string_view call) {
  return current && current->fails(call);
}

}  // namespace

FaultySystem::FaultySystem(int which, int error, Fault fault) : which_(which), error_(error), fault_(fault) {
  current = this;
}

FaultySystem::FaultySystem(std::string_view call, int error) : call_(call), error_(error) {
  current = this;
}

FaultySystem::~FaultySystem() {
  current = nullptr;
}

bool FaultySystem::fails(std::string_view call) {
  if (fault_ != Fault::Error || (call_.empty() ? calls_++ != which_ : call != call_)) return false;
  failedCall_ = call;
  errno = error_;
  return true;
}

bool FaultySystem::isShort(std::string_view call) {
  if (fault_ != Fault::ShortWrite || call != "write" || calls_++ != which_) return false;
  failedCall_ = call;
  return true;
}

}  // namespace storage_tests

using storage_tests::current;
using storage_tests::fails;
using storage_tests::original;

extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const auto mode = (flags & O_CREAT) ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  static auto* const real = original<int(const char*, int, ...)>("open");
  return fails("open") ? -1 : real(path, flags, mode);
}

ssize_t write(int file, const void* bytes, size_t size) {
  static auto* const real = original<ssize_t(int, const void*, size_t)>("write");
  if (current && current->isShort("write")) return real(file, bytes, (size + 1) / 2);
  return fails("write") ? -1 : real(file, bytes, size);
}

int fsync(int file) {
  static auto* const real = original<int(int)>("fsync");
  return fails("fsync") ? -1 : real(file);
}

int rename(const char* from, const char* to) noexcept {
  static auto* const real = original<int(const char*, const char*)>("rename");
  return fails("rename") ? -1 : real(from, to);
}

int flock(int file, int operation) noexcept {
  static auto* const real = original<int(int, int)>("flock");
  return fails("flock") ? -1 : real(file, operation);
}

int fstat(int file, struct stat* status) noexcept {
  static auto* const real = original<int(int, struct stat*)>("fstat");
  return fails("fstat") ? -1 : real(file, status);
}

int fchmod(int file, mode_t mode) noexcept {
  static auto* const real = original<int(int, mode_t)>("fchmod");
  return fails("fchmod") ? -1 : real(file, mode);
}

int ftruncate(int file, off_t size) noexcept {
  static auto* const real = original<int(int, off_t)>("ftruncate");
  return fails("ftruncate") ? -1 : real(file, size);
}

ssize_t read(int file, void* bytes, size_t size) {
  static auto* const real = original<ssize_t(int, void*, size_t)>("read");
  return fails("read") ? -1 : real(file, bytes, size);
}

ssize_t pread(int file, void* bytes, size_t size, off_t offset) {
  static auto* const real = original<ssize_t(int, void*, size_t, off_t)>("pread");
  return fails("pread") ? -1 : real(file, bytes, size, offset);
}

int mkdir(const char* path, mode_t mode) noexcept {
  static auto* const real = original<int(const char*, mode_t)>("mkdir");
  return fails("mkdir") ? -1 : real(path, mode);
}

}  // extern "C"
