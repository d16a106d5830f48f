#pragma once

#include "suite/QuilloCommon/EventFile.h"
#include "suite/QuilloKit/ToolEvent.h"

namespace suite {

/// The channel of analytics events. Main thread only.
class AmplitudeWrapper {
 public:
  explicit AmplitudeWrapper(EventFile file) : file_(std::move(file)) {}

  void sendEvent(const ToolEvent& event);

 private:
  EventFile file_;
};

}  // namespace suite
