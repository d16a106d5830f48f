#pragma once

#include <string>

namespace platform {

/// The application's own identity and texts. Thread-safe.
class NSBundle {
 public:
  virtual ~NSBundle() = default;

  /// The application id.
  [[nodiscard]] virtual std::string bundleIdentifier() const = 0;

  /// The user's-language text for `key` in `table` (empty: the main table). Without a translation: `value`,
  /// or the key itself where `value` is empty.
  [[nodiscard]] virtual std::string localizedStringForKey(const std::string& key,
                                                          const std::string& value = {},
                                                          const std::string& table = {}) const = 0;
};

}  // namespace platform
