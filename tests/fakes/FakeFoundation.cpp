#include "tests/fakes/FakeFoundation.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <utility>

namespace fakes {

struct FakeMainLoop::Timer : platform::NSTimer {
  Timer(Milliseconds every, std::function<void()> what) : interval(every), action(std::move(what)) {}
  void invalidate() override { valid = false; }

  Milliseconds interval;
  std::function<void()> action;
  bool valid = true;
};

void FakeMainLoop::async(std::function<void()> work) {
  schedule(Milliseconds(0), std::move(work));
}

void FakeMainLoop::sync(std::function<void()> work) {
  if (std::this_thread::get_id() == mainThread_) {
    work();
    return;
  }
  enum class State { Waiting, Started, Done };
  const auto state = std::make_shared<State>(State::Waiting);
  const auto enter = [this, state](State next) {
    const std::scoped_lock lock(mutex_);
    *state = next;
    changed_.notify_all();
  };
  schedule(Milliseconds(0), [enter, work = std::move(work)] {
    enter(State::Started);
    work();
    enter(State::Done);
  });
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return *state == State::Done || (ended_ && *state == State::Waiting); });
}

void FakeMainLoop::after(Milliseconds delay, std::function<void()> work) {
  schedule(delay, std::move(work));
}

void FakeMainLoop::schedule(Milliseconds delay, std::function<void()> work) {
  const std::scoped_lock lock(mutex_);
  due_.push_back({now_ + delay, delay, number_++, std::move(work)});
  changed_.notify_all();
}

