#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/storage/AtomicFile.h"

namespace platform_linux {

/// The settings in one group of a key file, e.g. `[Defaults]` in `~/.config/quillo/camera-shot.ini`.
/// Thread-safe.
///
/// The file is read once, when the object is made, and written by `synchronize` alone, which carries over
/// just the keys that were set here: comments, unknown keys and what other processes changed meanwhile stay.
/// A symbolic link is followed, so that a file kept elsewhere and linked to stays linked; the permissions
/// stay as they are, 0600 for a new file and 0700 for a new folder. Writing also clears away what killed
/// writers have left in the folder.
///
/// A file that cannot be understood, or that the user may not read, is set aside as
/// `<name>.damaged-<date-time>` and named in the log, and all values count as absent. Where it cannot be set
/// aside, or could not be read for another reason, it is left as it is and never written over: `synchronize`
/// then answers false. The same goes for what is no plain file: a folder, a FIFO, a device behind a link.
class UserDefaults : public platform::NSUserDefaults {
 public:
  static constexpr std::chrono::milliseconds kPatience{250};

  /// `path` of the file, which need not exist; `group` must not be empty nor hold brackets. `log` outlives
  /// this. `patience` is how long a write waits for others, which hold the lock for some milliseconds. With
  /// Durability::Written a power cut may cost the values, and `synchronize` does not wait for the disk.
  UserDefaults(std::string path, std::string group, platform::NSLog& log,
               std::chrono::milliseconds patience = kPatience,
               AtomicFile::Durability durability = AtomicFile::Durability::OnDisk);
  ~UserDefaults() override;

  [[nodiscard]] bool objectForKey(const std::string& key) const override;
  [[nodiscard]] std::optional<std::int64_t> integerForKey(const std::string& key) const override;
  [[nodiscard]] std::string stringForKey(const std::string& key) const override;
  void setBool(bool value, const std::string& key) override;
  void setObject(const std::string& value, const std::string& key) override;
  bool synchronize() override;

 private:
  /// The text of the file, unescaped; nothing when the key is absent.
  [[nodiscard]] std::optional<std::string> value(const std::string& key) const;
  /// Whether nothing was said about the value of `key` before.
  [[nodiscard]] bool isNews(const std::string& key) const;
  void set(const std::string& value, const std::string& key);
  /// The file as it is now, empty when there is none; nothing when it must not be written over.
  [[nodiscard]] GKeyFileHandle load() const;
  [[nodiscard]] bool setAside(const std::string& target, const std::string& why) const;
  /// One process at a time reads, changes and writes a settings file: the lock, given back with the answer,
  /// is on its folder, because the file itself is replaced. Where there is none to be had, the last writer
  /// wins.
  [[nodiscard]] FileDescriptor lockFolder(const std::string& folder) const;
  [[nodiscard]] bool write(GKeyFile* file) const;

  const std::string path_;
  const std::string group_;
  platform::NSLog& log_;
  const std::chrono::milliseconds patience_;
  const AtomicFile::Durability durability_;

  mutable std::mutex mutex_;
  GKeyFileHandle file_;
  mutable std::set<std::string> reported_;      ///< keys whose values could not be read
  std::map<std::string, std::string> changes_;  ///< set since the last successful `synchronize`, escaped
};

}  // namespace platform_linux
