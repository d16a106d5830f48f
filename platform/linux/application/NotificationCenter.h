#pragma once

#include <memory>
#include <vector>

#include "platform/Foundation/NSNotificationCenter.h"

namespace platform_linux {

/// Broadcasts inside the application. Main thread only. Observers may come and go while a posting is under
/// way: one that is added hears the next posting first, one that is removed hears nothing more.
class NotificationCenter : public platform::NSNotificationCenter {
 public:
  void addObserver(const void* observer, const std::string& name, std::function<void()> handler) override;
  void removeObserver(const void* observer) override;
  void postNotificationName(const std::string& name) override;

 private:
  struct Observation;

  std::vector<std::shared_ptr<Observation>> observations_;
};

}  // namespace platform_linux
