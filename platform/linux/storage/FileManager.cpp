#include "platform/linux/storage/FileManager.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <glib.h>

#include "platform/linux/storage/LineFile.h"

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

bool FileManager::appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) {
  return appendLineTo(path, line, mostBytes);
}

}  // namespace platform_linux
