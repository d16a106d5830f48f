#pragma once

#include <functional>
#include <string>

#include "platform/AVFoundation/AVFoundation.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSUserDefaults.h"

namespace suite {

/// What every tool of the suite needs. Main thread only, unless an operation says more.
class Auxiliary {
 public:
  Auxiliary(platform::AVFoundation& avFoundation, platform::NSDate& dates, platform::MainQueue& mainQueue,
            platform::NSUserDefaults& lastRuns, std::string toolIdentifier);

  /// Records that the tool ran now. The record is written on a later turn of the main loop, so that it costs
  /// a start nothing; where these settings do not wait for the disk, a power cut may cost it, which is no
  /// loss.
  void updateLastRun();

  /// `date` in local time for a file name: 2026-11-21 12.00.00. Thread-safe.
  [[nodiscard]] std::string getFilenameWithDateTime(platform::NSDate::TimePoint date) const;

  /// Whether the tool may use the kind of device.
  [[nodiscard]] bool getStatusOfMediaType(const std::string& mediaType) const;
  /// Whether the user has answered the question for it.
  [[nodiscard]] bool isStatusOfMediaTypeDetermind(const std::string& mediaType) const;
  /// Asks the user; `completionHandler` runs on any thread once the answer is there.
  void requestRightsForMediaType(const std::string& mediaType, std::function<void()> completionHandler);

 private:
  platform::AVFoundation& avFoundation_;
  platform::NSDate& dates_;
  platform::MainQueue& mainQueue_;
  platform::NSUserDefaults& lastRuns_;
  const std::string toolIdentifier_;
};

}  // namespace suite
