#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// One domain of stored per-user settings. Values carry no type: what was stored as one type can be read as
/// another. Main thread only, unless the implementation says more.
class NSUserDefaults {
 public:
  virtual ~NSUserDefaults() = default;

  /// Whether a value is stored under `key` (keys are case-sensitive).
  virtual bool objectForKey(const std::string& key) const = 0;

  /// The value as an integer: true 1, false 0, a number's text its number, anything else 0; absent 0.
  virtual std::int64_t integerForKey(const std::string& key) const = 0;

  /// The value as text; empty when absent.
  virtual std::string stringForKey(const std::string& key) const = 0;

  virtual void setBool(bool value, const std::string& key) = 0;
  virtual void setObject(const std::string& value, const std::string& key) = 0;

  /// Makes every change so far durable before it returns; answers whether it could.
  virtual bool synchronize() = 0;
};

}  // namespace platform
