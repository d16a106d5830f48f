#include "platform/linux/storage/FileManager.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include <glib.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/SystemCall.h"
#include "platform/linux/storage/FileLock.h"
#include "platform/linux/storage/PrivateFolders.h"

namespace platform_linux {

namespace fs = std::filesystem;

bool FileManager::fileExistsAtPath(const std::string& path) const {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

int FileManager::whyNotWritableDirectory(const std::string& path) const {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return errno;
  if (!S_ISDIR(status.st_mode)) return ENOTDIR;
  return ::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

std::string FileManager::abbreviatingWithTilde(const std::string& path) const {
  std::string home = g_get_home_dir();
  while (home.ends_with('/'))
    home.pop_back();
  if (home.empty() || !path.starts_with(home)) return path;
  const std::string rest = path.substr(home.size());
  return rest.empty() || rest.front() == '/' ? "~" + rest : path;
}

std::optional<std::string> FileManager::picturesDirectory() {
  const char* const chosen = g_get_user_special_dir(G_USER_DIRECTORY_PICTURES);
  const fs::path home = g_get_home_dir();
  std::error_code error;
  // The root folder is what the library answers for a user without a home.
  const bool homeless = home.empty() || home == "/" || !fs::is_directory(home, error);
  if (!chosen && homeless) return std::nullopt;
  const fs::path pictures = chosen ? fs::path(chosen) : home / "Pictures";
  fs::create_directories(pictures, error);
  return pictures.string();
}

namespace {

/// How long a line waits for others. They hold the lock for microseconds; whoever keeps it longer is none of
/// ours. Several lines a run are written on the main thread, and all of them together must not be noticed.
constexpr std::chrono::milliseconds kLockPatience{50};

/// Whether the file's last line lacks its end, as a power cut leaves it.
bool endsInsideALine(int file, off_t size) {
  char last = '\n';
  return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

/// One write, so that even a reader sees whole lines; short when the disk is full.
bool writeAtOnce(int file, const std::string& text) {
  const ssize_t written = uninterrupted([&] { return ::write(file, text.data(), text.size()); });
  return written == static_cast<ssize_t>(text.size());
}

bool appendToRegularFile(int file, const std::string& line) {
  // Held for the microseconds of one write, so that a short write can be taken back before others append.
  const bool locked = lockWithin(file, kLockPatience) == 0;
  struct stat status {};
  if (::fstat(file, &status) != 0) return false;
  const std::string text = (endsInsideALine(file, status.st_size) ? "\n" : "") + line + "\n";
  if (writeAtOnce(file, text)) return true;
  if (locked) std::ignore = ::ftruncate(file, status.st_size);
  return false;
}

}  // namespace

bool FileManager::appendLine(const std::string& path, const std::string& line) {
  if (!makePrivateFolders(fs::path(path).parent_path())) return false;
  const FileDescriptor file(
      ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return false;
  return S_ISREG(status.st_mode) ? appendToRegularFile(file.get(), line)
                                 : writeAtOnce(file.get(), line + "\n");
}

}  // namespace platform_linux
