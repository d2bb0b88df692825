#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/vellora/DataServices/SObjectsDataServiceFixture.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"

// The operations that tell of each key what became of it.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using tests::TestError;
using TypeAndInstance = SObjectsDataService::TypeAndInstance;

class SObjectsDataServiceEachTest : public SObjectsDataServiceTest {
 protected:
  /// What each id stands for: "Account", "ListView of Contact", "nobody's", or the error.
  std::map<std::string, std::string> eachId(const std::vector<std::string>& ids, Source source) {
    std::map<std::string, std::string> found;
    token = service->eachOfIds(ids, source).sink([&](const KeyResult<TypeAndInstance>& each) {
      found.emplace(each.key,
                    each.value ? text(each.value.value()) : each.value.error().localizedDescription());
    });
    return found;
  }

  static std::string text(const TypeAndInstance& found) {
    if (!found.type) return "nobody's";
    return found.instance ? found.type->name + " of " + found.instance->name : found.type->name;
  }
};

using Found = std::map<std::string, std::string>;

TEST_F(SObjectsDataServiceEachTest, AListViewThatFailsTakesNoOtherIdWithIt) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::failure(TestError{"down"}));
  host.network->answer(queryUrl("00B2"), StubNetwork::body(listViewBody("00B2", "Contact")));
  EXPECT_EQ(eachId({"0011", "00B1", "00B2", "9991"}, Source::cacheFirst),
            (Found{{"0011", "Account"},
                   {"00B1", "The operation could not be completed. (SObjectsDataServiceError.other: down)"},
                   {"00B2", "ListView of Contact"},
                   {"9991", "nobody's"}}));
}

TEST_F(SObjectsDataServiceEachTest, WithoutTheRowOfAllPrefixesTheListTellsWhoseOneIs) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->purge(CorvaneSDK::metaEquals({{"cacheEntryType", "keyPrefixes"}}));
  EXPECT_EQ(eachId({"0011", "0031", "9991"}, Source::cacheFirst),
            (Found{{"0011", "Account"}, {"0031", "Contact"}, {"9991", "nobody's"}}));
}

TEST_F(SObjectsDataServiceEachTest, TheErrorNamesItsRequestAndItsReason) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::failure(TestError{"down"}));
  std::optional<Error> error;
  token = service->eachOfIds({"00B1"}, Source::cacheFirst).sink([&](const auto& each) {
    error = each.value.error();
  });
  const auto* own = error->as<SObjectsDataServiceError>();
  ASSERT_TRUE(own && own->request());
  EXPECT_EQ(own->request()->url, queryUrl("00B1"));
  EXPECT_EQ(own->request()->reason->localizedDescription(), "down");
}

TEST_F(SObjectsDataServiceEachTest, WorksWhereItIsSubscribedTo) {
  cacheList();
  EXPECT_EQ(eachId({"0011"}, Source::cacheFirst), (Found{{"0011", "Account"}}));
  EXPECT_EQ(queues.pending(), 0U);
}

TEST_F(SObjectsDataServiceEachTest, CacheOnlySendsNothing) {
  cacheList();
  EXPECT_EQ(eachId({"0011", "00B1"}, Source::cacheOnly),
            (Found{{"0011", "Account"}, {"00B1", NotCached().localizedDescription()}}));
  EXPECT_EQ(host.network->count(), 1U) << "the list";
}

TEST_F(SObjectsDataServiceEachTest, WithoutKeyPrefixesNobodyKnowsWhoseAnIdIs) {
  EXPECT_EQ(eachId({"0011"}, Source::cacheFirst), (Found{{"0011", NotCached().localizedDescription()}}));
}

TEST_F(SObjectsDataServiceEachTest, ServerFirstAsksAnewWhatAListViewLists) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Contact")));
  static_cast<void>(eachId({"00B1"}, Source::cacheFirst));
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")));
  EXPECT_EQ(eachId({"00B1"}, Source::cacheFirst), (Found{{"00B1", "ListView of Contact"}}));
  EXPECT_EQ(eachId({"00B1"}, Source::serverFirst), (Found{{"00B1", "ListView of Account"}}));
}

TEST_F(SObjectsDataServiceEachTest, NamesWithoutAListShareOneFetchOfIt) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  std::vector<std::string> found;
  token = service->eachOfNames({"Account", "Contact", "Nonesuch"}, Source::cacheFirst)
              .sink([&](const KeyResult<std::optional<SObject>>& each) {
                found.push_back(each.key + (each.value.value() ? " is known" : " is not"));
              });
  EXPECT_EQ(host.network->count(listUrl), 1U);
  host.network->releaseAll();
  EXPECT_THAT(found,
              testing::UnorderedElementsAre("Account is known", "Contact is known", "Nonesuch is not"));
}

