// Texts, times and log lines.
#include <cstdlib>
#include <fcntl.h>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/application/Bundle.h"
#include "platform/linux/application/Date.h"
#include "platform/linux/application/Log.h"
#include "platform/linux/application/MessageCatalog.h"
#include "platform/linux/base/FileDescriptor.h"
#include "tests/application/CatalogFile.h"
#include "tests/application/ProbeFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace application_tests {

namespace {

using platform_linux::Bundle;
using platform_linux::MessageCatalog;
using testing::ElementsAre;

class Texts : public testing::Test {
 protected:
  std::string text(const std::vector<std::string>& languages, const std::string& key) {
    return Bundle("id", "main", folder_.path(), languages).localizedStringForKey(key);
  }

  test_support::TemporaryFolder folder_;
};

TEST_F(Texts, ComeFromTheFirstLanguageThatHasThem) {
  installCatalog(folder_.path(), "de", "main", {{"", "header"}, {"Camera shot", "Aufnahme"}});
  installCatalog(folder_.path(), "fr", "main", {{"Camera shot", "Photo"}, {"Open", "Ouvrir"}});
  EXPECT_EQ(text({"de_AT", "de", "fr"}, "Camera shot"), "Aufnahme");
  EXPECT_EQ(text({"de_AT", "de", "fr"}, "Open"), "Ouvrir");
  EXPECT_EQ(text({"de_AT", "de", "fr"}, "Done"), "Done");
}

TEST_F(Texts, MayBeOthersInAContext) {
  installCatalog(folder_.path(), "de", "main",
                 {{"", "header"}, {"Open", "Öffne"}, {"Shine", "Scheine"}, {"at night\x04Shine", "Leuchte"}});
  installCatalog(folder_.path(), "fr", "main", {{"Open", "Ouvre"}, {"Shine", "Brille"}});
  const auto atNight = [&](const std::vector<std::string>& languages, const std::string& key) {
    return Bundle("id", "main", folder_.path(), languages, "at night").localizedStringForKey(key);
  };
  EXPECT_EQ(atNight({"de"}, "Shine"), "Leuchte");
  EXPECT_EQ(atNight({"de"}, "Open"), "Öffne") << "most texts are the same everywhere";
  EXPECT_EQ(atNight({"fr", "de"}, "Shine"), "Brille") << "the language comes first";
  EXPECT_EQ(text({"de"}, "Shine"), "Scheine");
}

std::vector<std::string> languagesFor(const std::string& language, const std::string& locale) {
  ::setenv("LANGUAGE", language.c_str(), 1);
  ::setenv("LC_ALL", locale.c_str(), 1);
  return platform_linux::userLanguages();
}

TEST(UserLanguages, EndWithEnglish) {
  EXPECT_THAT(languagesFor("", "C"), ElementsAre("en"));
  EXPECT_THAT(languagesFor("", "C.UTF-8"), testing::Each("en"));
  EXPECT_EQ(languagesFor("de_AT:fr", "de_AT.UTF-8").front(), "de_AT");
  EXPECT_EQ(languagesFor("de_AT:fr", "de_AT.UTF-8").back(), "en");
  EXPECT_THAT(languagesFor("en_GB:de", "en_GB.UTF-8"), testing::Not(testing::Contains("de")));
  EXPECT_THAT(languagesFor("en_GB:de", "en_GB.UTF-8"), testing::Contains("en"));
}

TEST(MessageCatalog, FindsEveryTextInEitherByteOrder) {
  for (const bool swapped : {false, true}) {
    const auto catalog =
        MessageCatalog::parse(makeCatalog({{"a", "1"}, {"b", "2"}, {"c", ""}, {"d", "4"}}, swapped));
    ASSERT_TRUE(catalog);
    EXPECT_EQ(catalog->translation("a"), "1");
    EXPECT_EQ(catalog->translation("b"), "2");
    EXPECT_EQ(catalog->translation("c"), std::nullopt);
    EXPECT_EQ(catalog->translation("d"), "4");
    EXPECT_EQ(catalog->translation("e"), std::nullopt);
  }
}

TEST(MessageCatalog, BrokenBytesAreNoCatalog) {
  const std::string whole = makeCatalog({{"a", "1"}, {"b", "2"}});
  EXPECT_FALSE(MessageCatalog::parse(""));
  EXPECT_FALSE(MessageCatalog::parse(std::string(100, 'x')));
  // The last text's end mark is no part of it.
  for (std::size_t size = 0; size + 1 < whole.size(); ++size)
    EXPECT_FALSE(MessageCatalog::parse(whole.substr(0, size))) << size;
  // Any byte of the header and the tables may be wrong without a read beyond the end.
  for (std::size_t at = 4; at < 28 + 32; ++at) {
    std::string broken = whole;
    broken[at] = '\xff';
    const auto catalog = MessageCatalog::parse(broken);
    EXPECT_LE((catalog ? catalog->translation("b").value_or("") : "").size(), broken.size());
  }
}

TEST(Date, LaysOutTheLocalTime) {
  const platform_linux::Date dates;
  const auto moment = platform::NSDate::TimePoint(std::chrono::seconds(1795262400));
  ::setenv("TZ", "UTC0", 1);
  EXPECT_EQ(dates.localText(moment, "%Y-%m-%d %H.%M.%S"), "2026-11-21 12.00.00");
  ::setenv("TZ", "XYZ-3", 1);
  EXPECT_EQ(dates.localText(moment, "%Y-%m-%d %H.%M.%S"), "2026-11-21 15.00.00");
  EXPECT_EQ(dates.localText(moment, ""), "");
  EXPECT_EQ(dates.localText(moment, std::string(5000, '-')), std::string(5000, '-'));
}

TEST(Log, WritesTheLineAsItStands) {
  const test_support::TemporaryFolder folder;
  const std::string path = folder.path() / "errors";
  const platform_linux::FileDescriptor before(::dup(STDERR_FILENO));
  {
    const platform_linux::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ::dup2(file.get(), STDERR_FILENO);
  }
  platform_linux::Log().log("100 % of the line: ünïcode");
  ::dup2(before.get(), STDERR_FILENO);
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  EXPECT_EQ(line, "100 % of the line: ünïcode");
}

}  // namespace

}  // namespace application_tests
