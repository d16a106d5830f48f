#include "platform/linux/application/MessageCatalog.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace platform_linux {

namespace {

// The format: GNU gettext manual, "The Format of GNU MO Files". A header of 32-bit numbers leads to two
// tables of (length, offset) pairs; the keys are sorted by their bytes.
constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::size_t kCountField = 8;
constexpr std::size_t kKeysField = 12;
constexpr std::size_t kTranslationsField = 16;
constexpr std::size_t kHeaderSize = 28;
constexpr std::uint32_t kEntrySize = 8;

}  // namespace

std::optional<MessageCatalog> MessageCatalog::load(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

std::optional<MessageCatalog> MessageCatalog::parse(std::string bytes) {
  MessageCatalog catalog(std::move(bytes));
  if (catalog.bytes_.size() < kHeaderSize) return std::nullopt;
  const std::uint32_t magic = catalog.number(0);
  catalog.swapped_ = magic == __builtin_bswap32(kMagic);
  if (magic != kMagic && !catalog.swapped_) return std::nullopt;
  catalog.count_ = catalog.number(kCountField);
  catalog.keys_ = catalog.number(kKeysField);
  catalog.translations_ = catalog.number(kTranslationsField);
  if (!catalog.isWhole()) return std::nullopt;
  return catalog;
}

bool MessageCatalog::isWhole() const {
  for (const std::uint32_t table : {keys_, translations_}) {
    if (!isInside(table, std::size_t{count_} * kEntrySize)) return false;
    for (std::uint32_t index = 0; index < count_; ++index) {
      const std::size_t entry = table + std::size_t{index} * kEntrySize;
      if (!isInside(number(entry + sizeof(std::uint32_t)), number(entry))) return false;
    }
  }
  return true;
}

std::uint32_t MessageCatalog::number(std::size_t offset) const {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes_.data() + offset, sizeof value);
  return swapped_ ? __builtin_bswap32(value) : value;
}

std::string_view MessageCatalog::text(std::uint32_t table, std::uint32_t index) const {
  const std::size_t entry = table + std::size_t{index} * kEntrySize;
  return std::string_view(bytes_).substr(number(entry + sizeof(std::uint32_t)), number(entry));
}

std::optional<std::string> MessageCatalog::translation(std::string_view key) const {
  // The text of the empty key is about the catalog itself.
  if (key.empty()) return std::nullopt;
  std::uint32_t low = 0;
  std::uint32_t high = count_;
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    const int order = text(keys_, middle).compare(key);
    if (order == 0) {
      const std::string_view found = text(translations_, middle);
      return found.empty() ? std::nullopt : std::optional<std::string>(found);
    }
    if (order < 0)
      low = middle + 1;
    else
      high = middle;
  }
  return std::nullopt;
}

}  // namespace platform_linux
