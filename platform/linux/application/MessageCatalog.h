#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace platform_linux {

/// The texts of one language: a compiled gettext catalog (.mo file), held in memory. Immutable, hence
/// thread-safe.
class MessageCatalog {
 public:
  /// Nothing when there is no such file or it is no catalog.
  [[nodiscard]] static std::optional<MessageCatalog> load(const std::string& path);
  /// The same from a catalog's bytes, whatever they are: a broken one is none.
  [[nodiscard]] static std::optional<MessageCatalog> parse(std::string bytes);

  /// The translation of `key`, in UTF-8 as all our catalogs are; nothing when it has none.
  [[nodiscard]] std::optional<std::string> translation(std::string_view key) const;

 private:
  explicit MessageCatalog(std::string bytes) : bytes_(std::move(bytes)) {}

  [[nodiscard]] bool isWhole() const;
  [[nodiscard]] bool isInside(std::size_t offset, std::size_t size) const {
    return offset <= bytes_.size() && size <= bytes_.size() - offset;
  }
  [[nodiscard]] std::uint32_t number(std::size_t offset) const;
  [[nodiscard]] std::string_view text(std::uint32_t table, std::uint32_t index) const;

  std::string bytes_;
  bool swapped_ = false;  ///< written on a machine of the other byte order
  std::uint32_t count_ = 0;
  std::uint32_t keys_ = 0;          ///< where the table of the keys is
  std::uint32_t translations_ = 0;  ///< where that of the translations is
};

}  // namespace platform_linux
