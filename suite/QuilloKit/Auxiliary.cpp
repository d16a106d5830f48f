#include "suite/QuilloKit/Auxiliary.h"

#include <utility>

namespace suite {

Auxiliary::Auxiliary(platform::AVFoundation& avFoundation, platform::NSDate& dates,
                     platform::MainQueue& mainQueue, platform::NSUserDefaults& lastRuns,
                     std::string toolIdentifier)
    : avFoundation_(avFoundation),
      dates_(dates),
      mainQueue_(mainQueue),
      lastRuns_(lastRuns),
      toolIdentifier_(std::move(toolIdentifier)) {}

void Auxiliary::updateLastRun() {
  lastRuns_.setObject(dates_.localText(dates_.date(), "%Y-%m-%dT%H:%M:%S%z"), toolIdentifier_);
  mainQueue_.async([&lastRuns = lastRuns_] { lastRuns.synchronize(); });
}

std::string Auxiliary::getFilenameWithDateTime(platform::NSDate::TimePoint date) const {
  return dates_.localText(date, "%Y-%m-%d %H.%M.%S");
}

bool Auxiliary::getStatusOfMediaType(const std::string& mediaType) const {
  return avFoundation_.authorizationStatusForMediaType(mediaType) ==
         platform::AVAuthorizationStatus::Authorized;
}

bool Auxiliary::isStatusOfMediaTypeDetermind(const std::string& mediaType) const {
  return avFoundation_.authorizationStatusForMediaType(mediaType) !=
         platform::AVAuthorizationStatus::NotDetermined;
}

void Auxiliary::requestRightsForMediaType(const std::string& mediaType,
                                          std::function<void()> completionHandler) {
  avFoundation_.requestAccessForMediaType(
      mediaType, [completionHandler = std::move(completionHandler)](bool) { completionHandler(); });
}

}  // namespace suite
