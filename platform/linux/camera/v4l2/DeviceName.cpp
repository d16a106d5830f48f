#include "platform/linux/camera/v4l2/DeviceName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>

#include "platform/linux/camera/Camera.h"

namespace platform_linux {
namespace {

// Session managers keep letters, digits, "_", "-" and ".".
std::string sanitized(std::string_view text) {
  std::string name(text);
  std::replace_if(
      name.begin(), name.end(),
      [](unsigned char each) {
        return each > 127 || (std::isalnum(each) == 0 && each != '_' && each != '-' && each != '.');
      },
      '_');
  return name;
}

int hexDigit(char digit) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto found = kDigits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(digit))));
  return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

// udev writes bytes that are not safe in its files as \x and two digits.
std::string decoded(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i, 2) == "\\x" && i + 3 < text.size() && hexDigit(text[i + 2]) >= 0 &&
        hexDigit(text[i + 3]) >= 0) {
      plain += static_cast<char>(hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3]));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

}  // namespace

std::string deviceIdentity(const DeviceEntry& device, const std::vector<std::string>& taken) {
  const std::string& place = !device.busId.empty()     ? device.busId
                             : !device.busPath.empty() ? device.busPath
                                                       : device.systemPath;
  const std::string name = "v4l2_input." + sanitized(place.empty() ? std::to_string(device.number) : place);
  std::string unique = name;
  for (int count = 2; std::find(taken.begin(), taken.end(), unique) != taken.end(); ++count)
    unique = name + "." + std::to_string(count);
  return unique;
}

std::string deviceTitle(const DeviceEntry& device, const std::string& card) {
  const std::array candidates{device.databaseName, decoded(device.encodedModel), device.model, device.product,
                              card};
  const auto* const found =
      std::find_if(candidates.begin(), candidates.end(), [](auto& each) { return !each.empty(); });
  if (found == candidates.end()) return {};
  std::string title = *found;
  std::replace(title.begin(), title.end(), ':', ' ');
  const auto begin = title.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return plainTitle(title.substr(begin, title.find_last_not_of(' ') - begin + 1));
}

}  // namespace platform_linux
