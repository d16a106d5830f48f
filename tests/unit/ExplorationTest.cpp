#include <cstdlib>
#include <deque>
#include <iostream>
#include <limits>
#include <unordered_set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/Exploration.h"

namespace camera_shot::exploration {
namespace {

/// What the invariants compare before and after an event.
struct Snapshot {
  explicit Snapshot(ToolFixture& tool)
      : count(tool.controller().count()),
        starts(tool.journal.of("event \"event\":\"Start\"").size()),
        preferencesVisible(tool.isVisible(kPreferencesWindow)),
        takers(tool.takersMade()),
        sessionCalls(tool.journal.of("session ").size()),
        captures(tool.journal.of("output capture").size()),
        successes(tool.journal.of("notify Photo_Taken_Notification:").size()),
        failures(tool.journal.of("notify Photo_Taken_Notification_Error:").size()) {}

  std::int32_t count;
  std::size_t starts;
  bool preferencesVisible;
  std::size_t takers;
  std::size_t sessionCalls;
  std::size_t captures;
  std::size_t successes;
  std::size_t failures;
};

std::size_t eventsNamed(const ToolFixture& tool, const std::string& name) {
  return tool.journal.of("event \"event\":\"" + name + "\"").size();
}

void expectWellFormedEvents(const ToolFixture& tool) {
  const auto events = tool.journal.of("event");
  ASSERT_FALSE(events.empty());
  EXPECT_TRUE(events.front().starts_with("event \"event\":\"Launch\""));
  EXPECT_EQ(eventsNamed(tool, "Launch"), 1U);
  EXPECT_EQ(eventsNamed(tool, "Quit"), tool.application.ended ? 1U : 0U);
  if (tool.application.ended) {
    EXPECT_TRUE(events.back().starts_with("event \"event\":\"Quit\""));
  }
  EXPECT_LE(eventsNamed(tool, "Stop"), eventsNamed(tool, "Start"));
  EXPECT_EQ(tool.journal.of("analytics").size(), eventsNamed(tool, "Start"));
}

void expectConsistentState(ToolFixture& tool) {
  const auto& controller = tool.controller();
  EXPECT_GE(controller.count(), 0);
  EXPECT_EQ(static_cast<std::size_t>(controller.count()),
            eventsNamed(tool, "Start") - eventsNamed(tool, "Stop"));
  EXPECT_EQ(controller.preview()->buttonState() == 0, controller.currentCamera() != nullptr);
  if (controller.currentCamera()) {
    EXPECT_EQ(tool.avFoundation.sessions.back()->cameraID, controller.currentCamera()->uniqueID());
    EXPECT_EQ(controller.preview()->layer(), controller.photoTaker()->getLayer());
  }
}

/// The camera is left alone while the user is choosing one and while a shot is pending.
void expectCameraLeftAlone(const Snapshot& before, const Snapshot& after, const std::string& event) {
  const bool choosing = before.preferencesVisible && after.preferencesVisible;
  // The user's answer about access comes through whatever is going on, and a delivery is the end of waiting.
  const bool shooting = before.count > 0 && after.count > 0 && !event.starts_with("photo delivered") &&
                        !event.starts_with("access");
  if (choosing || shooting) {
    EXPECT_EQ(after.takers, before.takers);
  }
  if (shooting) {
    EXPECT_EQ(after.sessionCalls, before.sessionCalls);
  }
}

void expectOneOutcome(ToolFixture& tool, const Snapshot& before, const Snapshot& after,
                      const std::string& event) {
  const bool delivered = event.starts_with("photo delivered");
  EXPECT_EQ(after.successes, before.successes + (delivered ? 1 : 0));
  if (delivered && after.count == 0 && !tool.isVisible(kPreviewWindow)) {
    EXPECT_FALSE(tool.avFoundation.sessions.back()->running);
  }
  if (event.starts_with("capture")) {
    const bool retried = after.captures == before.captures + 1;
    EXPECT_EQ(after.failures, before.failures + (retried ? 0 : 1));
    EXPECT_EQ(after.count, before.count);
  }
}

void expectNoPollingOnceSilent(const ToolFixture& tool) {
  if (staysSilent(tool) && tool.takersMade() > 0) {
    EXPECT_FALSE(tool.hasActiveTimer());
  }
}

/// A photo is taken because the user asks for it, or by itself, on time, in a run that was started silently.
void expectNoUnaskedPhoto(const ToolFixture& tool, const Snapshot& before, const Snapshot& after,
                          const Event& event) {
  if (after.starts == before.starts) return;
  EXPECT_EQ(after.starts, before.starts + 1);
  EXPECT_TRUE(event.asksForPhoto || (event.name == "the next thing is due" && launchedSilently(tool)))
      << "a photo that nobody asked for";
}

/// Leaves the tool in another state: for the last look at a run.
void expectTheRightEnd(ToolFixture& tool, const std::string& event) {
  if (!tool.application.ended) {
    const bool windows = tool.isVisible(kPreviewWindow) || tool.isVisible(kPreferencesWindow);
    if (!event.starts_with("photo delivered") || tool.controller().count() > 0 || windows) return;
    tool.loop.advance(1s);
    EXPECT_TRUE(tool.application.ended) << "the last photo is saved and no window is open";
  }
  const std::size_t lines = tool.journal.lines().size();
  tool.loop.advance(10s);
  EXPECT_EQ(tool.journal.lines().size(), lines) << "something happened after the end";
}

/// Everything that a run can become, the nearest first; what leads to a state seen before is not followed
/// further, as the same can happen from there.
class Explorer {
 public:
  /// Goes on until no new state comes, or `mostStates` have been seen, or an invariant is broken.
  void explore(const std::vector<Start>& starts, std::size_t mostStates) {
    for (const auto start : starts)
      begin(start);
    while (!frontier_.empty() && seen_.size() < mostStates && !::testing::Test::HasFailure()) {
      const Path path = std::move(frontier_.front());
      frontier_.pop_front();
      extend(path);
    }
  }

