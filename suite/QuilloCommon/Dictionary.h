#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace suite {

/// Named values, as events carry them.
using Dictionary = std::map<std::string, std::variant<bool, std::int64_t, std::string>>;

}  // namespace suite
