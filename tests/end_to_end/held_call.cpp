// Preloaded into a program: a call that a photo needs on its way to the disk, or that asks for a file, stops
// until a test lets it go on. HELD_CALL names the call, HELD_FILE a part of the file's path, HELD_CALL_SOCKET
// where the test listens: to connect there says that the call has been reached, and the call goes on when the
// connection ends. Nobody listens: it goes on at once.
#include <cstdio>  // before jpeglib.h, which needs it
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <jpeglib.h>

namespace {

void holdIfWanted(const char* call) {
  const char* const wanted = std::getenv("HELD_CALL");
  const char* const path = std::getenv("HELD_CALL_SOCKET");
  if (!wanted || !path || std::strcmp(call, wanted) != 0) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  const int test = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  char end = 0;
  if (::connect(test, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
    while (::recv(test, &end, 1, 0) > 0) {
    }
  ::close(test);
}

bool isWanted(const char* path) {
  const char* const wanted = std::getenv("HELD_FILE");
  return wanted && std::strstr(path, wanted) != nullptr;
}

/// A file on its way bears its later name within its own.
bool isWanted(int file) {
  char link[64];
  char path[4096] = "";
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  return ::readlink(link, path, sizeof path - 1) > 0 && isWanted(path);
}

/// A preview decodes pictures, too, but smaller ones.
bool isInFull(const jpeg_decompress_struct& decoder) {
  return decoder.scale_num == decoder.scale_denom;
}

/// The library's own function of that name.
template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int fsync(int file) {
  static auto* const real = original<int(int)>("fsync");
  if (isWanted(file)) holdIfWanted("fsync");
  return real(file);
}

int stat(const char* path, struct stat* status) noexcept {
  static auto* const real = original<int(const char*, struct stat*)>("stat");
  if (isWanted(path)) holdIfWanted("stat");
  return real(path, status);
}

boolean jpeg_start_decompress(j_decompress_ptr decoder) {
  static auto* const real = original<boolean(j_decompress_ptr)>("jpeg_start_decompress");
  if (isInFull(*decoder)) holdIfWanted("jpeg_start_decompress");
  return real(decoder);
}

}  // extern "C"
