#include "suite/QuilloCommon/EventFile.h"

#include <cstdio>
#include <utility>

namespace suite {
namespace {

/// Some thousand runs; a file of that size and the one before it are kept.
constexpr std::int64_t kMostBytes = 1'000'000;

/// As of RFC 3339: 2026-11-21T12:00:00.123Z.
std::string utcText(platform::NSDate::TimePoint moment) {
  using namespace std::chrono;
  const auto day = floor<days>(moment);
  const year_month_day date(day);
  const hh_mm_ss time(floor<milliseconds>(moment - day));
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text;
}

}  // namespace

EventFile::EventFile(platform::NSFileManager& files, platform::NSDate& dates,
                     platform::NSUserDefaults& suiteSettings, std::string path, std::string toolIdentifier)
    : files_(files),
      dates_(dates),
      suiteSettings_(suiteSettings),
      path_(std::move(path)),
      toolIdentifier_(std::move(toolIdentifier)) {}

JsonLine EventFile::begin() const {
  return JsonLine().add("time", utcText(dates_.date())).add("tool", toolIdentifier_);
}

void EventFile::append(const JsonLine& line) {
  const bool isSwitchedOff = suiteSettings_.integerForKey("UsageEvents") == 0;
  if (!isSwitchedOff) files_.appendLine(path_, line.text(), kMostBytes);
}

}  // namespace suite