TEST_F(SObjectsDataServiceEachTest, ARenewedListCountsForTypesThatHaveRows) {
  cacheList();
  static_cast<void>(names({"Account"}));
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Account","label":"Client","labelPlural":"Clients","createable":true}]})"));
  token = service->renewedSObjects().sink([](const auto&) {});
  EXPECT_EQ(names({"Account"}).values.at(0).at("Account")->label, "Client");
}

TEST_F(SObjectsDataServiceEachTest, AListThatCameSinceTheCallerLookedIsNotFetchedAgain) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  const auto late = service->currentSObjects();
  token = service->renewedSObjects().sink([](const auto&) {});
  ASSERT_EQ(host.network->count(listUrl), 1U);
  SObjectsDataService::SObjects list;
  token = late.sink([&](const SObjectsDataService::SObjects& found) { list = found; });
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->firstNamed("Account"));
  EXPECT_EQ(host.network->count(listUrl), 1U);
}

TEST_F(SObjectsDataServiceEachTest, ListsAllTypesFromTheCacheElseFromTheServer) {
  std::vector<std::string> labels;
  const auto note = [&](const SObjectsDataService::SObjects& list) {
    for (const auto& type : list->records()) labels.push_back(type.label);
  };
  std::optional<Error> error;
  token = service->allSObjects(Source::cacheOnly).sink(note, [&](const Completion& end) { error = end; });
  EXPECT_TRUE(error && error->as<NotCached>());
  host.network->answer(listUrl, StubNetwork::body(listBody));
  token = service->allSObjects(Source::cacheFirst).sink(note);
  EXPECT_EQ(labels.size(), 4U);
  token = service->allSObjects(Source::cacheFirst).sink(note);
  EXPECT_EQ(host.network->count(listUrl), 1U);
}

TEST_F(SObjectsDataServiceEachTest, KnowsSinceWhenTheListIsThere) {
  EXPECT_EQ(service->listState(), ListState());
  cacheList();
  EXPECT_EQ(service->listState(), (ListState{CacheState::valid, clock.date()}));
  const auto fetched = clock.date();
  clock.advance(301);
  EXPECT_EQ(service->listState(), (ListState{CacheState::expired, fetched}));
}

TEST_F(SObjectsDataServiceEachTest, ForgettingLeavesNoRowAndNoMoment) {
  cacheList();
  static_cast<void>(ids({"0011"}));
  service->forget();
  EXPECT_THAT(host.cache->openTable(tableKey)->fetch(CorvaneSDK::Query::oldest({})), IsEmpty());
  EXPECT_FALSE(host.cache->load("ops.sobject.fetch.timestamp"));
}

/// Calls `onLine` for each line.
class ListeningLogger final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    if (onLine) onLine(message);
  }

  std::function<void(std::string_view line)> onLine;
};

/// A newer list comes while a lookup has the older one in its hands.
class NewerListTest : public SObjectsDataServiceEachTest {
 protected:
  /// A service with the usual list in the cache. When it has logged `line`, it fetches a list of `type`
  /// alone.
  std::shared_ptr<SObjectsDataService> renewingAt(std::string_view line, const std::string& type) {
    cacheList();
    host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[)" + type + "]}"));
    const auto logger = std::make_shared<ListeningLogger>();
    auto renewing =
        std::make_shared<SObjectsDataService>(RequiredAPI(host.network, host.cache, logger), 3600);
    logger->onLine = [this, line, &service = *renewing](std::string_view logged) {
      if (isRenewed || logged != line) return;
      isRenewed = true;
      renewal = service.renewedSObjects().sink([](const auto&) {});
    };
    return renewing;
  }

  bool isRenewed = false;
  AnyCancellable renewal;
};

TEST_F(NewerListTest, ARowOfTheOlderListDoesNotOutliveIt) {
  const auto renewing = renewingAt(
      "cachedSObjects()", R"({"name":"Account","label":"Client","labelPlural":"Clients","createable":true})");
  std::vector<std::string> labels;
  for (int i = 0; i < 2; ++i) {
    token = renewing->eachOfNames({"Account"}, Source::cacheFirst).sink([&](const auto& each) {
      labels.push_back(each.value.value()->label);
    });
  }
  EXPECT_TRUE(isRenewed);
  EXPECT_EQ(labels.size(), 2U);
  EXPECT_EQ(labels.back(), "Client");
}

