#include "app/AppController.h"

namespace camera_shot {

void AppController::logCEP(const std::string& event, const std::optional<suite::Dictionary>& details) {
  suite_.cepLog.log(event, suite::Dictionary{{"ShowPreview", preferences_->showPreview()}}, details);
}

}  // namespace camera_shot
