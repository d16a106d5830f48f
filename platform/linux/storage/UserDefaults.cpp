#include "platform/linux/storage/UserDefaults.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <span>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/SystemCall.h"
#include "platform/linux/storage/SettingText.h"
#include "platform/linux/storage/SharedFile.h"

namespace platform_linux {

namespace {

namespace fs = std::filesystem;

/// How long a chain of links is followed, as the kernel does (path_resolution(7)).
constexpr int kMostLinks = 40;

/// The file behind `path`, whether it exists or not: the end of the links.
std::string linkTarget(const std::string& path) {
  fs::path target = path;
  std::error_code none;
  for (int i = 0; i < kMostLinks && fs::is_symlink(target, none); ++i)
    target = target.parent_path() / fs::read_symlink(target, none);
  return target;
}

/// What a settings file holds, or the errno of what stands against reading it.
struct SettingsText {
  std::string text;
  int error = 0;

  /// In words; empty when it was read.
  std::string whyUnread() const {
    if (error == EINVAL) return "it is no plain file";
    return error == 0 ? "" : std::generic_category().message(error);
  }
};

/// Larger than any settings; what is larger is no settings file.
constexpr off_t kMostSettingsBytes = 1 << 20;

/// The whole file. Only plain files are read: a FIFO would wait for its writer, a device might do anything.
SettingsText readSettings(const std::string& path) {
  const FileDescriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return {{}, errno};
  if (S_ISDIR(status.st_mode)) return {{}, EISDIR};
  if (!S_ISREG(status.st_mode)) return {{}, EINVAL};
  if (status.st_size > kMostSettingsBytes) return {{}, EFBIG};
  SettingsText settings{std::string(static_cast<std::size_t>(status.st_size), '\0')};
  std::size_t size = 0;
  while (size < settings.text.size()) {
    const ssize_t part = uninterrupted(
        [&] { return ::read(file.get(), settings.text.data() + size, settings.text.size() - size); });
    if (part < 0) return {{}, errno};
    if (part == 0) break;
    size += static_cast<std::size_t>(part);
  }
  settings.text.resize(size);
  return settings;
}

std::string nowForFileName() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::localtime_r(&now, &parts);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts)};
}

}  // namespace

UserDefaults::UserDefaults(std::string path, std::string group, platform::NSLog& log,
                           std::chrono::milliseconds patience, AtomicFile::Durability durability)
    : path_(std::move(path)),
      group_(std::move(group)),
      log_(log),
      patience_(patience),
      durability_(durability),
      file_(load()) {
  if (!file_) file_.reset(g_key_file_new());
}

UserDefaults::~UserDefaults() = default;

GKeyFileHandle UserDefaults::load() const {
  GKeyFileHandle file(g_key_file_new());
  const std::string target = linkTarget(path_);
  const SettingsText settings = readSettings(target);
  if (settings.error == ENOENT) return file;
  std::string why = settings.whyUnread();
  GErrorHandle error;
  if (why.empty() && !settings.text.empty() &&
      !g_key_file_load_from_data(file.get(), settings.text.data(), settings.text.size(),
                                 G_KEY_FILE_KEEP_COMMENTS, error.out()))
    why = error.message();
  if (why.empty()) return file;
  const bool damaged = settings.error == 0 || settings.error == EACCES;
  if (damaged && setAside(target, why)) return GKeyFileHandle(g_key_file_new());
  log_.log("The settings in " + target + " are not used and not changed: " + why);
  return nullptr;
}

bool UserDefaults::setAside(const std::string& target, const std::string& why) const {
  const std::string aside = target + ".damaged-" + nowForFileName();
  // Anything else, a device for one, is somebody else's.
  struct stat status {};
  if (::stat(target.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  if (::rename(target.c_str(), aside.c_str()) != 0) return false;
  log_.log("The settings in " + target + " could not be used (" + why + "); they are kept in " + aside);
  return true;
}

std::optional<std::string> UserDefaults::value(const std::string& key) const {
  const std::scoped_lock lock(mutex_);
  const GStringHandle found(g_key_file_get_value(file_.get(), group_.c_str(), key.c_str(), nullptr));
  return found ? std::optional(unescapeKeyFileText(found.get())) : std::nullopt;
}

bool UserDefaults::objectForKey(const std::string& key) const {
  return value(key).has_value();
}

std::optional<std::int64_t> UserDefaults::integerForKey(const std::string& key) const {
  const auto text = value(key);
  if (!text) return std::nullopt;
  const auto number = readInteger(*text);
  if (!number && isNews(key))
    log_.log("The setting " + key + " in " + path_ + " is neither yes nor no nor a number, but \"" + *text +
             "\": its default is used");
  return number;
}

bool UserDefaults::isNews(const std::string& key) const {
  const std::scoped_lock lock(mutex_);
  return reported_.insert(key).second;
}

std::string UserDefaults::stringForKey(const std::string& key) const {
  return value(key).value_or("");
}

void UserDefaults::setBool(bool value, const std::string& key) {
  set(value ? "true" : "false", key);
}

void UserDefaults::setObject(const std::string& value, const std::string& key) {
  set(escapeKeyFileText(value), key);
}

void UserDefaults::set(const std::string& value, const std::string& key) {
  const std::scoped_lock lock(mutex_);
  g_key_file_set_value(file_.get(), group_.c_str(), key.c_str(), value.c_str());
  changes_[key] = value;
}

bool UserDefaults::synchronize() {
  const std::scoped_lock lock(mutex_);
  if (changes_.empty()) return true;
  const fs::path folder = fs::path(linkTarget(path_)).parent_path();
  if (!makePrivateFolders(folder)) return false;
  const FileDescriptor folderLock = lockFolder(folder);
  GKeyFileHandle current = load();
  if (!current) return false;
  for (const auto& [key, value] : changes_)
    g_key_file_set_value(current.get(), group_.c_str(), key.c_str(), value.c_str());
  const bool written = write(current.get());
  removeLeftovers(folder);
  if (!written) return false;
  file_ = std::move(current);
  changes_.clear();
  return true;
}

FileDescriptor UserDefaults::lockFolder(const std::string& folder) const {
  FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor && lockWithin(descriptor.get(), patience_) == EWOULDBLOCK)
    log_.log("Another program keeps " + folder + " locked; the settings there are written all the same");
  return descriptor;
}

bool UserDefaults::write(GKeyFile* file) const {
  const std::string target = linkTarget(path_);
  struct stat status {};
  const mode_t mode = ::stat(target.c_str(), &status) == 0 ? status.st_mode & 0777 : 0600;
  gsize size = 0;
  const GStringHandle text(g_key_file_to_data(file, &size, nullptr));
  int error = 0;
  const auto made = AtomicFile::open(target, error, mode);
  const std::span bytes(text.get(), size);
  if (made && made->write({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}) &&
      made->commit(durability_))
    return true;
  log_.log("The settings could not be written to " + target + ": " +
           std::generic_category().message(made ? made->error() : error));
  return false;
}

}  // namespace platform_linux
