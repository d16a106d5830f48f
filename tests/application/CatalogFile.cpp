#include "tests/application/CatalogFile.h"

#include <fstream>

namespace application_tests {

std::string makeCatalog(const CatalogTexts& texts, bool swapped) {
  const auto number = [swapped](std::size_t value) {
    std::string bytes;
    for (int byte = 0; byte < 4; ++byte)
      bytes += static_cast<char>(value >> (8 * (swapped ? 3 - byte : byte)));
    return bytes;
  };
  constexpr std::size_t kHeader = 28;
  const std::size_t strings = kHeader + texts.size() * 16;
  std::string keys;
  std::string translations;
  std::string all;
  const auto add = [&](std::string& table, const std::string& text) {
    table += number(text.size()) + number(strings + all.size());
    all += text + '\0';
  };
  for (const auto& [key, translation] : texts) {
    add(keys, key);
    add(translations, translation);
  }
  return number(0x950412de) + number(0) + number(texts.size()) + number(kHeader) +
         number(kHeader + texts.size() * 8) + number(0) + number(0) + keys + translations + all;
}

void installCatalog(const std::filesystem::path& localeFolder, const std::string& language,
                    const std::string& table, const CatalogTexts& texts) {
  const auto folder = localeFolder / language / "LC_MESSAGES";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / (table + ".mo"), std::ios::binary) << makeCatalog(texts);
}

}  // namespace application_tests
