#include "platform/linux/storage/LineFile.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/SystemCall.h"
#include "platform/linux/storage/SharedFile.h"

namespace platform_linux {

namespace {

namespace fs = std::filesystem;

/// How long a line waits for others. They hold the lock for microseconds; whoever keeps it longer is none of
/// ours. Several lines a run are written on the main thread, and all of them together must not be noticed.
constexpr std::chrono::milliseconds kLockPatience{50};

/// How often a line finds that others have begun a new file, until it goes into the one that it has.
constexpr int kMostTurns = 10;

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

/// Whether the open file is still the one at `path`: another process may have begun a new one.
bool isStillAt(const std::string& path, const struct stat& status) {
  struct stat now {};
  return ::stat(path.c_str(), &now) == 0 && now.st_dev == status.st_dev && now.st_ino == status.st_ino;
}

/// Keeps the full file under another name, in place of the one that was kept before.
bool setAside(const std::string& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  return !error && ::rename(target.c_str(), (target.string() + ".1").c_str()) == 0;
}

enum class Turn { Done, Failed, Again };

Turn appendToRegularFile(int file, const std::string& path, const std::string& line, std::int64_t mostBytes) {
  // Held for the microseconds of one write, so that a short write can be taken back before others append, and
  // that one process alone begins a new file.
  const bool locked = lockWithin(file, kLockPatience) == 0;
  struct stat status {};
  if (::fstat(file, &status) != 0) return Turn::Failed;
  const std::string text = (endsInsideALine(file, status.st_size) ? "\n" : "") + line + "\n";
  const bool isFull = status.st_size > 0 && status.st_size + static_cast<off_t>(text.size()) > mostBytes;
  if (locked && (!isStillAt(path, status) || (isFull && setAside(path)))) return Turn::Again;
  if (writeAtOnce(file, text)) return Turn::Done;
  if (locked) std::ignore = ::ftruncate(file, status.st_size);
  return Turn::Failed;
}

Turn append(const std::string& path, const std::string& line, std::int64_t mostBytes) {
  const FileDescriptor file(
      ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return Turn::Failed;
  if (S_ISREG(status.st_mode)) return appendToRegularFile(file.get(), path, line, mostBytes);
  return writeAtOnce(file.get(), line + "\n") ? Turn::Done : Turn::Failed;
}

}  // namespace

bool appendLineTo(const std::string& path, const std::string& line, std::int64_t mostBytes) {
  if (!makePrivateFolders(fs::path(path).parent_path())) return false;
  Turn turn = Turn::Again;
  for (int i = 0; i < kMostTurns && turn == Turn::Again; ++i)
    turn = append(path, line, mostBytes);
  return turn == Turn::Done;
}

}  // namespace platform_linux
