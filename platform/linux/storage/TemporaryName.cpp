#include "platform/linux/storage/TemporaryName.h"

#include <algorithm>
#include <climits>
#include <random>

namespace platform_linux {

namespace {

constexpr std::string_view kSuffix = ".quillo-part";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLetters = 6;

/// What the hidden name adds: two dots, the random letters, the suffix.
constexpr std::size_t kAdded = 2 + kRandomLetters + kSuffix.size();

/// At most `size` bytes of `name`, no UTF-8 character cut in two: some file systems refuse a broken one.
std::string_view shortened(std::string_view name, std::size_t size) {
  if (name.size() <= size) return name;
  while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80)
    --size;
  return name.substr(0, size);
}

}  // namespace

std::string makeTemporaryName(std::string_view fileName) {
  std::random_device random;
  std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
  std::string name = ".";
  name += shortened(fileName, NAME_MAX - kAdded);
  name += '.';
  std::generate_n(std::back_inserter(name), kRandomLetters, [&] { return kLetters[letter(random)]; });
  name += kSuffix;
  return name;
}

bool isTemporaryName(std::string_view name) {
  if (name.size() < kAdded || !name.starts_with('.') || !name.ends_with(kSuffix)) return false;
  name.remove_suffix(kSuffix.size());
  const std::string_view random = name.substr(name.size() - kRandomLetters);
  return name[name.size() - kRandomLetters - 1] == '.' &&
         random.find_first_not_of(kLetters) == std::string_view::npos;
}

}  // namespace platform_linux
