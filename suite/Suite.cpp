#include "suite/Suite.h"

namespace suite {

Suite::Suite(const platform::Platform& platform, const SuiteStores& stores, const std::string& toolIdentifier)
    : cepLog(EventFile(platform.defaultFileManager, platform.dates, stores.settings, stores.usageEventsPath,
                       toolIdentifier)),
      amplitude(EventFile(platform.defaultFileManager, platform.dates, stores.settings,
                          stores.analyticsEventsPath, toolIdentifier)),
      locationManager(stores.locations, platform.defaultFileManager, toolIdentifier),
      auxiliary(platform.avFoundation, platform.dates, platform.mainQueue, stores.lastRuns, toolIdentifier),
      captureDevices(platform.avFoundation),
      log(platform.systemLog) {}

}  // namespace suite