  std::size_t interleavings() const { return interleavings_; }
  std::size_t states() const { return seen_.size(); }
  std::size_t depth() const { return depth_; }
  bool isComplete() const { return frontier_.empty(); }

 private:
  struct Path {
    Start start;
    /// What has happened since, each by its place among all events.
    std::vector<unsigned char> events;
  };

  static std::unique_ptr<ToolFixture> replay(const Path& path) {
    auto tool = launched(path.start);
    for (const auto event : path.events)
      allEvents()[event].happen(*tool);
    return tool;
  }

  void begin(Start start) {
    const auto tool = launched(start);
    expectWellFormedEvents(*tool);
    expectConsistentState(*tool);
    EXPECT_EQ(tool->application.ended, start == Start::SecondInstance);
    if (seen_.insert(stateOf(*tool)).second) frontier_.push_back({start, {}});
  }

  void extend(const Path& path) {
    if (path.events.size() > depth_) {
      depth_ = path.events.size();
      std::cout << depth_ << " events: " << seen_.size() << " states, " << frontier_.size() + 1
                << " to extend\n"
                << std::flush;
    }
    const auto here = replay(path);
    if (here->application.ended) return;
    for (std::size_t event = 0; event < allEvents().size() && !::testing::Test::HasFailure(); ++event)
      if (allEvents()[event].isPossible(*here)) check(path, event);
  }

  void check(const Path& path, std::size_t next) {
    ++interleavings_;
    const auto& event = allEvents()[next];
    const auto tool = replay(path);
    const Snapshot before(*tool);
    event.happen(*tool);
    const Snapshot after(*tool);

    expectWellFormedEvents(*tool);
    expectConsistentState(*tool);
    expectCameraLeftAlone(before, after, event.name);
    expectOneOutcome(*tool, before, after, event.name);
    expectNoPollingOnceSilent(*tool);
    expectNoUnaskedPhoto(*tool, before, after, event);
    Path longer = path;
    longer.events.push_back(static_cast<unsigned char>(next));
    if (seen_.insert(stateOf(*tool)).second) frontier_.push_back(longer);
    expectTheRightEnd(*tool, event.name);
    if (::testing::Test::HasFailure()) ADD_FAILURE() << story(longer);
  }

  static std::string story(const Path& path) {
    std::string text = "start: " + nameOf(path.start);
    for (const auto event : path.events)
      text += ", " + allEvents()[event].name;
    return text;
  }

  std::unordered_set<std::string> seen_;
  std::deque<Path> frontier_;
  std::size_t interleavings_ = 0;
  std::size_t depth_ = 0;
};

/// As many as a test has time for. All together are fewer than a million.
constexpr std::size_t kInATest = 20000;

/// Whether all are looked at, however long that takes (scripts/explore).
bool isEndWanted() {
  return std::getenv("CAMERA_SHOT_EXPLORE_ALL") != nullptr;
}

TEST(Exploration, KeepsEveryInvariant) {
  Explorer explorer;
  explorer.explore({Start::Preview, Start::PreviewWithoutCamera, Start::Silent, Start::SilentWithoutCamera,
                    Start::SilentWithoutDisplay, Start::SilentUnanswered, Start::Preferences, Start::Click,
                    Start::SecondInstance},
                   isEndWanted() ? std::numeric_limits<std::size_t>::max() : kInATest);
  std::cout << explorer.interleavings() << " interleavings of up to " << explorer.depth() + 1 << " events, "
            << explorer.states() << (explorer.isComplete() ? " states: all of them\n" : " states so far\n");
  EXPECT_TRUE(explorer.isComplete() || !isEndWanted());
}

}  // namespace
}  // namespace camera_shot::exploration