void FakeMainLoop::end() {
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

std::shared_ptr<platform::NSTimer> FakeMainLoop::addRepeatingTimer(Milliseconds interval,
                                                                   std::function<void()> action) {
  if (journal_) journal_->add("timer every " + std::to_string(interval.count()) + " ms");
  auto timer = std::make_shared<Timer>(interval, std::move(action));
  timers_.push_back(timer);
  arm(timer);
  return timer;
}

void FakeMainLoop::arm(const std::weak_ptr<Timer>& timer) {
  schedule(timer.lock()->interval, [this, timer] {
    const auto live = timer.lock();
    if (!live || !live->valid) return;
    arm(timer);
    live->action();
  });
}

int FakeMainLoop::activeTimers() const {
  return static_cast<int>(std::count_if(timers_.begin(), timers_.end(), [](const auto& weak) {
    const auto timer = weak.lock();
    return timer && timer->valid;
  }));
}

std::vector<FakeMainLoop::Postponed> FakeMainLoop::waiting() const {
  const std::scoped_lock lock(mutex_);
  std::vector<const Due*> inOrder;
  for (const auto& each : due_)
    inOrder.push_back(&each);
  std::sort(inOrder.begin(), inOrder.end(), [](const Due* a, const Due* b) {
    return std::pair(a->at, a->number) < std::pair(b->at, b->number);
  });
  std::vector<Postponed> all;
  for (const Due* each : inOrder)
    all.push_back({each->at - now_, each->delay, each->work.target_type().name()});
  return all;
}

void FakeMainLoop::runNext() {
  const auto all = waiting();
  if (all.empty()) return;
  if (const auto work = takeNext(now_ + all.front().in)) work();
}

std::function<void()> FakeMainLoop::takeNext(Milliseconds until) {
  const std::scoped_lock lock(mutex_);
  const auto next = std::min_element(due_.begin(), due_.end(), [](const Due& a, const Due& b) {
    return std::pair(a.at, a.number) < std::pair(b.at, b.number);
  });
  if (ended_ || next == due_.end() || next->at > until) {
    now_ = until;
    return nullptr;
  }
  now_ = std::max(now_, next->at);
  auto work = std::move(next->work);
  due_.erase(next);
  return work;
}

void FakeMainLoop::runTurn() {
  const auto takeImmediate = [this]() -> std::function<void()> {
    const std::scoped_lock lock(mutex_);
    const auto next =
        std::find_if(due_.begin(), due_.end(), [](const Due& each) { return each.delay == Milliseconds(0); });
    if (ended_ || next == due_.end()) return nullptr;
    auto work = std::move(next->work);
    due_.erase(next);
    return work;
  };
  while (const auto work = takeImmediate())
    work();
}

void FakeMainLoop::advance(Milliseconds time) {
  const Milliseconds until = now_ + time;
  while (const auto work = takeNext(until))
    work();
}

bool FakeMainLoop::runWhenWorkArrives() {
  {
    std::unique_lock lock(mutex_);
    const auto isDue = [this] {
      return ended_ ||
             std::any_of(due_.begin(), due_.end(), [this](const Due& each) { return each.at <= now_; });
    };
    if (!changed_.wait_for(lock, std::chrono::seconds(30), isDue) || ended_) return false;
  }
  run();
  return true;
}

// The run's wall clock starts at 2026-11-21 12:00:00 UTC; the user lives in that zone.
platform::NSDate::TimePoint FakeMainLoop::date() const {
  const std::scoped_lock lock(mutex_);
  return std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(12) + now_;
}

std::string FakeMainLoop::localText(TimePoint moment, const std::string& format) const {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[100];
  return {text, std::strftime(text, sizeof text, format.c_str(), &parts)};
}

void FakeNotificationCenter::addObserver(const void* observer, const std::string& name,
                                         std::function<void()> handler) {
  journal_.add("center addObserver " + name);
  observations_.push_back(std::make_shared<Observation>(Observation{observer, name, std::move(handler)}));
}

void FakeNotificationCenter::removeObserver(const void* observer) {
  std::erase_if(observations_, [&](const auto& each) {
    if (each->observer != observer) return false;
    each->removed = true;
    return true;
  });
}

void FakeNotificationCenter::postNotificationName(const std::string& name) {
  const auto observed = observations_;
  for (const auto& each : observed)
    if (!each->removed && each->name == name) each->handler();
}

std::optional<std::int64_t> FakeUserDefaults::integerForKey(const std::string& key) const {
  std::string word;
  for (const char letter : stringForKey(key))
    if (letter != ' ' && letter != '\t') word += static_cast<char>(std::tolower(letter));
  if (word == "true" || word == "yes" || word == "on") return 1;
  if (word == "false" || word == "no" || word == "off") return 0;
  std::int64_t number = 0;
  const char* const end = word.data() + word.size();
  const auto [after, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && after == end ? std::optional(number) : std::nullopt;
}

std::string FakeUserDefaults::stringForKey(const std::string& key) const {
  const auto found = values.find(key);
  return found == values.end() ? "" : found->second;
}

void FakeUserDefaults::setBool(bool value, const std::string& key) {
  journal_.add(name_ + " setBool " + key + " " + (value ? "YES" : "NO"));
  values[key] = value ? "true" : "false";
}

void FakeUserDefaults::setObject(const std::string& value, const std::string& key) {
  journal_.add(name_ + " setObject " + key + " " + value);
  values[key] = value;
}

bool FakeUserDefaults::synchronize() {
  journal_.add(name_ + " synchronize");
  return synchronizes;
}

bool FakeFileManager::fileExistsAtPath(const std::string& path) const {
  if (whileLooking) whileLooking();
  return existing.contains(path);
}

int FakeFileManager::whyNotWritableDirectory(const std::string& path) const {
  const auto found = notWritable.find(path);
  return found == notWritable.end() ? 0 : found->second;
}

void FakeFileManager::answerAll() {
  for (const auto& [path, answer] : std::exchange(asked, {}))
    answer(whyNotWritableDirectory(path));
}

std::string FakeFileManager::abbreviatingWithTilde(const std::string& path) const {
  const std::string home = "/home/ada";
  return path.starts_with(home) ? "~" + path.substr(home.size()) : path;
}

bool FakeFileManager::appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) {
  const auto& before = appended[path];
  const auto bytes = std::accumulate(before.begin(), before.end(), line.size() + 1,
                                     [](auto sum, const auto& each) { return sum + each.size() + 1; });
  if (!before.empty() && bytes > static_cast<std::size_t>(mostBytes))
    appended[path + ".1"] = std::exchange(appended[path], {});
  appended[path].push_back(line);
  // {"time":"…","tool":"…",REST} → the words of REST.
  const std::string toolEnd = "\"tool\":\"a5f597ea-d3f3-4347-bbe6-344e240acc7e\",";
  const auto at = line.find(toolEnd);
  journal_.add((path.find("analytics") != std::string::npos ? "analytics " : "event ") +
               (at == std::string::npos ? line : line.substr(at + toolEnd.size())));
  return true;
}

std::string FakeBundle::localizedStringForKey(const std::string& key, const std::string& value,
                                              const std::string& table) const {
  static const Table kNoTexts;
  const auto other = otherTables.find(table);
  const Table& otherTexts = other == otherTables.end() ? kNoTexts : other->second;
  const Table& texts = table.empty() ? translations : otherTexts;
  const auto found = texts.find(key);
  if (found != texts.end() && !found->second.empty()) return found->second;
  return value.empty() ? key : value;
}

bool FakeData::writeToFile(const std::string& path, bool atomically) const {
  if (files_.whileWriting) files_.whileWriting();
  journal_.add("write " + name_ + " to " + path + (atomically ? " atomically" : ""));
  if (!fails_) files_.existing.insert(path);
  return !fails_;
}

}  // namespace fakes
