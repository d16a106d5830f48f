#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/linux/base/Handles.h"
#include "tests/support/MainLoop.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_shot_tests {

/// The file to which the library writes, and what it has written.
class SoundJournal {
 public:
  SoundJournal()
      : path_((folder_.path() / "journal").string()),
        file_(platform_linux::GObjectRef<GFile>::adopt(g_file_new_for_path(path_.c_str()))) {
    setenv("SOUND_JOURNAL", path_.c_str(), 1);
    // Each change is a turn of the main loop.
    monitor_ = platform_linux::GObjectRef<GFileMonitor>::adopt(
        g_file_monitor_file(file_.get(), G_FILE_MONITOR_NONE, nullptr, nullptr));
  }

  bool waitFor(const std::string& text) const {
    return test_support::waitUntil([&] { return read() == text; });
  }

  std::string read() const {
    std::ostringstream text;
    text << std::ifstream(path_).rdbuf();
    return text.str();
  }

 private:
  const test_support::TemporaryFolder folder_;
  const std::string path_;
  const platform_linux::GObjectRef<GFile> file_;
  platform_linux::GObjectRef<GFileMonitor> monitor_;
};

}  // namespace camera_shot_tests
