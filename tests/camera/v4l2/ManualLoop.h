#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/linux/camera/CameraLoop.h"

namespace camera_test {

/// A cameras' loop that turns when the test says so, on the test's thread. Its clock stands.
class ManualLoop final : public platform_linux::CameraLoop {
 public:
  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }
  void end(std::function<void()> last) override { last(); }
  [[nodiscard]] Time now() const override { return {}; }
  [[nodiscard]] std::unique_ptr<Timer> timer(std::function<void()> action) override;
  [[nodiscard]] std::unique_ptr<Watch> watch(int descriptor, std::function<void()> ready) override;

  /// From now on a watch of a descriptor that is ready already is told that once and nothing more, as by
  /// drivers that wake only who began to wait when there was nothing.
  void forgetEarlyWatches() { forgetsEarlyWatches_ = true; }

  /// Runs what is posted and tells watches whose descriptors are ready, until there is nothing to do.
  void run();

 private:
  class Entry;

  bool runTasks();
  bool tellWatches();

  bool forgetsEarlyWatches_ = false;
  std::vector<std::function<void()>> tasks_;
  std::map<Entry*, std::shared_ptr<std::function<void()>>> watches_;
};

}  // namespace camera_test
