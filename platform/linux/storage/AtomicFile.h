#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>

#include "picture/ByteSink.h"
#include "platform/linux/base/FileDescriptor.h"

namespace platform_linux {

/// A file that comes into being whole or not at all: the bytes go to a hidden file in the same folder, which
/// takes the file's name when they are all on the disk. No reader, and nobody after a power cut, ever sees
/// part of them.
///
/// Whatever had the name is replaced in one step; a symbolic link of that name is replaced itself, what it
/// leads to stays untouched. Any thread, one at a time; every operation may wait for the disk.
class AtomicFile final : public picture::ByteSink {
 public:
  /// Starts a file that is to be called `path`, in a folder that exists. Without `mode` the process's umask
  /// decides who may read it, with one it gets exactly those permission bits. Nothing, and the cause's errno
  /// in `whyNot`, when no file can be made there.
  [[nodiscard]] static std::unique_ptr<AtomicFile> open(const std::string& path, int& whyNot,
                                                        std::optional<mode_t> mode = std::nullopt);

  /// Without a successful `commit` before, no trace remains.
  ~AtomicFile() override;

  /// Answers whether all bytes were taken; `error` says why not.
  [[nodiscard]] bool write(std::span<const std::uint8_t> bytes) noexcept override;

  /// Whether a file must be there after a power cut, which the disk is waited for; or merely whole or not at
  /// all as long as the machine runs, which costs no wait. After a power cut it may then be the old one,
  /// empty or damaged.
  enum class Durability { OnDisk, Written };

  /// Gives the file its name once every byte is on the disk; nothing can be written afterwards. False, with
  /// the cause in `error`, when any of the writes or this step failed: then whatever had the name before is
  /// still there. Only a disk that fails while it records the new name itself (EIO) leaves that open.
  [[nodiscard]] bool commit(Durability durability = Durability::OnDisk) noexcept;

  /// The errno of the first failure; 0 while there was none.
  [[nodiscard]] int error() const { return error_; }

  /// The hidden file's path while the bytes are on their way.
  [[nodiscard]] const std::string& temporaryPath() const { return temporaryPath_; }

 private:
  AtomicFile(FileDescriptor file, std::string temporaryPath, std::string path);

  bool fail() noexcept;

  FileDescriptor file_;
  std::string temporaryPath_;
  const std::string path_;
  int error_ = 0;
  bool temporaryExists_ = true;
};

/// Removes from `folder` the hidden files of savers that were killed half-way and answers how many there
/// were. Those of savers still at work, in any process, stay; so do another machine's for a day. A folder
/// without any costs one pass over its names.
int removeLeftovers(const std::string& folder);

}  // namespace platform_linux
