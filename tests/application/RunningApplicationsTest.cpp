// Of several processes exactly one is the first, with and without a bus.
#include <algorithm>
#include <csignal>
#include <iterator>

#include "tests/application/ProbeFixture.h"

namespace application_tests {

namespace {

using RunningApplications = ProbeTest;

TEST_F(RunningApplications, OfTwelveStartedAtOnceExactlyOneIsTheFirst) {
  bus();
  std::vector<std::unique_ptr<ProcessUnderTest>> probes;
  std::generate_n(std::back_inserter(probes), 12, [this] { return start("count"); });
  std::vector<std::string> counts;
  std::generate_n(std::back_inserter(counts), 12, [this] { return journal_.waitFor("count "); });
  EXPECT_EQ(std::count(counts.begin(), counts.end(), "count 1"), 1) << testing::PrintToString(counts);
}

TEST_F(RunningApplications, AKilledProcessCountsNoMore) {
  bus();
  const auto first = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 1");
  first->signal(SIGKILL);
  ASSERT_EQ(first->wait(), 128 + SIGKILL);
  const auto second = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 1");
}

TEST_F(RunningApplications, WithoutABusTheLockFileCounts) {
  const auto first = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 1");
  const auto second = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 2");
  first->signal(SIGKILL);
  ASSERT_EQ(first->wait(), 128 + SIGKILL);
  const auto third = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 1");
}

TEST_F(RunningApplications, WithoutABusAndARuntimeFolderAPrivateTemporaryOneServes) {
  environment_.erase("XDG_RUNTIME_DIR");
  environment_["TMPDIR"] = folder_.path().string();
  const auto first = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 1");
  const auto second = start("count");
  EXPECT_EQ(journal_.waitFor("count "), "count 2");
}

}  // namespace

}  // namespace application_tests
