#include "platform/linux/storage/TemporaryName.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>

namespace platform_linux {

namespace {

constexpr std::string_view kSuffix = ".quillo-part";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLetters = 6;
constexpr std::size_t kMachineLetters = 6;

/// What a name without a machine adds: two dots, the random letters, the suffix.
constexpr std::size_t kAddedAtLeast = 2 + kRandomLetters + kSuffix.size();
constexpr std::size_t kAdded = kAddedAtLeast + 1 + kMachineLetters;

/// The machine's own number (machine-id(5)), which it keeps when it starts anew; without one that of its
/// start.
std::string machineIdentity() {
  for (const char* const path : {"/etc/machine-id", "/proc/sys/kernel/random/boot_id"}) {
    std::string identity;
    if (std::getline(std::ifstream(path), identity) && !identity.empty()) return identity;
  }
  return {};
}

/// Tells machines apart and gives nothing of their numbers away (FNV-1a, whose upper bits are the mixed
/// ones).
std::string lettersOf(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char each : text)
    hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001b3;
  hash >>= 24;
  std::string letters;
  for (std::size_t i = 0; i < kMachineLetters; ++i, hash /= kLetters.size())
    letters += kLetters[hash % kLetters.size()];
  return letters;
}

const std::string& machineLetters() {
  static const std::string kOurs = lettersOf(machineIdentity());
  return kOurs;
}

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
  name += '.' + machineLetters() + '.';
  std::generate_n(std::back_inserter(name), kRandomLetters, [&] { return kLetters[letter(random)]; });
  name += kSuffix;
  return name;
}

bool isTemporaryName(std::string_view name) {
  if (name.size() < kAddedAtLeast || !name.starts_with('.') || !name.ends_with(kSuffix)) return false;
  name.remove_suffix(kSuffix.size());
  const std::string_view random = name.substr(name.size() - kRandomLetters);
  return name[name.size() - kRandomLetters - 1] == '.' &&
         random.find_first_not_of(kLetters) == std::string_view::npos;
}

bool isTemporaryNameOfThisMachine(std::string_view name) {
  constexpr std::size_t kRest = 1 + kRandomLetters + kSuffix.size();
  if (!isTemporaryName(name)) return false;
  name.remove_suffix(kRest);
  return name.ends_with('.' + machineLetters());
}

}  // namespace platform_linux
