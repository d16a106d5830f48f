#include "platform/linux/application/Bundle.h"

#include <algorithm>
#include <filesystem>
#include <libintl.h>
#include <string_view>
#include <utility>

#include <glib.h>

namespace platform_linux {

namespace {

/// Between context and text in a compiled catalog (GNU gettext's manual, "The Format of GNU MO Files").
constexpr char kContextEnd = '\x04';

/// The locale of no language, in which the keys' own English is right.
bool isPlain(std::string_view language) {
  return language == "C" || language == "POSIX" || language.starts_with("C.");
}

bool isEnglish(std::string_view language) {
  return language.starts_with("en") &&
         (language.size() == 2 || std::string_view("_.@").find(language[2]) != std::string_view::npos);
}

}  // namespace

std::vector<std::string> userLanguages() {
  std::vector<std::string> languages;
  for (const char* const* each = g_get_language_names(); *each; ++each) {
    const std::string language = isPlain(*each) ? "en" : *each;
    if (!languages.empty() && isEnglish(languages.back()) && !isEnglish(language)) break;
    if (std::find(languages.begin(), languages.end(), language) == languages.end())
      languages.push_back(language);
  }
  return languages;
}

std::string installationPrefix() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return program.parent_path().parent_path();
}

Bundle::Bundle(std::string identifier, std::string domain, std::string localeFolder,
               std::vector<std::string> languages, std::string context)
    : identifier_(std::move(identifier)),
      domain_(std::move(domain)),
      localeFolder_(std::move(localeFolder)),
      languages_(std::move(languages)),
      context_(std::move(context)) {
  ::bindtextdomain(domain_.c_str(), localeFolder_.c_str());
  ::bind_textdomain_codeset(domain_.c_str(), "UTF-8");
}

std::string Bundle::bundleIdentifier() const {
  return identifier_;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value,
                                          const std::string& table) const {
  const std::string inContext = context_ + kContextEnd + key;
  for (const MessageCatalog& catalog : this->table(table.empty() ? domain_ : table))
    for (const std::string& wanted : {inContext, key})
      if (auto translation = catalog.translation(wanted)) return *translation;
  return value.empty() ? key : value;
}

const std::vector<MessageCatalog>& Bundle::table(const std::string& name) const {
  const std::scoped_lock lock(mutex_);
  const auto [entry, isNew] = tables_.try_emplace(name);
  if (!isNew) return entry->second;
  for (const std::string& language : languages_) {
    const auto path = std::filesystem::path(localeFolder_) / language / "LC_MESSAGES" / (name + ".mo");
    if (auto catalog = MessageCatalog::load(path)) entry->second.push_back(std::move(*catalog));
  }
  return entry->second;
}

}  // namespace platform_linux
