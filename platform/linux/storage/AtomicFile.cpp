#include "platform/linux/storage/AtomicFile.h"

#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <tuple>
#include <utility>

#include "platform/linux/base/SystemCall.h"
#include "platform/linux/storage/TemporaryName.h"

namespace platform_linux {

namespace {

/// How often a fresh hidden name is tried. One that is taken has odds of one in two thousand million.
constexpr int kNameAttempts = 16;

/// `path` cut after its last slash: the folder, ready for a name to be put behind it ("" is the current one),
/// and the name.
std::pair<std::string, std::string> splitPath(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? std::pair(std::string(), path)
                                    : std::pair(path.substr(0, slash + 1), path.substr(slash + 1));
}

/// Marks the file as one whose writer lives: the lock goes with the process, however it ends. Answers whether
/// the file can be used: a clean-up that met it between its creation and its lock holds it or has removed it.
/// A file system without locks does without: there nothing is ever taken for a leftover.
bool claim(int file) {
  if (::flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_nlink > 0;
}

/// Brings the file's bytes to the disk. A file system that cannot be asked for that (network and user-space
/// ones answer EINVAL, ENOTSUP or ENOSYS, fsync(2)) has the bytes all the same.
bool synchronizeFile(int file) noexcept {
  return uninterrupted([&] { return ::fsync(file); }) == 0 || errno == EINVAL || errno == ENOTSUP ||
         errno == ENOSYS;
}

/// Makes the name itself survive a power cut. A folder that must not be read, or cannot be synchronised at
/// all, has the file all the same.
bool synchronizeFolder(const std::string& folder) {
  const FileDescriptor descriptor(uninterrupted(
      [&] { return ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  return !descriptor || uninterrupted([&] { return ::fsync(descriptor.get()); }) == 0 || errno != EIO;
}

}  // namespace

std::unique_ptr<AtomicFile> AtomicFile::open(const std::string& path, int& whyNot,
                                             std::optional<mode_t> mode) {
  const auto [folder, name] = splitPath(path);
  if (name.empty()) {
    whyNot = EISDIR;
    return nullptr;
  }
  whyNot = EEXIST;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    const std::string temporary = folder + makeTemporaryName(name);
    FileDescriptor file(uninterrupted([&] {
      return ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode.value_or(0666));
    }));
    if (!file && errno == EEXIST) continue;
    if (!file) {
      whyNot = errno;
      return nullptr;
    }
    // A file system without permissions refuses; the mode given at the creation is then all there is.
    if (mode) std::ignore = ::fchmod(file.get(), *mode);
    if (claim(file.get()))
      return std::unique_ptr<AtomicFile>(new AtomicFile(std::move(file), temporary, path));
    ::unlink(temporary.c_str());
  }
  return nullptr;
}

AtomicFile::AtomicFile(FileDescriptor file, std::string temporaryPath, std::string path)
    : file_(std::move(file)), temporaryPath_(std::move(temporaryPath)), path_(std::move(path)) {}

AtomicFile::~AtomicFile() {
  if (temporaryExists_) ::unlink(temporaryPath_.c_str());
}

bool AtomicFile::fail() noexcept {
  if (error_ == 0) error_ = errno;
  return false;
}

bool AtomicFile::write(std::span<const std::uint8_t> bytes) noexcept {
  if (error_ != 0) return false;
  while (!bytes.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(file_.get(), bytes.data(), bytes.size()); });
    if (written < 0) return fail();
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

bool AtomicFile::commit(Durability durability) noexcept {
  if (error_ != 0) return false;
  const bool isWaitedFor = durability == Durability::OnDisk;
  if (isWaitedFor && !synchronizeFile(file_.get())) return fail();
  if (::rename(temporaryPath_.c_str(), path_.c_str()) != 0) return fail();
  temporaryExists_ = false;
  // Once more under its new name: FAT keeps a file's size and place with the name and writes them, after a
  // rename, only with the file; without this a power cut leaves an empty file. Others have nothing left to
  // write.
  if (isWaitedFor && !synchronizeFile(file_.get()) && errno == EIO) return fail();
  if (isWaitedFor && !synchronizeFolder(splitPath(path_).first)) return fail();
  // A later write must not change the file behind its name's back.
  file_ = FileDescriptor();
  return true;
}

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Locks of other machines are not seen where a network file system keeps them to the machine (sshfs, NFS
/// with local_lock, CIFS with nobrl): their files count as being written for so long.
constexpr std::time_t kOthersPatience = 24 * 60 * 60;

bool mayBeAbandoned(const char* name, const struct stat& status) {
  return isTemporaryNameOfThisMachine(name) || status.st_mtime < std::time(nullptr) - kOthersPatience;
}

/// Whether the hidden file `name` has lost its writer; then it is removed. The lock is kept until the name is
/// gone, so that nobody else claims the file meanwhile.
bool removeIfAbandoned(int folder, const char* name) {
  // For writing: a network file system grants an exclusive lock to nobody else.
  const FileDescriptor file(::openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  return file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == ::geteuid() && mayBeAbandoned(name, status) &&
         ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 && ::unlinkat(folder, name, 0) == 0;
}

}  // namespace

int removeLeftovers(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> entries(::opendir(folder.c_str()));
  if (!entries) return 0;
  int removed = 0;
  while (const dirent* const entry = ::readdir(entries.get()))
    if (isTemporaryName(entry->d_name) && removeIfAbandoned(::dirfd(entries.get()), entry->d_name)) ++removed;
  return removed;
}

}  // namespace platform_linux
