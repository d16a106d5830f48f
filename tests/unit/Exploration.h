#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/unit/ToolFixture.h"

namespace camera_shot::exploration {

/// How a run begins.
enum class Start {
  Preview,
  Silent,
  SilentWithoutCamera,
  SilentUnanswered,
  Preferences,
  Click,
  SecondInstance
};

/// Something that happens to a running tool.
struct Event {
  std::string name;
  bool (*isPossible)(const ToolFixture&);
  void (*happen)(ToolFixture&);
};

/// Everything that can happen.
const std::vector<Event>& allEvents();

std::string nameOf(Start start);
std::unique_ptr<ToolFixture> launched(Start start);

/// Everything about the tool and its desktop that decides what it does next.
std::string stateOf(ToolFixture& tool);

}  // namespace camera_shot::exploration