TEST_F(NewerListTest, APrefixOfTheOlderListDoesNotOutliveIt) {
  const auto renewing =
      renewingAt("cachedKeyPrefixes()",
                 R"({"name":"Client","keyPrefix":"001","label":"C","labelPlural":"Cs","createable":true})");
  std::string found;
  for (int i = 0; i < 2; ++i) {
    token = renewing->eachOfIds({"0011"}, Source::cacheFirst).sink([&](const auto& each) {
      found = text(each.value.value());
    });
  }
  EXPECT_TRUE(isRenewed);
  EXPECT_EQ(found, "Client");
}

TEST_F(NewerListTest, ARowThatTheFacadesLookupTookFromTheOlderListStays) {
  const auto renewing =
      renewingAt("cachedKeyPrefixes()",
                 R"({"name":"Client","keyPrefix":"001","label":"C","labelPlural":"Cs","createable":true})");
  Received<ById> received;
  watch(renewing->sObjectsForIds({"0011"}), received);
  queues.runAll();
  EXPECT_TRUE(isRenewed);
  const auto rows = host.cache->openTable(tableKey)->load(CorvaneSDK::Query::exact(
      CorvaneSDK::metaEquals({{"cacheEntryType", "keyPrefix"}, {"keyPrefix", "001"}})));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.front().view(), "\"Account\"");
}

TEST_F(SObjectsDataServiceEachTest, ACacheThatKeepsNothingCostsOneFetchForAllNames) {
  host.cache->fail(testkit::FailingCache::Operation::tableUpsert);
  host.network->answer(listUrl, StubNetwork::body(listBody));
  std::size_t found = 0;
  token = service->eachOfNames({"Account", "Contact", "Nonesuch"}, Source::cacheFirst)
              .sink([&](const auto& each) { found += each.value.value() ? 1U : 0U; });
  EXPECT_EQ(found, 2U);
  EXPECT_EQ(host.network->count(listUrl), 1U);
}

TEST_F(SObjectsDataServiceEachTest, AListThatCannotBeFetchedIsAskedForOnce) {
  host.network->answer(listUrl, StubNetwork::failure(TestError{"down"}));
  std::size_t failed = 0;
  token = service->eachOfNames({"Account", "Contact", "Nonesuch"}, Source::cacheFirst)
              .sink([&](const auto& each) { failed += each.value ? 0U : 1U; });
  EXPECT_EQ(failed, 3U);
  EXPECT_EQ(host.network->count(listUrl), 1U);
}

TEST_F(SObjectsDataServiceEachTest, AListThatWasJustLoadedServesWhereTheCacheHasNone) {
  std::vector<std::string> found;
  SObject account;
  account.name = "Account";
  const auto loaded = std::make_shared<const NamedList<SObject>>(std::vector<SObject>{account});
  token = service->eachOfNames({"Account", "Nonesuch"}, Source::cacheFirst, {}, loaded)
              .sink([&](const auto& each) { found.push_back(each.key + (each.value.value() ? "" : "?")); });
  EXPECT_THAT(found, ElementsAre("Account", "Nonesuch?"));
  bool isTheSame = false;
  token = service->allSObjects(Source::cacheFirst, {}, loaded).sink([&](const auto& list) {
    isTheSame = list == loaded;
  });
  EXPECT_TRUE(isTheSame);
  EXPECT_EQ(host.network->count(), 0U);
}

TEST_F(SObjectsDataServiceEachTest, NobodyIsToldThatAnIdIsUnknownWhereNoPrefixCouldBeRead) {
  cacheList();
  const auto logger = std::make_shared<ListeningLogger>();
  const auto other =
      std::make_shared<SObjectsDataService>(RequiredAPI(host.network, host.cache, logger), 3600);
  // The cache cannot be read while the prefix is looked for, and can be again right afterwards.
  host.cache->fail(testkit::FailingCache::Operation::tableLoad);
  std::string text;
  token = other->eachOfIds({"0011"}, Source::cacheFirst).sink([&](const auto& each) {
    host.cache->mend(testkit::FailingCache::Operation::tableLoad);
    text = each.value ? SObjectsDataServiceEachTest::text(each.value.value())
                      : each.value.error().localizedDescription();
  });
  EXPECT_EQ(text, NotCached().localizedDescription());
}

