#pragma once

#include <string>

#include "platform/Platform.h"
#include "suite/QuilloCommon/AmplitudeWrapper.h"
#include "suite/QuilloCommon/CEPLog.h"
#include "suite/QuilloCommon/QuilloCommon.h"
#include "suite/QuilloKit/Auxiliary.h"
#include "suite/QuilloKit/CaptureDevice.h"
#include "suite/QuilloKit/LocationManager.h"
#include "suite/libLogging/VQLog.h"

namespace suite {

/// Where the suite keeps what it shares among its tools.
struct SuiteStores {
  platform::NSUserDefaults& settings;   ///< for every tool: "UsageEvents"
  platform::NSUserDefaults& locations;  ///< tool identifier → output folder
  platform::NSUserDefaults& lastRuns;   ///< tool identifier → when the tool last ran
  std::string usageEventsPath;
  std::string analyticsEventsPath;
};

/// The suite's services for one tool. Composed once, in `main`; outlives the tool.
struct Suite {
  Suite(const platform::Platform& platform, const SuiteStores& stores, const std::string& toolIdentifier);

  QuilloCommon common;
  CEPLog cepLog;
  AmplitudeWrapper amplitude;
  LocationManager locationManager;
  Auxiliary auxiliary;
  CaptureDevices captureDevices;
  VQLog log;
};

}  // namespace suite
