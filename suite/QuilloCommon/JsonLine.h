#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "suite/QuilloCommon/Dictionary.h"

namespace suite {

/// Builds one JSON object (RFC 8259) on one line; members stand in the order in which they are added. Bytes
/// that are no UTF-8 become U+FFFD, so that the line is always valid.
class JsonLine {
 public:
  JsonLine& add(const std::string& name, const std::string& text);
  JsonLine& add(const std::string& name, std::int64_t number);
  /// Nothing is written as null.
  JsonLine& add(const std::string& name, const std::optional<Dictionary>& values);

  [[nodiscard]] std::string text() const { return text_ + "}"; }

 private:
  void name(const std::string& name);

  std::string text_ = "{";
};

}  // namespace suite
