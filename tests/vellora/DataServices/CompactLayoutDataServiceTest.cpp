#include "vellora/DataServices/CompactLayoutDataService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "testkit/ForwardingCache.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestClock.h"
#include "tests/vellora/DataServices/CompactLayoutFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using tests::layoutJson;
using tests::layoutsUrl;
using tests::namesJson;
using tests::namesUrl;

const std::string contact = layoutJson("Contact", {{"Name"}});

const std::string miss = "info: load(key:): No data from cache";
const std::string operation = "getCompactLayoutFromNetwork(_:completion:): ";
const std::string getting =
    "info: " + operation + "Getting qualified API names for reference type fields contained in the ";
const std::string updated =
    "info: " + operation + "Updated qualified API names for reference type fields contained in the ";

StubNetwork::Answer layouts(const std::string& members) {
  return StubNetwork::body(std::string("{").append(members).append("}"));
}

class CompactLayoutDataServiceTest : public tests::CompactLayoutFixture {};

TEST_F(CompactLayoutDataServiceTest, ConstructionTouchesNothing) {
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(recordedCache->callTexts(), IsEmpty());
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(CompactLayoutDataServiceTest, NoNamesAreAnsweredAtOnceWithoutARequest) {
  lookUp({});
  EXPECT_THAT(answers, ElementsAre(""));
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(CompactLayoutDataServiceTest, YoungCachedLayoutsAreAnsweredInTheOrderOfTheNamesWithoutARequest) {
  cacheLayout("Account", 10);
  cacheLayout("Contact", 20);
  lookUp({"Contact", "Account", "Contact"});
  EXPECT_THAT(answers, ElementsAre("Contact[] Account[] Contact[]"));
  EXPECT_EQ(answerThread, std::this_thread::get_id());
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(recordedCache->callTexts(),
              ElementsAre("load OPS_CompactLayout_Contact", "load OPS_CompactLayout_Account",
                          "load OPS_CompactLayout_Contact"));
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(CompactLayoutDataServiceTest,
       AReferenceFieldIsRewrittenToThePathOfTheNameFieldInTheAnswerAndInTheCache) {
  serveAccount();
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
  EXPECT_THAT(network->urls(), ElementsAre(layoutsUrl("Account"), namesUrl("'User'")));
  EXPECT_EQ(blob("Account"),
            R"({"compactLayout":{"objectType":"Account","layoutFields":[)"
            R"({"apiName":"Name","fieldType":"string","label":"Line","htmlFormatted":false},)"
            R"({"apiName":"Owner.Name","fieldType":"reference","label":"Line","referenceTo":"User",)"
            R"("relationshipName":"Owner","htmlFormatted":false}]},"downloadedTime":721692800})");
  EXPECT_THAT(log(), ElementsAre(miss, getting + "Account compactLayout(s) - 'User'",
                                 updated + R"(Account compactLayout(s) - ["User": "Name"])"));
}

TEST_F(CompactLayoutDataServiceTest, WhatEachLayoutDownloadsIsCachedBeforeItIsYielded) {
  serveAccount();
  bool wasCached = false;
  const auto names = std::make_shared<const std::vector<std::string>>(1, "Account");
  const auto token = service->eachLayout(names, Source::cacheFirst).sink([&](const auto& found) {
    EXPECT_TRUE(found.value);
    wasCached = isCached("Account");
  });
  EXPECT_TRUE(wasCached);
}

TEST_F(CompactLayoutDataServiceTest, TheCallerIsAnsweredBeforeAnythingIsCached) {
  network->answer(layoutsUrl("Account,Contact"), layouts(account + "," + contact));
  network->answer(namesUrl("'User'"), StubNetwork::body(userName));
  std::vector<std::string> callsAtAnswer;
  service->compactLayoutForApiName(
      {"Account", "Contact"}, [&](const auto&, const auto&) { callsAtAnswer = recordedCache->callTexts(); });
  EXPECT_THAT(callsAtAnswer, ElementsAre("load OPS_CompactLayout_Account", "load OPS_CompactLayout_Contact"));
  EXPECT_THAT(recordedCache->callTexts(),
              ElementsAre("load OPS_CompactLayout_Account", "load OPS_CompactLayout_Contact",
                          "save OPS_CompactLayout_Account", "save OPS_CompactLayout_Contact"));
}

TEST_F(CompactLayoutDataServiceTest, ALayoutsAgeCountsFromTheArrivalOfItsNames) {
  network->answer(layoutsUrl("Contact"), layouts(layoutJson("Contact", {})).held());
  network->answer(namesUrl("''"), StubNetwork::body(namesJson({})).held());
  lookUp({"Contact"});
  clock.advance(30);
  ASSERT_TRUE(network->releaseOne());
  clock.advance(0.5);
  ASSERT_TRUE(network->releaseOne());
  EXPECT_EQ(blob("Contact"),
            R"({"compactLayout":{"objectType":"Contact","layoutFields":[]},"downloadedTime":721692830.5})");
}

TEST_F(CompactLayoutDataServiceTest, WhatWasCachedIsAnsweredRewrittenAndWithoutARequest) {
  serveAccount();
  lookUp({"Account"});
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]", "Account[Name,Owner.Name]"));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(CompactLayoutDataServiceTest, BothRequestsArePlainGetsWithATimeoutOfAMinute) {
  serveAccount();
  lookUp({"Account"});
  ASSERT_EQ(network->count(), 2U);
  for (const auto& sent : network->requests()) {
    const auto& request = sent.request.base();
    EXPECT_EQ(request.httpMethod, "GET");
    EXPECT_EQ(request.timeoutInterval, 60.0);
    EXPECT_EQ(request.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
    EXPECT_TRUE(request.headers.empty());
    EXPECT_EQ(request.body, std::nullopt);
  }
}

TEST_F(CompactLayoutDataServiceTest, WithoutReferenceFieldsTheNameQueryIsSentAllTheSame) {
  network->answer(layoutsUrl("Contact"), layouts(contact));
  network->answer(namesUrl("''"), StubNetwork::body(namesJson({})));
  lookUp({"Contact"});
  EXPECT_THAT(answers, ElementsAre("Contact[Name]"));
  EXPECT_THAT(network->urls(), ElementsAre(layoutsUrl("Contact"), namesUrl("''")));
  EXPECT_TRUE(isCached("Contact"));
  EXPECT_THAT(log(), ElementsAre(miss, getting + "Contact compactLayout(s) - ''",
                                 updated + "Contact compactLayout(s) - [:]"));
}

TEST_F(CompactLayoutDataServiceTest, AnAnswerWithoutLayoutsIsAnsweredEmptyAfterItsNameQuery) {
  network->answer(layoutsUrl("Nothing"), layouts(""));
  network->answer(namesUrl("''"), StubNetwork::body(namesJson({})));
  lookUp({"Nothing"});
  EXPECT_THAT(answers, ElementsAre(""));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(CompactLayoutDataServiceTest, OnlyAnExpiredLayoutIsRequestedAndComesBeforeTheYoungOnes) {
  cacheLayout("Contact", 10);
  cacheLayout("Account", timeout + 1);
  cacheLayout("User", 20);
  serveAccount();
  lookUp({"Contact", "Account", "User"});
  EXPECT_EQ(network->count(layoutsUrl("Account")), 1U);
  EXPECT_EQ(network->count(), 2U);
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name] Contact[] User[]"));
}

TEST_F(CompactLayoutDataServiceTest, AnAgeOfExactlyTheTimeoutOrADateInTheFutureIsNotExpired) {
  cacheLayout("Account", timeout);
  cacheLayout("Contact", -10 * timeout);
  lookUp({"Account", "Contact"});
  EXPECT_THAT(answers, ElementsAre("Account[] Contact[]"));
  EXPECT_EQ(network->count(), 0U);
}

/// Takes a second to find a blob.
class SlowCache final : public testkit::ForwardingCache {
 public:
  SlowCache(std::shared_ptr<Cache> next, tests::TestClock& clock)
      : ForwardingCache(std::move(next)), clock_(clock) {}
  std::optional<Data> load(const std::string& key) override {
    clock_.advance(1);
    return ForwardingCache::load(key);
  }

 private:
  tests::TestClock& clock_;
};

TEST_F(CompactLayoutDataServiceTest, TheAgeOfEachCachedLayoutIsTakenWhenItHasBeenLoaded) {
  cacheLayout("Contact", timeout - 1);
  cacheLayout("Account", timeout - 1);
  serveAccount();
  service = std::make_shared<CompactLayoutDataService>(
      RequiredAPI{network, std::make_shared<SlowCache>(cache, clock), logger}, timeout);
  lookUp({"Contact", "Account"});
  EXPECT_EQ(network->urls().at(0), layoutsUrl("Account")) << "only Account is a second too old";
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name] Contact[]"));
}

TEST_F(CompactLayoutDataServiceTest, ANegativeTimeoutExpiresEverythingAndOneThatIsNoNumberNothing) {
  cacheLayout("Account", 0);
  service = makeService(std::numeric_limits<double>::quiet_NaN());
  lookUp({"Account"});
  EXPECT_EQ(network->count(), 0U);
  service = makeService(-1);
  network->answer(layoutsUrl("Account"), StubNetwork::nothing());
  lookUp({"Account"});
  EXPECT_EQ(network->count(), 1U);
  EXPECT_THAT(answers, ElementsAre("Account[]", "Account[] + network"));
}

TEST_F(CompactLayoutDataServiceTest, ABlobOfAnotherTypeIsCountedButDoesNotStandForItsName) {
  // The blob of Account holds a layout of Contact. As many layouts as names are a complete answer.
  cache->save(json::encode(CompactLayoutCacheEntry{{{}, "Contact"}, clock.date()}).value(),
              "OPS_CompactLayout_Account");
  lookUp({"Account"});
  EXPECT_EQ(network->count(), 0U);
  network->answer(layoutsUrl("Account,User"), StubNetwork::nothing());
  lookUp({"Account", "Contact", "User"});
  EXPECT_EQ(network->count(layoutsUrl("Account,User")), 1U);
  EXPECT_THAT(answers, ElementsAre("Contact[]", "Contact[] + network"));
}

TEST_F(CompactLayoutDataServiceTest, ARepeatedNameIsRequestedAsOftenAsItIsNamed) {
  network->answer(layoutsUrl("Account,Account"), layouts(account));
  network->answer(namesUrl("'User'"), StubNetwork::body(userName));
  lookUp({"Account", "Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
  EXPECT_EQ(log().at(2), getting + "Account, Account compactLayout(s) - 'User'");
}

TEST_F(CompactLayoutDataServiceTest, ALayoutOfAnUnexpectedTypeIsDeliveredAndCachedUnderItsOwnType) {
  network->answer(layoutsUrl("Account"), layouts(R"("Account":)" + contact.substr(contact.find('{'))));
  network->answer(namesUrl("''"), StubNetwork::body(namesJson({})));
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Contact[Name]"));
  EXPECT_TRUE(isCached("Contact"));
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(CompactLayoutDataServiceTest, WithoutACompletionTheCacheIsFilledAllTheSame) {
  serveAccount();
  service->compactLayoutForApiName({"Account"}, nullptr);
  EXPECT_TRUE(isCached("Account"));
  service->compactLayoutForApiName({"Account"}, nullptr);
  network->answer(layoutsUrl("Contact"), StubNetwork::nothing());
  service->compactLayoutForApiName({"Contact"}, nullptr);
  EXPECT_EQ(network->count(), 3U);
}

TEST_F(CompactLayoutDataServiceTest, TheCompletionRunsOnTheThreadOfTheNetwork) {
  network->answer(layoutsUrl("Account"), layouts(account).held());
  network->answer(namesUrl("'User'"), StubNetwork::body(userName).held());
  lookUp({"Account"});
  EXPECT_THAT(answers, IsEmpty());
  std::thread([&] { network->releaseAll(); }).join();
  EXPECT_THAT(answers, IsEmpty());
  std::thread second([&] { network->releaseAll(); });
  const auto id = second.get_id();
  second.join();
  EXPECT_EQ(answers.size(), 1U);
  EXPECT_EQ(answerThread, id);
}

TEST_F(CompactLayoutDataServiceTest, HostileTypeNamesStayOneQueryItem) {
  const std::string hostile = "User') OR ('1'='1&q=x#y%20\xC3\xA9";
  network->answerPrefix(layoutsUrl(""),
                        layouts(layoutJson("Account", {{"OwnerId", "reference", hostile, "Owner"}})));
  network->answerPrefix(namesUrl("").substr(0, 36), StubNetwork::body(namesJson({{hostile, "Name"}})));
  lookUp({"Account&q=Other#x"});
  EXPECT_THAT(answers, ElementsAre("Account[Owner.Name]"));
  EXPECT_THAT(network->urls(), ElementsAre(layoutsUrl("Account%26q%3DOther%23x"),
                                           namesUrl("'User')%20OR%20('1'%3D'1%26q%3Dx%23y%2520%C3%A9'")));
}

TEST_F(CompactLayoutDataServiceTest, TheProducerOfNamesSendsARequestForEachSubscription) {
  network->answer(namesUrl("'A','B'"), StubNetwork::body(namesJson({{"A", "Name"}})));
  const auto producer = service->qualifiedApiNameAsPublisher("'A','B'");
  EXPECT_EQ(network->count(), 0U);
  std::vector<std::string> events;
  for (int i = 0; i < 2; ++i) {
    const auto token =
        producer.sink([&](const auto& info) { events.push_back(info.entityApiNames.at("A")); },
                      [&](const auto& error) { events.push_back(error ? "failed" : "ended"); });
  }
  EXPECT_THAT(events, ElementsAre("Name", "ended", "Name", "ended"));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(CompactLayoutDataServiceTest, WithoutTheServiceTheProducerOfNamesSendsNothingAndNeverEnds) {
  const auto producer = service->qualifiedApiNameAsPublisher("'A'");
  service.reset();
  const auto token =
      producer.sink([](const auto&) { FAIL() << "a value"; }, [](const auto&) { FAIL() << "an end"; });
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(CompactLayoutDataServiceTest, LayoutsSurviveInACacheFile) {
  const tests::TemporaryFolder folder;
  const auto open = [&] {
    auto file = hostkit::SQLiteCache::open(folder.file("cache.sqlite"));
    return std::make_shared<CompactLayoutDataService>(RequiredAPI{network, file.value(), logger}, timeout);
  };
  serveAccount();
  open()->compactLayoutForApiName({"Account"}, record());
  open()->compactLayoutForApiName({"Account"}, record());
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]", "Account[Name,Owner.Name]"));
  EXPECT_EQ(network->count(), 2U);
}

}  // namespace
}  // namespace vellora
