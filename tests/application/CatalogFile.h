#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace application_tests {

/// Keys and their translations, sorted by the keys.
using CatalogTexts = std::vector<std::pair<std::string, std::string>>;

/// A compiled catalog of the given texts; `swapped`: as a machine of the other byte order writes it.
std::string makeCatalog(const CatalogTexts& texts, bool swapped = false);

/// Puts the catalog of one table into the folder of a language, where bundles look for it.
void installCatalog(const std::filesystem::path& localeFolder, const std::string& language,
                    const std::string& table, const CatalogTexts& texts);

}  // namespace application_tests
