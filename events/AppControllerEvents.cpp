#include "app/AppController.h"

namespace camera_shot {

void AppController::logCEP(const std::string& event, const std::optional<suite::Dictionary>& details) {
  // A quit may come before start-up has made the preferences.
  const bool showPreview = preferences_ && preferences_->showPreview();
  suite_.cepLog.log(event, suite::Dictionary{{"ShowPreview", showPreview}}, details);
}

}  // namespace camera_shot
