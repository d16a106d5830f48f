#include "tests/unit/Exploration.h"

#include <algorithm>
#include <sstream>

namespace camera_shot::exploration {
namespace {

fakes::FakePhotoOutput* busyOutput(const ToolFixture& tool) {
  for (const auto& output : tool.avFoundation.outputs)
    if (output->pending() > 0) return output.get();
  return nullptr;
}

bool always(const ToolFixture&) {
  return true;
}

bool capturePending(const ToolFixture& tool) {
  return busyOutput(tool) != nullptr;
}

bool previewVisible(const ToolFixture& tool) {
  return tool.isVisible(kPreviewWindow);
}

bool preferencesVisible(const ToolFixture& tool) {
  return tool.isVisible(kPreferencesWindow);
}

bool hasCameras(const ToolFixture& tool) {
  return !tool.avFoundation.devices.empty();
}

bool isPlugged(const ToolFixture& tool, const std::string& name) {
  const auto& devices = tool.avFoundation.devices;
  return std::any_of(devices.begin(), devices.end(),
                     [&](const auto& device) { return device->localizedName() == name; });
}

void togglePlug(ToolFixture& tool, const std::string& name) {
  if (isPlugged(tool, name)) {
    tool.unplug(name);
  } else {
    tool.plug(name);
  }
}

void deliver(ToolFixture& tool) {
  busyOutput(tool)->deliver(std::make_shared<fakes::FakePhoto>(
      std::make_shared<fakes::FakeData>(tool.journal, tool.files, "photo")));
  tool.loop.run();
}

void chooseNextCamera(ToolFixture& tool) {
  const auto& popup = tool.preferencesLayout().view("videoSource");
  tool.chooseCamera((popup.selected + 1) % static_cast<int>(popup.items.size()));
}

}  // namespace

const std::vector<Event>& allEvents() {
  static const std::vector<Event> events{
      {"a second passes", always, [](ToolFixture& tool) { tool.loop.advance(1s); }},
      {"a tenth of a second passes", always, [](ToolFixture& tool) { tool.loop.advance(100ms); }},
      {"first camera plugged or unplugged", always, [](ToolFixture& tool) { togglePlug(tool, "First"); }},
      {"second camera plugged or unplugged", always, [](ToolFixture& tool) { togglePlug(tool, "Second"); }},
      {"photo delivered", capturePending, deliver},
      {"capture fails", capturePending, [](ToolFixture& tool) { busyOutput(tool)->fail(5); }},
      {"access granted", [](const ToolFixture& tool) { return !tool.avFoundation.accessRequests.empty(); },
       [](ToolFixture& tool) { tool.answerAccess(platform::AVAuthorizationStatus::Authorized); }},
      {"access denied", [](const ToolFixture& tool) { return !tool.avFoundation.accessRequests.empty(); },
       [](ToolFixture& tool) { tool.answerAccess(platform::AVAuthorizationStatus::Denied); }},
      {"shoot button", previewVisible, [](ToolFixture& tool) { tool.pressShoot(); }},
      {"menu icon", always, [](ToolFixture& tool) { tool.clickMenuIcon(); }},
      {"reopen", always, [](ToolFixture& tool) { tool.delegate.applicationShouldHandleReopen(false); }},
      {"open preferences", always, [](ToolFixture& tool) { tool.openPreferences(); }},
      {"close preferences", preferencesVisible,
       [](ToolFixture& tool) { tool.closeWindow(kPreferencesWindow); }},
      {"done button", preferencesVisible, [](ToolFixture& tool) { tool.pressDone(); }},
      {"preview switch", preferencesVisible,
       [](ToolFixture& tool) { tool.switchPreview(!tool.controller().preferences()->showPreview()); }},
      {"choose camera", [](const ToolFixture& tool) { return preferencesVisible(tool) && hasCameras(tool); },
       chooseNextCamera},
      {"preview's close button", previewVisible, [](ToolFixture& tool) { tool.pressClose(); }},
      {"preview closed by the window manager", previewVisible,
       [](ToolFixture& tool) { tool.closeWindow(kPreviewWindow); }},
      {"quit", always, [](ToolFixture& tool) { tool.application.terminate(); }},
  };
  return events;
}

std::string nameOf(Start start) {
  switch (start) {
    case Start::Preview:
      return "preview";
    case Start::Silent:
      return "silent";
    case Start::SilentWithoutCamera:
      return "silent without a camera";
    case Start::SilentUnanswered:
      return "silent, access not answered";
    case Start::Preferences:
      return "preferences";
    case Start::Click:
      return "click on a notification";
    case Start::SecondInstance:
      return "second instance";
  }
  return "";
}

std::unique_ptr<ToolFixture> launched(Start start) {
  ToolSetUp setUp;
  setUp.showPreview = start == Start::Preview || start == Start::Preferences || start == Start::Click;
  setUp.cameras = {"First", "Second"};
  if (start == Start::SilentWithoutCamera) setUp.cameras = {};
  if (start == Start::SilentUnanswered) setUp.authorization = platform::AVAuthorizationStatus::NotDetermined;
  if (start == Start::SecondInstance) setUp.instances = 2;

  auto tool = std::make_unique<ToolFixture>(setUp);
  if (start == Start::Click) {
    tool->launchByClickOn("/home/ada/Pictures/photo.png");
  } else if (start == Start::Preferences) {
    tool->launchForPreferences();
  } else {
    tool->launch();
  }
  return tool;
}

std::string stateOf(ToolFixture& tool) {
  const auto& controller = tool.controller();
  std::ostringstream state;
  state << controller.count() << controller.running() << controller.runWithPreferences()
        << controller.preferences()->showPreview() << controller.preferences()->videoSourceID() << ' '
        << (controller.currentCamera() ? controller.currentCamera()->uniqueID() : "none") << ' '
        << controller.preview()->buttonState() << tool.application.ended << tool.hasActiveTimer()
        << static_cast<int>(tool.avFoundation.authorization) << tool.avFoundation.accessRequests.size()
        << ' ';
  for (const auto& [name, layout] : tool.appKit.layouts)
    state << name << layout->window->isVisible();
  for (const auto& device : tool.avFoundation.devices)
    state << device->uniqueID() << ',';
  for (std::size_t taker = 0; taker < tool.takersMade(); ++taker) {
    // An output that owes nothing and is not the last one plays no part any more.
    const auto& output = *tool.avFoundation.outputs[taker];
    if (output.pending() == 0 && taker + 1 < tool.takersMade()) continue;
    state << tool.avFoundation.sessions[taker]->running << output.pending()
          << output.allConnections.front()->mirrored;
  }
  state << ' ' << tool.loop.waiting();
  return state.str();
}

}  // namespace camera_shot::exploration
