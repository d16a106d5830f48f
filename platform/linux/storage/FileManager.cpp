#include "platform/linux/storage/FileManager.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/linux/base/Handles.h"
#include "platform/linux/storage/LineFile.h"

namespace platform_linux {

namespace fs = std::filesystem;

namespace {

struct DirectoryQuestion {
  DirectoryQuestion(std::string directory, std::function<void(int)> handler)
      : path(std::move(directory)), answer(std::move(handler)) {}

  const std::string path;
  const std::function<void(int)> answer;
};

/// On a thread of its own.
void lookAtDirectory(GTask* task, gpointer, gpointer data, GCancellable*) noexcept {
  const auto& question = *static_cast<DirectoryQuestion*>(data);
  FileManager files;
  if (question.path == files.picturesPath()) files.picturesDirectory();
  g_task_return_int(task, files.whyNotWritableDirectory(question.path));
}

/// On the main thread.
void tellAnswer(GObject*, GAsyncResult* result, gpointer) noexcept {
  GTask* const task = G_TASK(result);
  static_cast<DirectoryQuestion*>(g_task_get_task_data(task))
      ->answer(static_cast<int>(g_task_propagate_int(task, nullptr)));
}

}  // namespace

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

void FileManager::askWhyNotWritableDirectory(const std::string& path, std::function<void(int)> answer) {
  // A thread of the library's, which nothing at the end of the program waits for.
  const auto task = GObjectRef<GTask>::adopt(g_task_new(nullptr, nullptr, tellAnswer, nullptr));
  g_task_set_task_data(task.get(), std::make_unique<DirectoryQuestion>(path, std::move(answer)).release(),
                       [](gpointer data) noexcept { delete static_cast<DirectoryQuestion*>(data); });
  g_task_run_in_thread(task.get(), lookAtDirectory);
}

std::string FileManager::abbreviatingWithTilde(const std::string& path) const {
  std::string home = g_get_home_dir();
  while (home.ends_with('/'))
    home.pop_back();
  if (home.empty() || !path.starts_with(home)) return path;
  const std::string rest = path.substr(home.size());
  return rest.empty() || rest.front() == '/' ? "~" + rest : path;
}

std::optional<std::string> FileManager::picturesPath() const {
  const char* const chosen = g_get_user_special_dir(G_USER_DIRECTORY_PICTURES);
  const fs::path home = g_get_home_dir();
  std::error_code error;
  // The root folder is what the library answers for a user without a home.
  const bool homeless = home.empty() || home == "/" || !fs::is_directory(home, error);
  if (!chosen && homeless) return std::nullopt;
  return (chosen ? fs::path(chosen) : home / "Pictures").string();
}

std::optional<std::string> FileManager::picturesDirectory() {
  auto pictures = picturesPath();
  std::error_code error;
  if (pictures) fs::create_directories(*pictures, error);
  return pictures;
}

bool FileManager::appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) {
  return appendLineTo(path, line, mostBytes);
}

}  // namespace platform_linux
