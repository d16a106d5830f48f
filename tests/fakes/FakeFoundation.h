#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "tests/fakes/Journal.h"

namespace fakes {

using Milliseconds = std::chrono::milliseconds;

/// Main loop, timers and wall clock of one run, moved on by hand. The thread that makes it is the main
/// thread; the queue's operations may be called from others.
class FakeMainLoop : public platform::MainQueue, public platform::NSRunLoop, public platform::NSDate {
 public:
  /// With a journal, timers are told to it.
  explicit FakeMainLoop(Journal* journal = nullptr) : journal_(journal) {}
  void async(std::function<void()> work) override;
  void sync(std::function<void()> work) override;
  void after(Milliseconds delay, std::function<void()> work) override;
  std::shared_ptr<platform::NSTimer> addRepeatingTimer(Milliseconds interval,
                                                       std::function<void()> action) override;
  TimePoint date() const override;
  std::string localText(TimePoint moment, const std::string& format) const override;

  /// Runs what is due now.
  void run() { advance(Milliseconds(0)); }
  /// Runs what was put off to the next turn of the loop, but nothing that was to wait longer and is due.
  void runTurn();
  /// Moves the clock on by `time`, running everything as it falls due.
  void advance(Milliseconds time);
  /// Moves the clock on to the work that is due next and runs that alone.
  void runNext();
  /// Waits for work from another thread, at most thirty seconds, and runs it; answers whether any came.
  bool runWhenWorkArrives();
  /// The loop has ended: nothing runs any more, and whoever waits in `sync` is released.
  void end();
  int activeTimers() const;
  /// A piece of work that waits.
  struct Postponed {
    Milliseconds in;     ///< how long until it is due
    Milliseconds delay;  ///< how long it was put off when it was put there
    /// The mangled type of the function: names the line of code that put it there.
    std::string_view code;

    bool operator==(const Postponed&) const = default;
  };
  /// The waiting work in the order in which it falls due.
  std::vector<Postponed> waiting() const;

 private:
  struct Timer;
  struct Due {
    Milliseconds at;
    Milliseconds delay;
    std::uint64_t number;
    std::function<void()> work;
  };
  void schedule(Milliseconds delay, std::function<void()> work);
  void arm(const std::weak_ptr<Timer>& timer);
  /// Takes out the next work that is due by `until` and moves the clock there; nothing when there is none.
  std::function<void()> takeNext(Milliseconds until);

  Journal* const journal_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Milliseconds now_{0};
  std::uint64_t number_ = 0;
  std::vector<Due> due_;
  std::vector<std::weak_ptr<Timer>> timers_;
  bool ended_ = false;
};

class FakeNotificationCenter : public platform::NSNotificationCenter {
 public:
  explicit FakeNotificationCenter(Journal& journal) : journal_(journal) {}
  void addObserver(const void* observer, const std::string& name, std::function<void()> handler) override;
  void removeObserver(const void* observer) override;
  void postNotificationName(const std::string& name) override;

 private:
  struct Observation {
    const void* observer;
    std::string name;
    std::function<void()> handler;
    bool removed = false;
  };
  Journal& journal_;
  std::vector<std::shared_ptr<Observation>> observations_;
};

class FakeUserDefaults : public platform::NSUserDefaults {
 public:
  FakeUserDefaults(Journal& journal, std::string name) : journal_(journal), name_(std::move(name)) {}
  bool objectForKey(const std::string& key) const override { return values.contains(key); }
  std::optional<std::int64_t> integerForKey(const std::string& key) const override;
  std::string stringForKey(const std::string& key) const override;
  void setBool(bool value, const std::string& key) override;
  void setObject(const std::string& value, const std::string& key) override;
  bool synchronize() override;

  std::map<std::string, std::string> values;
  bool synchronizes = true;

 private:
  Journal& journal_;
  const std::string name_;
};

/// A file system of names. Lines appended to the event files are told to the journal in few words.
class FakeFileManager : public platform::NSFileManager {
 public:
  explicit FakeFileManager(Journal& journal) : journal_(journal) {}
  bool fileExistsAtPath(const std::string& path) const override;
  int whyNotWritableDirectory(const std::string& path) const override;
  std::string abbreviatingWithTilde(const std::string& path) const override;
  void askWhyNotWritableDirectory(const std::string& path, std::function<void(int why)> answer) override {
    asked.emplace_back(path, std::move(answer));
  }
  /// The file systems answer what they were asked up to now.
  void answerAll();
  std::optional<std::string> picturesPath() const override { return pictures; }
  std::optional<std::string> picturesDirectory() override { return pictures; }
  bool appendLine(const std::string& path, const std::string& line, std::int64_t mostBytes) override;

  // What happens elsewhere while the disk is asked.
  std::function<void()> whileLooking;
  std::function<void()> whileWriting;
  std::set<std::string> existing;
  std::map<std::string, int> notWritable;
  std::vector<std::pair<std::string, std::function<void(int why)>>> asked;
  std::optional<std::string> pictures = "/home/ada/Pictures";
  std::map<std::string, std::vector<std::string>> appended;

 private:
  Journal& journal_;
};

class FakeBundle : public platform::NSBundle {
 public:
  using Table = std::map<std::string, std::string>;

  std::string bundleIdentifier() const override { return "com.verrano.quillo.CameraShot"; }
  std::string localizedStringForKey(const std::string& key, const std::string& value = {},
                                    const std::string& table = {}) const override;

  Table translations;  ///< of the main table
  std::map<std::string, Table> otherTables;
};

class FakeLog : public platform::NSLog {
 public:
  explicit FakeLog(Journal& journal) : journal_(journal) {}
  void log(const std::string& line) override { journal_.add("log " + line); }

 private:
  Journal& journal_;
};

/// Bytes with a name. Writing makes the file exist, unless told to fail.
class FakeData : public platform::NSData {
 public:
  FakeData(Journal& journal, FakeFileManager& files, std::string name, bool fails = false)
      : journal_(journal), files_(files), name_(std::move(name)), fails_(fails) {}
  bool writeToFile(const std::string& path, bool atomically) const override;
  const std::string& name() const { return name_; }

 private:
  Journal& journal_;
  FakeFileManager& files_;
  const std::string name_;
  const bool fails_;
};

}  // namespace fakes
