#include "suite/QuilloCommon/AmplitudeWrapper.h"

namespace suite {

void AmplitudeWrapper::sendEvent(const ToolEvent& event) {
  file_.append(file_.begin()
                   .add("data", std::int64_t{event.data})
                   .add("toolStartType", std::int64_t{event.toolStartType}));
}

}  // namespace suite
