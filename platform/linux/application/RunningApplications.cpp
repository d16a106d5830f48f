#include "platform/linux/application/RunningApplications.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform_linux {

namespace {

/// Our place in the queue of `name`, counted from 1; nothing when the bus does not say.
std::optional<int> placeInQueue(const SessionBus& bus, const std::string& name) {
  // No flags: whoever comes later waits in line.
  if (!bus.callBus("RequestName", g_variant_new("(su)", name.c_str(), 0U), "(u)")) return std::nullopt;
  const GVariantHandle reply = bus.callBus("ListQueuedOwners", g_variant_new("(s)", name.c_str()), "(as)");
  if (!reply) return std::nullopt;
  GVariantIter* queue = nullptr;
  g_variant_get(reply.get(), "(as)", &queue);
  const GVariantIterHandle owned(queue);
  const std::string self = g_dbus_connection_get_unique_name(bus.connection());
  const char* each = nullptr;
  for (int place = 1; g_variant_iter_next(queue, "&s", &each); ++place)
    if (self == each) return place;
  return std::nullopt;
}

/// A folder that only this user can write to, for lock files: the session's, or one in the folder for
/// temporary files.
std::optional<std::filesystem::path> lockFolder(const std::string& bundleIdentifier) {
  if (const char* const runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime) return runtime;
  std::filesystem::path folder =
      std::filesystem::path(g_get_tmp_dir()) / (bundleIdentifier + "-" + std::to_string(::getuid()));
  struct stat status {};
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return std::nullopt;
  // Someone else may have made it first, or made a link of it, to have us write where they like.
  if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != ::getuid() ||
      (status.st_mode & 0077) != 0)
    return std::nullopt;
  return folder;
}

/// The open, unlocked lock file; none where it cannot be had.
FileDescriptor openLockFile(const std::string& bundleIdentifier) {
  const auto folder = lockFolder(bundleIdentifier);
  if (!folder) return {};
  const std::filesystem::path path = *folder / (bundleIdentifier + ".lock");
  return FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

}  // namespace

std::string instanceName(const std::string& bundleIdentifier) {
  return bundleIdentifier + ".Instance";
}

RunningApplications::RunningApplications(const SessionBus& bus) : bus_(bus) {}

RunningApplications::~RunningApplications() = default;

int RunningApplications::runningApplicationsWithBundleIdentifier(const std::string& bundleIdentifier) {
  if (const auto place = placeInQueue(bus_, instanceName(bundleIdentifier))) return *place;
  if (locks_.contains(bundleIdentifier)) return 1;
  FileDescriptor lock = openLockFile(bundleIdentifier);
  if (lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return 2;
  // Where not even a lock file can be had, taking the photo matters more than being alone.
  locks_.insert_or_assign(bundleIdentifier, std::move(lock));
  return 1;
}

}  // namespace platform_linux
