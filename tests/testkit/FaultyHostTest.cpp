#include "testkit/FaultyHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/Requests.h"
#include "tests/testkit/TinyCache.h"

namespace vellora::testkit {
namespace {

using CorvaneSDK::LogLevel;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using Lasting = HostFaults::Lasting;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* themeUrl = "/services/data/v50.0/theme";

/// A host on doubles, every call of which is made from here.
class FaultyHostTest : public testing::Test {
 protected:
  FaultyHostTest() { stub->answer(themeUrl, StubNetwork::body("12345678")); }

  /// Sends a request, and tells what came back, call by call: "12345678", "no body", "error".
  std::vector<std::string> answers() {
    auto given = std::make_shared<std::vector<std::string>>();
    host.network()->sendRequest(
        tests::get(themeUrl), [given](const auto& body, const auto& error, const auto&) {
          given->push_back(error ? "error" : body ? std::string(body->view()) : "no body");
        });
    given_ = given;
    return *given;
  }

  static std::string textOf(const std::optional<Data>& data) {
    return data ? std::string(data->view()) : "nothing";
  }

  const Table themes = Table::emptyWithKey("Themes", Table::MaxAge::sevenDays);
  const Query lists = Query::exact(metaEquals({{"kind", "list"}}));
  const CorvaneSDK::CacheEntry list{Data(std::string("rows")), {{"kind", "list"}}, std::nullopt};

