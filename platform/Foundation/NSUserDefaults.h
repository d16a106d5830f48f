#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// One domain of stored per-user settings. Values carry no type: what was stored as one type can be read as
/// another. Main thread only, unless the implementation says more.
class NSUserDefaults {
 public:
  virtual ~NSUserDefaults() = default;

  /// Whether a value is stored under `key` (keys are case-sensitive).
  [[nodiscard]] virtual bool objectForKey(const std::string& key) const = 0;

  /// The value as an integer: 1 for what people write for "on" (true, yes, on), 0 for "off" (false, no, off),
  /// a number's text its number; letter case and blanks around do not count. Nothing when the value is absent
  /// or reads as none of these, which is logged.
  [[nodiscard]] virtual std::optional<std::int64_t> integerForKey(const std::string& key) const = 0;

  /// The value as text; empty when absent.
  [[nodiscard]] virtual std::string stringForKey(const std::string& key) const = 0;

  virtual void setBool(bool value, const std::string& key) = 0;
  virtual void setObject(const std::string& value, const std::string& key) = 0;

  /// Makes every change so far durable before it returns, for the next process at least and, unless the
  /// implementation says otherwise, beyond a power cut; answers whether it could.
  virtual bool synchronize() = 0;
};

}  // namespace platform
