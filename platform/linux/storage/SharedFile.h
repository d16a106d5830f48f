#pragma once

#include <chrono>
#include <filesystem>

namespace platform_linux {

/// What files need that are the user's own and that several processes write: settings, events.

/// Makes the missing folders on the way to `folder`, and that one too, for the user alone (0700). Answers
/// whether the folder is there; errno says why not.
[[nodiscard]] bool makePrivateFolders(const std::filesystem::path& folder);

/// Takes the exclusive lock (flock) of an open file; closing the file gives it back. Waits at most about
/// `patience` for whoever holds it, because any program may, for as long as it likes: what is done under
/// the lock must be possible without it. Answers 0, or the errno that says why not: EWOULDBLOCK when the
/// lock was held all that time; at once another one where the file system has no locks. Any thread.
[[nodiscard]] int lockWithin(int file, std::chrono::milliseconds patience);

}  // namespace platform_linux
