#pragma once

#include <functional>
#include <string>

namespace platform {

/// Broadcasts inside the application. Main thread only.
class NSNotificationCenter {
 public:
  virtual ~NSNotificationCenter() = default;

  /// From now on runs `handler` whenever `name` is posted, by whomever; observers are called in the order in
  /// which they were added. `observer` is only an identity for `removeObserver`.
  virtual void addObserver(const void* observer, const std::string& name, std::function<void()> handler) = 0;

  /// Forgets every handler of `observer`, under all names; none of them runs again, also when a posting is
  /// under way.
  virtual void removeObserver(const void* observer) = 0;

  /// Runs the handlers of `name` before it returns.
  virtual void postNotificationName(const std::string& name) = 0;
};

}  // namespace platform