  const std::shared_ptr<StubNetwork> stub = std::make_shared<StubNetwork>();
  const std::shared_ptr<TinyCache> cache = std::make_shared<TinyCache>();
  const std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
  FaultyHost host{stub, cache, logger};
  std::shared_ptr<std::vector<std::string>> given_;
};

TEST_F(FaultyHostTest, CountsTheCallsOfAllFacilitiesInOneOrder) {
  const auto table = host.cache()->createTable(themes);
  EXPECT_THAT(answers(), ElementsAre("12345678"));
  EXPECT_TRUE(host.cache()->save(Data(std::string("blob")), "key"));
  EXPECT_TRUE(table->upsert(list));
  EXPECT_EQ(table->fetch(lists), (std::vector<Row>{{list.meta, "0"}}));
  EXPECT_THAT(table->load(lists), ElementsAre(list.data));
  EXPECT_TRUE(table->purge(metaEquals({{"kind", "list"}})));
  EXPECT_EQ(textOf(host.cache()->load("key")), "blob");
  EXPECT_TRUE(host.cache()->remove("key"));
  EXPECT_NE(host.cache()->openTable("Themes"), nullptr);
  host.logger()->log("a line", LogLevel::info);

  std::vector<std::string> calls;
  for (const auto& call : host.calls()) calls.push_back(call.description());
  EXPECT_THAT(calls, ElementsAre("createTable Themes", "GET /services/data/v50.0/theme", "save key",
                                 "tableUpsert Themes kind=list", "tableFetch Themes kind=list",
                                 "tableLoad Themes kind=list", "tablePurge Themes kind=list", "load key",
                                 "remove key", "openTable Themes", "log a line"));
  EXPECT_TRUE(logger->contains("a line"));
  host.clearCalls();
  EXPECT_THAT(host.calls(), IsEmpty());
}

TEST_F(FaultyHostTest, EachRequestFaultGivesItsAnswer) {
  const std::vector<std::pair<HostFault, std::vector<std::string>>> expected = {
      {HostFault::networkError, {"error"}},
      {HostFault::noBody, {"no body"}},
      {HostFault::emptyBody, {""}},
      {HostFault::errorBody, {R"([{"message":"The server cannot answer now.","code":"UNAVAILABLE"}])"}},
      {HostFault::truncatedBody, {"1234"}},
      {HostFault::garbageBody, {std::string("\xff\xfe\0\x80{\xc3\0\x01", 8)}},
      {HostFault::answeredTwice, {"12345678", "12345678"}},
      {HostFault::answeredLate, {}},
      {HostFault::answeredAtOnce, {"error"}},
      {HostFault::neverAnswered, {}},
  };
  EXPECT_EQ(expected.size(), faultsOf(HostCall::Operation::sendRequest).size());
  for (const auto& [fault, texts] : expected) {
    host.clearCalls();
    host.mend();
    host.plan(0, fault);
    EXPECT_EQ(answers(), texts) << describe(fault);
  }
}

TEST_F(FaultyHostTest, ALateAnswerComesWhenTheTestSaysSo) {
  host.plan(0, HostFault::answeredLate);
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_EQ(host.deliverLate(), 1U);
  EXPECT_THAT(*given_, ElementsAre("12345678"));
  EXPECT_EQ(host.deliverLate(), 0U);
}

TEST_F(FaultyHostTest, AWrongAnswerTakesTheTimeOfTheRightOne) {
  stub->answer(themeUrl, StubNetwork::body("12345678").held());
  host.plan(0, HostFault::noBody);
  EXPECT_THAT(answers(), IsEmpty());
  stub->releaseAll();
  EXPECT_THAT(*given_, ElementsAre("no body"));
}

TEST_F(FaultyHostTest, AnAnswerAtOnceDoesNotWaitForTheNetwork) {
  HostFaults::Substitutes substitutes;
  substitutes.answerAtOnce = [](const auto&) { return Data(std::string("known")); };
  FaultyHost knowing(stub, cache, logger, substitutes);
  knowing.plan(0, HostFault::answeredAtOnce);
  std::string given;
  knowing.network()->sendRequest(tests::get(themeUrl),
                                 [&](const auto& body, const auto&, const auto&) { given = body->view(); });
  EXPECT_EQ(given, "known");
  EXPECT_EQ(stub->count(), 0U);
}

TEST_F(FaultyHostTest, WhatIsNeverAnsweredIsKeptUntilItIsDropped) {
  host.plan(0, HostFault::neverAnswered);
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_EQ(given_.use_count(), 2) << "the completion has the other handle";
  host.dropHeld();
  EXPECT_EQ(given_.use_count(), 1);
  EXPECT_THAT(*given_, IsEmpty());
}

TEST_F(FaultyHostTest, ALateAnswerThatIsDroppedNeverComes) {
  host.plan(0, HostFault::answeredLate);
  EXPECT_THAT(answers(), IsEmpty());
  host.dropHeld();
  EXPECT_EQ(host.deliverLate(), 0U);
  EXPECT_EQ(given_.use_count(), 1);
}

TEST_F(FaultyHostTest, EachReadFaultGivesItsBytes) {
  cache->save(Data(std::string("\"blob\"")), "key");
  const std::vector<std::pair<HostFault, std::string>> expected = {
      {HostFault::missing, "nothing"},
      {HostFault::truncated, "\"bl"},
      {HostFault::bitFlipped,
       "\"bl\xef"
       "b\""},
      {HostFault::anothersBytes, "{}"},
      {HostFault::olderForm, R"({"version":0,"value":"blob"})"},
  };
  EXPECT_EQ(expected.size(), faultsOf(HostCall::Operation::load).size());
  for (const auto& [fault, bytes] : expected) {
    host.clearCalls();
    host.mend();
    host.plan(0, fault);
    EXPECT_EQ(textOf(host.cache()->load("key")), bytes) << describe(fault);
    EXPECT_EQ(textOf(host.cache()->load("other")), "nothing") << describe(fault);
  }
}

TEST_F(FaultyHostTest, RowsAreReadWithTheSameFaults) {
  const auto table = host.cache()->createTable(themes);
  table->upsert(list);
  host.clearCalls();
  host.plan(0, HostFault::truncated);
  host.plan(1, HostFault::missing, Lasting::fromThenOn);
  EXPECT_THAT(table->load(lists), ElementsAre(Data(std::string("ro"))));
  EXPECT_THAT(table->load(lists), IsEmpty());
  EXPECT_THAT(table->fetch(lists), IsEmpty());
}

TEST_F(FaultyHostTest, TheTestSuppliesTheBytesOfOtherRecordsAndForms) {
  HostFaults::Substitutes substitutes;
  substitutes.anothersBytes = [](const HostCall& call, const Data& right) {
    return Data(call.description() + " not " + std::string(right.view()));
  };
  substitutes.olderForm = [](const HostCall&, const Data&) { return Data(std::string("old")); };
  FaultyHost knowing(stub, cache, logger, substitutes);
  cache->save(Data(std::string("blob")), "key");
  knowing.plan(0, HostFault::anothersBytes);
  knowing.plan(1, HostFault::olderForm);
  EXPECT_EQ(textOf(knowing.cache()->load("key")), "load key not blob");
  EXPECT_EQ(textOf(knowing.cache()->load("key")), "old");
}

TEST_F(FaultyHostTest, RefusedWritesDoNotReachTheCache) {
  const auto table = host.cache()->createTable(themes);
  cache->save(Data(std::string("blob")), "key");
  host.clearCalls();
  host.plan(0, HostFault::refused, Lasting::fromThenOn);
  EXPECT_FALSE(host.cache()->save(Data(std::string("new")), "key"));
  EXPECT_FALSE(host.cache()->remove("key"));
  EXPECT_FALSE(table->upsert(list));
  EXPECT_EQ(textOf(cache->load("key")), "blob");
  EXPECT_THAT(table->load(lists), IsEmpty());
  host.mend();
  EXPECT_TRUE(table->upsert(list));
  host.plan(0, HostFault::refused, Lasting::fromThenOn);
  EXPECT_FALSE(table->purge(metaEquals({{"kind", "list"}})));
  EXPECT_THAT(table->load(lists), ElementsAre(list.data));
}

TEST_F(FaultyHostTest, ATableThatIsNotCreatedStaysEmptyAndIsCounted) {
  host.plan(0, HostFault::missing);
  host.plan(1, HostFault::refused);
  EXPECT_EQ(host.cache()->openTable("Themes"), nullptr);
  const auto table = host.cache()->createTable(themes);
  EXPECT_FALSE(table->upsert(list));
  EXPECT_THAT(table->load(lists), IsEmpty());
  EXPECT_THAT(table->fetch(lists), IsEmpty());
  EXPECT_FALSE(table->purge(metaEquals({})));
  EXPECT_EQ(cache->openTable("Themes"), nullptr);
  EXPECT_EQ(host.calls().size(), 6U);
}

TEST_F(FaultyHostTest, ALostLineReachesNoLog) {
  host.plan(1, HostFault::lineLost);
  for (const auto* line : {"first", "second", "third"}) host.logger()->log(line, LogLevel::error);
  EXPECT_THAT(logger->texts(LogLevel::error), ElementsAre("first", "third"));
}

TEST_F(FaultyHostTest, AFaultStrikesOnceOrFromThenOn) {
  host.plan(1, HostFault::noBody);
  EXPECT_THAT(answers(), ElementsAre("12345678"));
  EXPECT_THAT(answers(), ElementsAre("no body"));
  EXPECT_THAT(answers(), ElementsAre("12345678"));
  host.plan(4, HostFault::networkError, Lasting::fromThenOn);
  EXPECT_THAT(answers(), ElementsAre("12345678"));
  EXPECT_THAT(answers(), ElementsAre("error"));
  EXPECT_THAT(answers(), ElementsAre("error"));
}

TEST_F(FaultyHostTest, OfTwoFaultsForOneCallTheNewerCounts) {
  host.plan(0, HostFault::networkError, Lasting::fromThenOn);
  host.plan(1, HostFault::noBody);
  EXPECT_THAT(answers(), ElementsAre("error"));
  EXPECT_THAT(answers(), ElementsAre("no body"));
  EXPECT_THAT(answers(), ElementsAre("error"));
}

TEST_F(FaultyHostTest, AFaultThatACallCannotHaveLeavesItAlone) {
  host.plan(0, HostFault::refused, Lasting::fromThenOn);
  EXPECT_THAT(answers(), ElementsAre("12345678"));
}

TEST_F(FaultyHostTest, TellsWhetherSomebodyHoldsOnToIt) {
  EXPECT_EQ(host.handlesOutside(), 0U);
  const auto network = host.network();
  const auto another = host.logger();
  EXPECT_EQ(host.handlesOutside(), 2U);
}

TEST_F(FaultyHostTest, EveryFaultAndEveryCallHasAName) {
  using Operation = HostCall::Operation;
  for (int operation = 0; operation <= static_cast<int>(Operation::log); ++operation) {
    const HostCall call{static_cast<Operation>(operation), "it"};
    EXPECT_NE(call.description(), "unknown it");
    for (const auto fault : faultsOf(call.operation)) EXPECT_NE(describe(fault), "unknown");
  }
}

}  // namespace
}  // namespace vellora::testkit
