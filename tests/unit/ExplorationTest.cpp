#include <iostream>
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
        preferencesVisible(tool.isVisible(kPreferencesWindow)),
        takers(tool.takersMade()),
        sessionCalls(tool.journal.of("session ").size()),
        captures(tool.journal.of("output capture").size()),
        successes(tool.journal.of("notify Photo_Taken_Notification:").size()),
        failures(tool.journal.of("notify Photo_Taken_Notification_Error:").size()) {}

  std::int32_t count;
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
  const bool shooting = before.count > 0 && after.count > 0 && event != "photo delivered" &&
                        event != "access granted" && event != "access denied";
  if (choosing || shooting) {
    EXPECT_EQ(after.takers, before.takers);
  }
  if (shooting) {
    EXPECT_EQ(after.sessionCalls, before.sessionCalls);
  }
}

void expectOneOutcome(ToolFixture& tool, const Snapshot& before, const Snapshot& after,
                      const std::string& event) {
  EXPECT_EQ(after.successes, before.successes + (event == "photo delivered" ? 1 : 0));
  if (event == "photo delivered" && after.count == 0 && !tool.isVisible(kPreviewWindow)) {
    EXPECT_FALSE(tool.avFoundation.sessions.back()->running);
  }
  if (event == "capture fails") {
    const bool retried = after.captures == before.captures + 1;
    EXPECT_EQ(after.failures, before.failures + (retried ? 0 : 1));
    EXPECT_EQ(after.count, before.count);
  }
}

/// A run that went the silent way and never saw the preview switched on.
void expectNoPollingOnceSilent(const ToolFixture& tool) {
  if (tool.journal.has(usageEvent("Launch", false, "{\"Silent\":true}")) && tool.takersMade() > 0 &&
      tool.journal.of("defaults setBool").empty()) {
    EXPECT_FALSE(tool.hasActiveTimer());
  }
}

/// Leaves the tool in another state: for the last look at a run.
void expectTheRightEnd(ToolFixture& tool, const std::string& event) {
  if (!tool.application.ended) {
    const bool windows = tool.isVisible(kPreviewWindow) || tool.isVisible(kPreferencesWindow);
    if (event != "photo delivered" || tool.controller().count() > 0 || windows) return;
    tool.loop.advance(1s);
    EXPECT_TRUE(tool.application.ended) << "the last photo is saved and no window is open";
  }
  const std::size_t lines = tool.journal.lines().size();
  tool.loop.advance(10s);
  EXPECT_EQ(tool.journal.lines().size(), lines) << "something happened after the end";
}

/// All interleavings from one start up to a depth; interleavings that lead to a state seen before are not
/// followed further, as the same can happen from there.
class Explorer {
 public:
  explicit Explorer(Start start) : start_(start) {}

  /// Stops at the first broken invariant.
  void explore(int depth) {
    const auto tool = launched(start_);
    expectWellFormedEvents(*tool);
    expectConsistentState(*tool);
    seen_.insert(stateOf(*tool));
    std::vector<Path> frontier{Path()};
    for (int level = 0; level < depth && !frontier.empty(); ++level) {
      std::vector<Path> next;
      for (const auto& path : frontier)
        if (!extend(path, next)) return;
      frontier = std::move(next);
    }
  }

  std::size_t interleavings() const { return interleavings_; }
  std::size_t states() const { return seen_.size(); }

 private:
  using Path = std::vector<std::size_t>;

  std::unique_ptr<ToolFixture> replay(const Path& path) const {
    auto tool = launched(start_);
    for (const std::size_t event : path)
      allEvents()[event].happen(*tool);
    return tool;
  }

  bool extend(const Path& path, std::vector<Path>& next) {
    const auto here = replay(path);
    if (here->application.ended) return true;
    for (std::size_t event = 0; event < allEvents().size(); ++event) {
      if (!allEvents()[event].isPossible(*here)) continue;
      Path longer = path;
      longer.push_back(event);
      if (!check(longer, next)) return false;
    }
    return true;
  }

  bool check(const Path& path, std::vector<Path>& next) {
    ++interleavings_;
    const auto& event = allEvents()[path.back()];
    const auto tool = replay({path.begin(), path.end() - 1});
    const Snapshot before(*tool);
    event.happen(*tool);
    const Snapshot after(*tool);

    expectWellFormedEvents(*tool);
    expectConsistentState(*tool);
    expectCameraLeftAlone(before, after, event.name);
    expectOneOutcome(*tool, before, after, event.name);
    expectNoPollingOnceSilent(*tool);
    if (seen_.insert(stateOf(*tool)).second) next.push_back(path);
    expectTheRightEnd(*tool, event.name);
    if (::testing::Test::HasFailure()) ADD_FAILURE() << story(path);
    return !::testing::Test::HasFailure();
  }

  std::string story(const Path& path) const {
    std::string text = "start: " + nameOf(start_);
    for (const std::size_t event : path)
      text += ", " + allEvents()[event].name;
    return text;
  }

  const Start start_;
  std::unordered_set<std::string> seen_;
  std::size_t interleavings_ = 0;
};

class Exploration : public ::testing::TestWithParam<Start> {};

TEST_P(Exploration, KeepsEveryInvariant) {
  constexpr int kDepth = 5;
  Explorer explorer(GetParam());
  explorer.explore(kDepth);
  // Only a second instance has ended before anything can happen to it.
  EXPECT_EQ(explorer.interleavings() > 0, GetParam() != Start::SecondInstance);
  std::cout << nameOf(GetParam()) << ": " << explorer.interleavings() << " interleavings, "
            << explorer.states() << " states\n";
}

INSTANTIATE_TEST_SUITE_P(EveryStart, Exploration,
                         ::testing::Values(Start::Preview, Start::Silent, Start::SilentWithoutCamera,
                                           Start::SilentUnanswered, Start::Preferences, Start::Click,
                                           Start::SecondInstance));

}  // namespace
}  // namespace camera_shot::exploration
