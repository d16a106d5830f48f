#pragma once

namespace suite {

/// An event for analytics: what happened, and how the tool was started. The numbers are the suite's own.
struct ToolEvent {
  int data = 0;
  int toolStartType = 0;
};

}  // namespace suite
