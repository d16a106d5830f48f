#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Foundation/NSBundle.h"
#include "platform/linux/application/MessageCatalog.h"

namespace platform_linux {

/// The user's languages, best first, the way gettext reads them from LANGUAGE, LC_ALL, LC_MESSAGES and LANG,
/// each followed by its more general forms ("de_AT", "de"). English comes last: the keys themselves are
/// English.
[[nodiscard]] std::vector<std::string> userLanguages();

/// Where the running program's installation begins, e.g. "/usr" for "/usr/bin/quillo-camera-shot": an
/// installation can be moved and runs from wherever it is. Empty when the system does not say.
[[nodiscard]] std::string installationPrefix();

/// The application's identity and its texts: gettext catalogs, the key being the English text. Thread-safe.
///
/// The catalogs are read here, not by the C library, so that they serve whether or not the machine has the
/// user's locale installed, and so that English can have one too, which says what things are called here: in
/// the plain "C" locale the C library never translates. A text comes from the first of the languages that has
/// it.
class Bundle : public platform::NSBundle {
 public:
  /// `domain` names the main table, for the toolkit's window layouts as well; catalogs are
  /// `<localeFolder>/<language>/LC_MESSAGES/<table>.mo`. What a catalog has in `context` (gettext's msgctxt)
  /// goes before the same text without one: that is how texts differ with what the program runs in.
  Bundle(std::string identifier, std::string domain, std::string localeFolder,
         std::vector<std::string> languages = userLanguages(), std::string context = {});

  [[nodiscard]] std::string bundleIdentifier() const override;
  [[nodiscard]] std::string localizedStringForKey(const std::string& key, const std::string& value = {},
                                                  const std::string& table = {}) const override;

 private:
  [[nodiscard]] const std::vector<MessageCatalog>& table(const std::string& name) const;

  const std::string identifier_;
  const std::string domain_;
  const std::string localeFolder_;
  const std::vector<std::string> languages_;
  const std::string context_;

  mutable std::mutex mutex_;
  /// Best language first; read when a table is first asked for.
  mutable std::map<std::string, std::vector<MessageCatalog>> tables_;
};

}  // namespace platform_linux
