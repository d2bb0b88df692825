#include "apps/vellora/changes/Watcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "apps/vellora/command/CommandCatalog.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/TestError.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;

constexpr const char* typesPath = "/services/data/v50.0/sobjects";
constexpr const char* themesPath = "/services/data/v50.0/theme";
constexpr const char* columnsPath = "/services/data/v50.0/search/layout";
constexpr const char* headlinesPath = "/services/data/v53.0/compactLayouts";

std::string describe(const std::string& name, const std::string& prefix, const std::string& label) {
  return R"({"name":")" + name + R"(","keyPrefix":")" + prefix + R"(","createable":true,"label":")" + label +
         R"(","labelPlural":"x"})";
}

/// A server whose answers the test changes.
class WatcherTest : public testing::Test {
 protected:
  WatcherTest() {
    types(describe("Account", "001", "Account"));
    themes("F00");
    network->answerPrefix(columnsPath, StubNetwork::body("[]"));
    network->answerPrefix(headlinesPath, StubNetwork::body("{}"));
  }

  void types(const std::string& described) const {
    network->answer(typesPath, StubNetwork::body("{\"sobjects\":[" + described + "]}"));
  }

  void themes(const std::string& color) const {
    network->answer(themesPath,
                    StubNetwork::body(R"({"themeItems":[{"name":"Account","icons":[],"colors":[{"color":")" +
                                      color + R"(","context":"primary","theme":"light"}]}]})"));
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const RequiredAPI host{network, std::make_shared<hostkit::MemoryCache>(),
                         std::make_shared<testkit::RecordingLogger>()};
  const Arguments arguments;
  const CommandCatalog catalog{arguments, host};
};

TEST_F(WatcherTest, ARefreshWithoutChangesBringsNone) {
  Watcher watcher(catalog, arguments, {});
  EXPECT_EQ(watcher.begin(), Verdict());
  const auto refreshed = watcher.refresh();
  EXPECT_THAT(refreshed.differences, IsEmpty());
  EXPECT_EQ(refreshed.verdict, Verdict());
  EXPECT_EQ(network->count(typesPath), 2U);
}

TEST_F(WatcherTest, EachRefreshIsComparedWithTheOneBefore) {
  Watcher watcher(catalog, arguments, {});
  ASSERT_EQ(watcher.begin(), Verdict());
  types(describe("Account", "001", "Customer") + "," + describe("Widget", "900", "Widget"));
  EXPECT_THAT(watcher.refresh().differences,
              ElementsAre(Difference{"type", "Account", "changed", {{"label", "Account", "Customer"}}},
                          Difference{"type", "Widget", "added", {}}));
  EXPECT_THAT(watcher.refresh().differences, IsEmpty());
  types(describe("Widget", "900", "Widget"));
  EXPECT_THAT(watcher.refresh().differences, ElementsAre(Difference{"type", "Account", "removed", {}}));
}

TEST_F(WatcherTest, AChangeThatIsNotShownIsToldAsSuch) {
  Watcher watcher(catalog, arguments, {});
  ASSERT_EQ(watcher.begin(), Verdict());
  types(describe("Account", "002", "Account"));
  EXPECT_THAT(watcher.refresh().differences,
              ElementsAre(Difference{"type", "Account", "changed", {{"not shown", {}, {}}}}));
}

TEST_F(WatcherTest, OfNamedTypesLayoutsAreWatchedToo) {
  types(describe("Account", "001", "Account") + "," + describe("Contact", "003", "Contact"));
  Watcher watcher(catalog, arguments, {"Account"});
  ASSERT_EQ(watcher.begin(), Verdict());
  types(describe("Account", "001", "Account") + "," + describe("Contact", "003", "Person"));
  network->answerPrefix(columnsPath, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  EXPECT_THAT(watcher.refresh().differences,
              ElementsAre(Difference{"search layout", "Account", "added", {}}));
}

TEST_F(WatcherTest, AnIdStandsForTheTypeOfItsRecord) {
  Watcher watcher(catalog, arguments, {"001000000000009"});
  ASSERT_EQ(watcher.begin(), Verdict());
  EXPECT_THAT(watcher.names(), ElementsAre("Account"));
}

TEST_F(WatcherTest, ATypeThatIsNotThereYetIsWaitedFor) {
  Watcher watcher(catalog, arguments, {"Widget"});
  ASSERT_EQ(watcher.begin(), Verdict());
  EXPECT_THAT(watcher.names(), ElementsAre("Widget"));
  types(describe("Widget", "900", "Widget"));
  EXPECT_THAT(watcher.refresh().differences, ElementsAre(Difference{"type", "Widget", "added", {}}));
}

TEST_F(WatcherTest, WhatCouldNotBeAskedIsNoChange) {
  network->answerPrefix(columnsPath, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  Watcher watcher(catalog, arguments, {"Account"});
  ASSERT_EQ(watcher.begin(), Verdict());

  network->answer(typesPath, StubNetwork::failure(tests::TestError{"no route"}));
  const auto failed = watcher.refresh();
  EXPECT_THAT(failed.differences, IsEmpty());
  EXPECT_EQ(failed.verdict.exit, ExitCode::requestFailed);

  types(describe("Account", "001", "Account"));
  network->answerPrefix(columnsPath, StubNetwork::failure(tests::TestError{"no route"}));
  const auto withoutLayouts = watcher.refresh();
  EXPECT_THAT(withoutLayouts.differences, IsEmpty());
}

TEST_F(WatcherTest, HeadlinesThatCouldNotBeAskedAreNoChange) {
  network->answerPrefix(headlinesPath,
                        StubNetwork::body(R"({"Account":{"objectType":"Account","layoutFields":[]}})"));
  Watcher watcher(catalog, arguments, {"Account"});
  ASSERT_EQ(watcher.begin(), Verdict());
  ASSERT_EQ(watcher.known().compactLayouts.count("Account"), 1U);
  network->answerPrefix(headlinesPath, StubNetwork::failure(tests::TestError{"no route"}));
  EXPECT_THAT(watcher.refresh().differences, IsEmpty());
}

TEST_F(WatcherTest, WithoutTypesThereIsNothingToWatch) {
  network->answer(typesPath, StubNetwork::failure(tests::TestError{"no route"}));
  Watcher watcher(catalog, arguments, {});
  EXPECT_EQ(watcher.begin().exit, ExitCode::requestFailed);
}

}  // namespace
}  // namespace vellora::command
