#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/unit/ToolFixture.h"

namespace camera_shot::exploration {

/// How a run begins.
enum class Start {
  Preview,
  PreviewWithoutCamera,
  Silent,
  SilentWithoutCamera,
  SilentWithoutDisplay,
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
  /// Whether the user asks for a photo by it.
  bool asksForPhoto = false;
};

/// Everything that can happen. With three shots pending no further one is asked for, so that there is an end
/// to what a run can become.
const std::vector<Event>& allEvents();

std::string nameOf(Start start);
std::unique_ptr<ToolFixture> launched(Start start);

bool launchedSilently(const ToolFixture& tool);
/// Launched so, and nobody has touched the switch of the preview since.
bool staysSilent(const ToolFixture& tool);

/// Everything about the tool and its desktop that decides what it does next.
std::string stateOf(ToolFixture& tool);

}  // namespace camera_shot::exploration
