#include "apps/vellora/explore/TypeHistory.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::explore {
namespace {

using Words = std::map<std::string, std::string>;

std::string listOf(const std::string& entries) {
  return R"({"sobjects":[)" + entries + "]}";
}

std::string entry(const std::string& name, const std::string& label) {
  return R"({"name":")" + name + R"(","label":")" + label + R"(","labelPlural":"x","createable":true})";
}

class TypeHistoryTest : public testing::Test {
 protected:
  /// What an app's start leaves in the cache: the server's list of that moment.
  void start(const std::string& list) const {
    using testkit::StubNetwork;
    network->answer("/services/data/v50.0/sobjects", StubNetwork::body(list));
    network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems":[]})"));
    const auto host = std::make_shared<hostkit::StandardPlatformAPI>(
        network, cache, std::make_shared<testkit::RecordingLogger>());
    const Catalog catalog(host, {.cacheTimeout = std::chrono::seconds(0), .loadsAtOnce = false});
    ASSERT_EQ(catalog.refresh().get().end, End::answered);
  }

  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
};

TEST_F(TypeHistoryTest, TellsWhatAStartHasChangedSinceTheListBefore) {
  start(listOf(entry("Account", "Account") + "," + entry("Note", "Note") + "," + entry("Task", "Task")));
  TypeHistory history(cache);
  const auto before = history.fetchedNow();
  ASSERT_TRUE(before);
  history.noteStart();
  EXPECT_EQ(history.latest().number, 0) << "nothing was fetched";
  start(listOf(entry("Account", "Customer") + "," + entry("Note", "Note") + "," + entry("Visit", "Visit")));
  history.noteStart();
  const auto changes = history.latest();
  EXPECT_EQ(changes.number, 1);
  EXPECT_EQ(changes.by, "start");
  EXPECT_EQ(changes.since, before->secondsSince1970());
  EXPECT_EQ(changes.types, (Words{{"Account", "changed"}, {"Task", "removed"}, {"Visit", "added"}}));
  history.noteStart();
  EXPECT_EQ(history.latest().number, 1) << "nothing was fetched since";
}

TEST_F(TypeHistoryTest, HasNothingToCompareTheFirstListWith) {
  TypeHistory history(cache);
  start(listOf(entry("Account", "Account")));
  history.noteStart();
  EXPECT_EQ(history.latest().number, 0);
  start(listOf(""));
  history.noteStart();
  EXPECT_EQ(history.latest().types, (Words{{"Account", "removed"}}));
}

TEST_F(TypeHistoryTest, TakesOverWhatARefreshHasFound) {
  start(listOf(entry("Account", "Account")));
  TypeHistory history(cache);
  const auto before = history.fetchedNow().value();
  start(listOf(entry("Account", "Account")));
  history.noteRefresh({{"Account", TypeChange::changed}}, before);
  EXPECT_EQ(history.latest().by, "refresh");
  EXPECT_EQ(history.latest().since, before.secondsSince1970());
  EXPECT_EQ(history.latest().types, (Words{{"Account", "changed"}}));
  history.noteStart();
  EXPECT_EQ(history.latest().number, 1) << "what the refresh has fetched is no news any more";
}

}  // namespace
}  // namespace vellora::explore
