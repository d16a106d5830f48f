#include "platform/linux/application/Date.h"

#include <ctime>

namespace platform_linux {

namespace {

/// Longer than any moment's text is meant to be.
constexpr std::size_t kMostText = 1 << 16;

}  // namespace

Date::TimePoint Date::date() const {
  return std::chrono::system_clock::now();
}

std::string Date::localText(TimePoint moment, const std::string& format) const {
  const std::time_t seconds =
      std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(moment));
  std::tm parts{};
  // The user may have travelled since the last call; localtime_r alone does not look.
  ::tzset();
  ::localtime_r(&seconds, &parts);
  // strftime answers 0 for a text that does not fit and for an empty one alike: one more character tells them
  // apart.
  const std::string extended = format + '.';
  std::string text(128, '\0');
  std::size_t length = 0;
  while ((length = std::strftime(text.data(), text.size(), extended.c_str(), &parts)) == 0 &&
         text.size() < kMostText)
    text.resize(text.size() * 2);
  text.resize(length == 0 ? 0 : length - 1);
  return text;
}

}  // namespace platform_linux
