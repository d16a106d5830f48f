#include "platform/linux/storage/LineFile.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/SystemCall.h"
#include "platform/linux/storage/SharedFile.h"

namespace platform_linux {

namespace {

namespace fs = std::filesystem;

/// How long a line waits for others. They hold the lock for microseconds; whoever keeps it longer is none of
/// ours. Several lines a run are written on the main thread, and all of them together must not be noticed.
constexpr std::chrono::milliseconds kLockPatience{50};

/// How long a line that lacks its end is taken for one that is being written just now.
constexpr std::chrono::milliseconds kWritePatience{50};

/// How often a line finds that others have begun a new file, until it is given up: never seen.
constexpr int kMostTurns = 10;

/// After that time the process that began to set a file aside, which takes microseconds, is gone.
constexpr std::chrono::minutes kTurnPatience{1};

/// Whether the file's last line lacks its end.
bool endsInsideALine(int file, off_t size) {
  char last = '\n';
  return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

/// Whether the last line will never get its end, as a power cut leaves it. One that others are writing looks
/// the same for a moment: it becomes visible a page at a time.
bool wasCutOff(int file, off_t size, bool locked) {
  if (!endsInsideALine(file, size)) return false;
  if (locked) return true;
  std::this_thread::sleep_for(kWritePatience);
  struct stat later {};
  return ::fstat(file, &later) == 0 && endsInsideALine(file, later.st_size);
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

/// Whether the file has lost all its names: it was set aside, and then another one in its place.
bool isGone(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_nlink == 0;
}

/// A name that only one process can make, also where there are no locks: who has made it may set the file
/// aside. One that a killed process has left is taken away, for the next to make it.
class TurnFile {
 public:
  explicit TurnFile(std::string path)
      : path_(std::move(path)), file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
    struct stat status {};
    if (!file_ && ::stat(path_.c_str(), &status) == 0 && isOld(status)) ::unlink(path_.c_str());
  }
  TurnFile(const TurnFile&) = delete;
  TurnFile& operator=(const TurnFile&) = delete;
  ~TurnFile() {
    if (file_) ::unlink(path_.c_str());
  }

  explicit operator bool() const { return static_cast<bool>(file_); }

 private:
  static bool isOld(const struct stat& status) {
    const auto age =
        std::chrono::system_clock::now() - std::chrono::system_clock::from_time_t(status.st_mtime);
    return age > kTurnPatience;
  }

  const std::string path_;
  const FileDescriptor file_;
};

/// Keeps the full file, if it still is the one at `path`, under another name, in place of the one that was
/// kept before.
bool setAside(const std::string& path, const struct stat& full) {
  std::error_code error;
  const std::string target = fs::canonical(path, error).string();
  if (error) return false;
  const TurnFile turn(target + ".turn");
  return turn && isStillAt(target, full) && ::rename(target.c_str(), (target + ".1").c_str()) == 0;
}

enum class Turn { Done, Failed, Again };

Turn appendToRegularFile(int file, const std::string& path, const std::string& line, std::int64_t mostBytes) {
  // Held for the microseconds of one write, so that a short write can be taken back before others append.
  const bool locked = lockWithin(file, kLockPatience) == 0;
  struct stat status {};
  if (::fstat(file, &status) != 0) return Turn::Failed;
  if (!isStillAt(path, status)) return Turn::Again;
  const std::string text = (wasCutOff(file, status.st_size, locked) ? "\n" : "") + line + "\n";
  const bool isFull = status.st_size > 0 && status.st_size + static_cast<off_t>(text.size()) > mostBytes;
  if (isFull && setAside(path, status)) return Turn::Again;
  if (writeAtOnce(file, text)) return isGone(file) ? Turn::Again : Turn::Done;
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
