#pragma once

#include <memory>

#include "suite/QuilloCommon/ToolDataClientProvider.h"

namespace suite {

/// The framework's entry: the running tool's client of the suite. Main thread only.
class QuilloCommon {
 public:
  [[nodiscard]] std::shared_ptr<ToolDataClientProvider> toolDataClientProvider() const { return provider_; }

 private:
  std::shared_ptr<ToolDataClientProvider> provider_ = std::make_shared<ToolDataClientProvider>();
};

}  // namespace suite
