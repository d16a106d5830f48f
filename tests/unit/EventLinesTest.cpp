#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fakes/FakePlatform.h"

namespace suite {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kUsage = "/state/usage-events.jsonl";
const std::string kAnalytics = "/state/analytics-events.jsonl";
const std::string kBegin =
    "{\"time\":\"2026-11-21T12:00:00.000Z\",\"tool\":\"a5f597ea-d3f3-4347-bbe6-344e240acc7e\",";

std::string line(const std::string& text) {
  return JsonLine().add("t", text).text();
}

TEST(JsonLine, OfNothingIsAnEmptyObject) {
  EXPECT_EQ(JsonLine().text(), "{}");
}

TEST(JsonLine, EscapesWhatStandsBehindALongCharacter) {
  EXPECT_EQ(JsonLine().add("t", "\U0001F4F7\"").text(), "{\"t\":\"\U0001F4F7\\\"\"}");
}

TEST(JsonLine, KeepsTheOrderOfItsMembers) {
  EXPECT_EQ(JsonLine().add("b", "x").add("a", std::int64_t{-7}).text(), R"({"b":"x","a":-7})");
}

TEST(JsonLine, WritesNothingAsNullAndAnEmptyDictionaryAsOne) {
  EXPECT_EQ(JsonLine().add("d", std::optional<Dictionary>()).text(), R"({"d":null})");
  EXPECT_EQ(JsonLine().add("d", std::optional(Dictionary())).text(), R"({"d":{}})");
}

TEST(JsonLine, WritesEveryKindOfValueInADictionary) {
  const Dictionary values{{"no", false}, {"number", INT64_MIN}, {"text", "a\"b"}, {"yes", true}};
  EXPECT_EQ(JsonLine().add("d", std::optional(values)).text(),
            R"({"d":{"no":false,"number":-9223372036854775808,"text":"a\"b","yes":true}})");
}

TEST(JsonLine, EscapesQuotesBackslashesAndControlCharacters) {
  EXPECT_EQ(line("\"\\/"), R"({"t":"\"\\/"})");
  EXPECT_EQ(line("\n\r\t"), R"({"t":"\n\r\t"})");
  EXPECT_EQ(line(std::string("\0\x01\x1f\x7f", 4)), R"({"t":"\u0000\u0001\u001f\u007f"})");
  EXPECT_EQ(JsonLine().add("na\"me", "").text(), R"({"na\"me":""})");
}

TEST(JsonLine, NeverHoldsALineEnd) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte)
    all += static_cast<char>(byte);
  for (const char each : line(all))
    EXPECT_FALSE(each >= 0 && each < 0x20);
}

TEST(JsonLine, KeepsWellFormedUtf8) {
  for (const std::string text : {"Größe", "写真", "\U0001F4F7", "\u0080", "\u07FF", "\u0800", "\uD7FF",
                                 "\uE000", "\uFFFF", "\U00010000", "\U0010FFFF"})
    EXPECT_EQ(line(text), "{\"t\":\"" + text + "\"}");
}

TEST(JsonLine, ReplacesEveryByteThatIsNoUtf8) {
  const std::string bad = "\uFFFD";
  const std::vector<std::pair<std::string, int>> cases{
      {"\x80", 1},              // a continuation alone
      {"\xC0\xAF", 2},          // an overlong slash
      {"\xE0\x80\xAF", 3},      // the same in three bytes
      {"\xF0\x80\x80\xAF", 4},  // and in four
      {"\xED\xA0\x80", 3},      // a surrogate
      {"\xF4\x90\x80\x80", 4},  // beyond the last character
      {"\xF5\x80\x80\x80", 4},  // no first byte at all
      {"\xFF", 1},
      {"\xC3", 1},  // cut off
      {"\xE2\x82", 2},
      {"\xF0\x9F\x93", 3},
  };
  for (const auto& [text, count] : cases) {
    std::string expected;
    for (int i = 0; i < count; ++i)
      expected += bad;
    EXPECT_EQ(line(text), "{\"t\":\"" + expected + "\"}");
    EXPECT_EQ(line("a" + text + "b"), "{\"t\":\"a" + expected + "b\"}");
  }
}

TEST(EventFile, BeginsEachLineWithTheMomentAndTheTool) {
  fakes::FakePlatform desk;
  desk.suite.cepLog.log("Stop", std::nullopt, std::nullopt);
  desk.loop.advance(std::chrono::milliseconds(61'005));
  desk.suite.amplitude.sendEvent({.data = 1, .toolStartType = 2});
  EXPECT_THAT(desk.files.appended[kUsage],
              ElementsAre(kBegin + "\"event\":\"Stop\",\"prefs\":null,\"details\":null}"));
  EXPECT_THAT(desk.files.appended[kAnalytics],
              ElementsAre("{\"time\":\"2026-11-21T12:01:01.005Z\",\"tool\":\"a5f597ea-d3f3-4347-bbe6-"
                          "344e240acc7e\",\"data\":1,\"toolStartType\":2}"));
}

TEST(EventFile, IsNotWrittenWithUsageEventsSwitchedOff) {
  for (const std::string off : {"false", "0"}) {
    fakes::FakePlatform desk;
    desk.suiteSettings.values["UsageEvents"] = off;
    desk.suite.cepLog.log("Launch", std::nullopt, std::nullopt);
    desk.suite.amplitude.sendEvent({});
    EXPECT_THAT(desk.files.appended, IsEmpty()) << off;
  }
}

TEST(EventFile, IsWrittenWithUsageEventsOnOrNotSet) {
  for (const std::string on : {"", "true", "1"}) {
    fakes::FakePlatform desk;
    if (!on.empty()) desk.suiteSettings.values["UsageEvents"] = on;
    desk.suite.cepLog.log("Launch", std::nullopt, std::nullopt);
    EXPECT_EQ(desk.files.appended[kUsage].size(), 1U) << on;
  }
}

}  // namespace
}  // namespace suite
