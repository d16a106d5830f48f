#include "suite/QuilloCommon/CEPLog.h"

namespace suite {

void CEPLog::log(const std::string& event, const std::optional<Dictionary>& prefs,
                 const std::optional<Dictionary>& details) {
  file_.append(file_.begin().add("event", event).add("prefs", prefs).add("details", details));
}

}  // namespace suite