TEST_F(SObjectsDataServiceEachTest, OfTwoListsThatComeAtTheSameMomentTheLaterOneStaysWhole) {
  const auto listOf = [](const std::string& prefix) {
    return StubNetwork::body(R"({"sobjects":[{"name":"Account","keyPrefix":")" + prefix +
                             R"(","label":"A","labelPlural":"As","createable":true}]})")
        .held();
  };
  const auto logger = std::make_shared<ListeningLogger>();
  const auto other =
      std::make_shared<SObjectsDataService>(RequiredAPI(host.network, host.cache, logger), 3600);
  host.network->answer(listUrl, listOf("001"));
  const auto first = other->sObjectsFromNowOn().sink([](const auto&) {});
  host.network->answer(listUrl, listOf("002"));
  const auto second = other->sObjectsFromNowOn().sink([](const auto&) {});
  logger->onLine = [&](std::string_view line) {
    if (line == "save(_:)") host.network->releaseOne();  // the second, while the first is being saved
  };
  host.network->releaseOne();
  std::map<std::string, std::string> found;
  token = other->eachOfIds({"0011", "0021"}, Source::cacheFirst).sink([&](const auto& each) {
    found.emplace(each.key, text(each.value.value()));
  });
  EXPECT_EQ(found, (Found{{"0011", "nobody's"}, {"0021", "Account"}}));
}

TEST_F(SObjectsDataServiceEachTest, AServiceThatIsReleasedWhileAListIsSavedDoesNotSaveTheNext) {
  const auto logger = std::make_shared<ListeningLogger>();
  auto other = std::make_shared<SObjectsDataService>(RequiredAPI(host.network, host.cache, logger), 3600);
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  const auto first = other->sObjectsFromNowOn().sink([](const auto&) {});
  const auto second = other->sObjectsFromNowOn().sink([](const auto&) {});
  std::size_t saved = 0;
  logger->onLine = [&](std::string_view line) {
    if (line != "save(_:)") return;
    ++saved;
    host.network->releaseOne();  // the second has come, and waits for the first
    other.reset();
  };
  host.network->releaseOne();
  EXPECT_EQ(saved, 1U);
  EXPECT_EQ(host.network->held(), 0U);
}

TEST_F(SObjectsDataServiceEachTest, RowsOfAnOlderListThanTheFacadesDoNotCount) {
  cacheList();
  const auto labelOfAccount = [this] {
    std::string label;
    token = service->eachOfNames({"Account"}, Source::cacheFirst).sink([&](const auto& each) {
      label = each.value.value()->label;
    });
    return label;
  };
  static_cast<void>(labelOfAccount());  // has a row from now on
  clock.advance(301);
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Account","label":"Client","labelPlural":"Clients","createable":true}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();
  EXPECT_EQ(labelOfAccount(), "Client");
}

TEST_F(SObjectsDataServiceEachTest, WhatWasLookedUpHasRowsUntilTheFacadeFetchesTheListAnew) {
  cacheList();
  const auto changesMade = [this] {
    host.cache->clearCalls();
    token = service->eachOfIds({"0011"}, Source::cacheFirst).sink([](const auto&) {});
    std::string changes;
    for (const auto& call : host.cache->callTexts()) {
      if (call.starts_with("tablePurge")) changes += 'p';
      if (call.starts_with("tableUpsert")) changes += 'w';
    }
    return changes;
  };
  EXPECT_EQ(changesMade(), "ppww") << "of the type and of the prefix";
  EXPECT_EQ(changesMade(), "");
  clock.advance(301);
  host.network->answer(listUrl, StubNetwork::body(listBody));
  service->loadSObjects(nullptr);
  queues.runAll();
  EXPECT_EQ(changesMade(), "ppww");
  EXPECT_EQ(changesMade(), "");
}

TEST_F(SObjectsDataServiceEachTest, RowsGoBeforeANewListIsThereAndBehindIt) {
  cacheList();
  host.network->answer(listUrl, StubNetwork::body(listBody));
  token = service->renewedSObjects().sink([](const auto&) {});
  std::string order;
  for (const auto& call : host.cache->callTexts()) {
    if (call.starts_with("tablePurge")) order += 'p';
    if (call.starts_with("tableUpsert")) order += 'w';
  }
  EXPECT_EQ(order, "ppwwpp") << "a process that ends between two of them leaves no row older than the list";
}

}  // namespace
}  // namespace vellora
