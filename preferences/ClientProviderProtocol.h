#pragma once

#include <memory>

#include "suite/QuilloCommon/ToolDataClientProvider.h"

namespace camera_shot {

/// Whoever knows the suite's client for the running tool. Main thread only.
class ClientProviderProtocol {
 public:
  virtual ~ClientProviderProtocol() = default;

  [[nodiscard]] virtual std::shared_ptr<suite::ToolDataClientProvider> provider() const = 0;
};

}  // namespace camera_shot
