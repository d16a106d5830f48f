#include "tests/unit/Exploration.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <typeinfo>

#include "app/Weakly.h"

namespace camera_shot::exploration {
namespace {

/// More are no news: what is true of three is true of thirty.
constexpr int kMostShots = 3;

using Outputs = std::vector<std::shared_ptr<fakes::FakePhotoOutput>>;

/// Those that owe an answer, the oldest first.
Outputs busyOutputs(const ToolFixture& tool) {
  Outputs busy;
  for (const auto& output : tool.avFoundation.outputs)
    if (output->pending() > 0) busy.push_back(output);
  return busy;
}

bool always(const ToolFixture&) {
  return true;
}

using Postponed = fakes::FakeMainLoop::Postponed;

/// `function` is a name of its own in the code's, where each name stands behind its length.
bool isFrom(const Postponed& work, const std::string& function) {
  return work.code.find(std::to_string(function.size()) + function) != std::string_view::npos;
}

/// Work that is put off by the operations named here changes nothing that the tool ever looks at.
bool decides(const Postponed& work) {
  return !isFrom(work, "showOverlay") && !isFrom(work, "updateLastRun");
}

bool endsTheRun(const Postponed& work) {
  return isFrom(work, "onQuit") || isFrom(work, "startFromNotificationClick");
}

/// The waiting work that can still make a difference, in the order in which it falls due: nothing comes after
/// the end.
std::vector<Postponed> waitingWork(const ToolFixture& tool) {
  std::vector<Postponed> all;
  for (const auto& each : tool.loop.waiting()) {
    if (decides(each)) all.push_back(each);
    if (endsTheRun(each)) break;
  }
  return all;
}

bool somethingWaits(const ToolFixture& tool) {
  return !waitingWork(tool).empty();
}

void runNext(ToolFixture& tool) {
  while (!decides(tool.loop.waiting().front()))
    tool.loop.runNext();
  tool.loop.runNext();
}

/// What waits for the main loop's next turn comes before any news from outside.
bool isIdle(const ToolFixture& tool) {
  const auto waiting = waitingWork(tool);
  return std::none_of(waiting.begin(), waiting.end(), [](const auto& each) { return each.delay == 0ms; });
}

bool capturePending(const ToolFixture& tool) {
  return isIdle(tool) && !busyOutputs(tool).empty();
}

/// A camera that was given up owes a photo, and so does the one in use.
bool twoCamerasBusy(const ToolFixture& tool) {
  return isIdle(tool) && busyOutputs(tool).size() > 1;
}

/// What the controller has put off until later: shots, and looks for cameras.
std::ptrdiff_t postponed(const ToolFixture& tool) {
  using Call = decltype(weakly(std::shared_ptr<AppController>(), &AppController::takePhoto));
  const auto waiting = waitingWork(tool);
  return std::count_if(waiting.begin(), waiting.end(),
                       [](const auto& each) { return each.code == typeid(Call).name(); });
}

bool takesMoreShots(const ToolFixture& tool) {
  return tool.delegate.controller()->count() + postponed(tool) < kMostShots;
}

/// In a run without a preview every change of the cameras may put off a further shot, but only while none is
/// pending.
bool camerasMayChange(const ToolFixture& tool) {
  return tool.delegate.controller()->count() > 0 || takesMoreShots(tool);
}

bool previewVisible(const ToolFixture& tool) {
  return tool.isVisible(kPreviewWindow);
}

bool canShoot(const ToolFixture& tool) {
  return previewVisible(tool) && takesMoreShots(tool);
}

bool preferencesVisible(const ToolFixture& tool) {
  return tool.isVisible(kPreferencesWindow);
}

bool accessAsked(const ToolFixture& tool) {
  return isIdle(tool) && !tool.avFoundation.accessRequests.empty();
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

void deliver(ToolFixture& tool, fakes::FakePhotoOutput& output) {
  output.deliver(std::make_shared<fakes::FakePhoto>(
      std::make_shared<fakes::FakeData>(tool.journal, tool.files, "photo")));
  tool.loop.runTurn();
}

void chooseNextCamera(ToolFixture& tool) {
  const auto& popup = tool.preferencesLayout().view("videoSource");
  tool.chooseCamera((popup.selected + 1) % static_cast<int>(popup.items.size()));
}

bool canChooseCamera(const ToolFixture& tool) {
  return preferencesVisible(tool) && !tool.avFoundation.devices.empty();
}

std::vector<Event> cameraEvents() {
  return {
      {"first camera plugged or unplugged", camerasMayChange,
       [](ToolFixture& tool) { togglePlug(tool, "First"); }},
      {"second camera plugged or unplugged", camerasMayChange,
       [](ToolFixture& tool) { togglePlug(tool, "Second"); }},
      {"photo delivered", capturePending,
       [](ToolFixture& tool) { deliver(tool, *busyOutputs(tool).front()); }},
      {"photo delivered by the later camera", twoCamerasBusy,
       [](ToolFixture& tool) { deliver(tool, *busyOutputs(tool).back()); }},
      {"capture fails", capturePending, [](ToolFixture& tool) { busyOutputs(tool).front()->fail(5); }},
      {"capture of the later camera fails", twoCamerasBusy,
       [](ToolFixture& tool) { busyOutputs(tool).back()->fail(5); }},
      {"access granted", accessAsked,
       [](ToolFixture& tool) { tool.answerAccess(platform::AVAuthorizationStatus::Authorized); }},
      {"access denied", accessAsked,
       [](ToolFixture& tool) { tool.answerAccess(platform::AVAuthorizationStatus::Denied); }},
  };
}

std::vector<Event> userEvents() {
  return {
      {"shoot button", canShoot, [](ToolFixture& tool) { tool.pressShoot(); }, true},
      {"menu icon", takesMoreShots, [](ToolFixture& tool) { tool.clickMenuIcon(); }, true},
      {"started again", takesMoreShots, [](ToolFixture& tool) { tool.startAgain(); }, true},
      {"open preferences", always, [](ToolFixture& tool) { tool.openPreferences(); }},
      {"done button", preferencesVisible, [](ToolFixture& tool) { tool.pressDone(); }},
      {"preview switch", preferencesVisible,
       [](ToolFixture& tool) { tool.switchPreview(!tool.controller().preferences()->showPreview()); }},
      {"choose camera", canChooseCamera, chooseNextCamera},
      {"preview's close button", previewVisible, [](ToolFixture& tool) { tool.pressClose(); }},
      {"quit", always, [](ToolFixture& tool) { tool.application.terminate(); }},
  };
}

std::vector<Event> desktopEvents() {
  return {
      {"the next thing is due", somethingWaits, runNext},
      {"preferences closed by the window manager", preferencesVisible,
       [](ToolFixture& tool) { tool.closeWindow(kPreferencesWindow); }},
      {"preferences minimised", preferencesVisible,
       [](ToolFixture& tool) { tool.minimise(kPreferencesWindow); }},
      {"preview closed by the window manager", previewVisible,
       [](ToolFixture& tool) { tool.closeWindow(kPreviewWindow); }},
      {"preview minimised", previewVisible, [](ToolFixture& tool) { tool.minimise(kPreviewWindow); }},
      {"a display appears", [](const ToolFixture& tool) { return !tool.appKit.hasDisplay; },
       [](ToolFixture& tool) { tool.appKit.hasDisplay = true; }},
  };
}

/// Takers that still play a part: those that owe an answer, and the last one.
void describeTakers(const ToolFixture& tool, std::ostream& state) {
  for (std::size_t taker = 0; taker < tool.takersMade(); ++taker) {
    const auto& output = *tool.avFoundation.outputs[taker];
    const bool isLast = taker + 1 == tool.takersMade();
    if (output.pending() == 0 && !isLast) continue;
    state << output.pending() << output.allConnections.front()->mirrored;
    if (isLast) state << 'r' << tool.avFoundation.sessions[taker]->running;
  }
}

/// All delays but those of the launch are of one length, so what is put off now comes after what waits: only
/// the order counts, not the time.
void describeWaiting(const ToolFixture& tool, std::ostream& state) {
  std::string_view before;
  for (const auto& each : waitingWork(tool)) {
    // Coming to the front twice is coming to the front.
    const bool isRepeated = each.code == before && isFrom(each, "onPreferences");
    if (!isRepeated) state << (each.delay == 0ms ? " now:" : " later:") << each.code;
    before = each.code;
  }
}

/// Cameras that differ in nothing but their names may change places: the same can happen then.
std::string withoutNames(std::string state) {
  const std::string first = idOf("First"), second = idOf("Second");
  const bool firstComesFirst = state.find(first) <= state.find(second);
  for (auto at = state.find("id of"); at != std::string::npos; at = state.find("id of", at)) {
    const bool isFirst = state.compare(at, first.size(), first) == 0;
    state.replace(at, isFirst ? first.size() : second.size(), isFirst == firstComesFirst ? "A" : "B");
  }
  return state;
}

}  // namespace

const std::vector<Event>& allEvents() {
  static const std::vector<Event> events = [] {
    std::vector<Event> all = desktopEvents();
    for (const auto& more : {cameraEvents(), userEvents()})
      all.insert(all.end(), more.begin(), more.end());
    return all;
  }();
  return events;
}

std::string nameOf(Start start) {
  switch (start) {
    case Start::Preview:
      return "preview";
    case Start::PreviewWithoutCamera:
      return "preview without a camera";
    case Start::Silent:
      return "silent";
    case Start::SilentWithoutCamera:
      return "silent without a camera";
    case Start::SilentWithoutDisplay:
      return "silent without a display";
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
  setUp.showPreview = start == Start::Preview || start == Start::PreviewWithoutCamera ||
                      start == Start::Preferences || start == Start::Click;
  setUp.cameras = {"First", "Second"};
  if (start == Start::SilentWithoutCamera || start == Start::PreviewWithoutCamera) setUp.cameras = {};
  if (start == Start::SilentUnanswered) setUp.authorization = platform::AVAuthorizationStatus::NotDetermined;
  if (start == Start::SecondInstance) setUp.instances = 2;

  auto tool = std::make_unique<ToolFixture>(setUp);
  tool->appKit.hasDisplay = start != Start::SilentWithoutDisplay;
  if (start == Start::Click) {
    tool->launchByClickOn("/home/ada/Pictures/photo.png");
  } else if (start == Start::Preferences) {
    tool->launchForPreferences();
  } else {
    tool->launch();
  }
  return tool;
}

bool launchedSilently(const ToolFixture& tool) {
  return tool.journal.has(usageEvent("Launch", false, "{\"Silent\":true}"));
}

bool staysSilent(const ToolFixture& tool) {
  return launchedSilently(tool) && tool.journal.of("defaults setBool").empty();
}

std::string stateOf(ToolFixture& tool) {
  if (tool.application.ended) return "ended";
  const auto& controller = tool.controller();
  std::ostringstream state;
  state << launchedSilently(tool) << staysSilent(tool) << controller.count() << controller.running()
        << controller.runWithPreferences() << controller.preferences()->showPreview()
        << controller.preferences()->videoSourceID() << ' '
        << (controller.currentCamera() ? controller.currentCamera()->uniqueID() : "none") << ' '
        << controller.preview()->buttonState() << tool.hasActiveTimer()
        << static_cast<int>(tool.avFoundation.authorization)
        << std::min<std::size_t>(tool.avFoundation.accessRequests.size(), 3) << tool.appKit.hasDisplay << ' ';
  for (const auto& [name, layout] : tool.appKit.layouts)
    state << name << layout->window->isVisible() << layout->window->isMiniaturized();
  for (const auto& device : tool.avFoundation.devices)
    state << device->uniqueID() << ',';
  describeTakers(tool, state);
  describeWaiting(tool, state);
  return withoutNames(state.str());
}

}  // namespace camera_shot::exploration
