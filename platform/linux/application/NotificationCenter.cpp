#include "platform/linux/application/NotificationCenter.h"

#include <utility>

namespace platform_linux {

struct NotificationCenter::Observation {
  const void* observer;
  std::string name;
  std::function<void()> handler;
  bool removed = false;
};

void NotificationCenter::addObserver(const void* observer, const std::string& name,
                                     std::function<void()> handler) {
  observations_.push_back(std::make_shared<Observation>(Observation{observer, name, std::move(handler)}));
}

void NotificationCenter::removeObserver(const void* observer) {
  std::erase_if(observations_, [observer](const auto& observation) {
    if (observation->observer != observer) return false;
    observation->removed = true;
    return true;
  });
}

void NotificationCenter::postNotificationName(const std::string& name) {
  // A copy: handlers may add and remove observers, their own included.
  const auto observations = observations_;
  for (const auto& observation : observations)
    if (!observation->removed && observation->name == name) observation->handler();
}

}  // namespace platform_linux
