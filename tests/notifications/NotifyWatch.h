#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/BusClient.h"

namespace camera_shot_tests {

/// Overhears which ids the notification service answers.
class NotifyWatch {
 public:
  explicit NotifyWatch(const std::string& address);
  NotifyWatch(const NotifyWatch&) = delete;
  NotifyWatch& operator=(const NotifyWatch&) = delete;
  ~NotifyWatch();

  /// Waits for that many answers and returns them all.
  std::vector<std::uint32_t> waitForIds(std::size_t number) const;

 private:
  std::vector<std::uint32_t> ids() const;
  GDBusMessage* onMessage(GDBusConnection* connection, GDBusMessage* message);

  const test_support::BusClient client_;
  guint filter_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::uint32_t> ids_;  // guarded by mutex_: filters run on the library's thread
};

}  // namespace camera_shot_tests
