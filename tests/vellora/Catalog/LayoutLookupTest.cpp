#include "vellora/Catalog/LayoutLookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Host/Logger.h"

namespace vellora {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testkit::StubNetwork;
using Reasons = std::map<std::string, std::string>;

class LayoutLookupTest : public tests::CatalogFixture {
 protected:
  LayoutLookupTest() {
    constructAndLoad();
    network->answerPrefix("/services/data/v50.0/search/layout", StubNetwork::body(columns()));
    network->answerPrefix("/services/data/v53.0/compactLayouts", StubNetwork::body(headlines()));
    network->answerPrefix("/services/data/v53.0/query",
                          StubNetwork::body(R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},)"
                                            R"("QualifiedApiName":"Name"}]})"));
  }

  static std::string columns() {
    return R"([{"objectType":"Account","searchColumns":[{"name":"Name","label":"Name","field":"Name"}]}])";
  }

  static std::string headlines() {
    return R"({"Account":{"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[)"
           R"({"value":"OwnerId","details":{"label":"Owner","htmlFormatted":false,"type":"reference",)"
           R"("referenceTo":["User"],"relationshipName":"Owner"}}]}]}})";
  }

  static std::string columnsUrl(const std::string& names) {
    return "/services/data/v50.0/search/layout?q=" + names;
  }
  static std::string headlinesUrl(const std::string& names) {
    return "/services/data/v53.0/compactLayouts?q=" + names;
  }

  /// Names long enough for several requests.
  static std::vector<std::string> manyNames() {
    std::vector<std::string> names;
    for (int i = 1000; i < 1500; ++i) names.push_back("Type_" + std::to_string(i) + "_of_a_long_name__c");
    return names;
  }
};

TEST_F(LayoutLookupTest, FindsColumnsAndTellsWhatTheServerDoesNotKnow) {
  const auto answer = answered(catalog->searchColumns({"Account", "Nonesuch"}));
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.at("Account").searchColumns.size(), 1U);
  EXPECT_EQ(answer.ageOf("Account"), (Age{clock.date(), false}));
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"Nonesuch", "unknown to the server"}}));
}

TEST_F(LayoutLookupTest, FindsHeadlinesWithTheNameFieldsOfOtherRecords) {
  const auto answer = answered(catalog->headlines({"Account"}));
  EXPECT_EQ(answer.found.at("Account").layoutFields.at(0)->apiName, "Owner.Name");
}

TEST_F(LayoutLookupTest, LogsForWhichLayoutsItAsksForNameFields) {
  logger->clear();
  static_cast<void>(answered(catalog->headlines({"Account"})));
  EXPECT_THAT(
      logger->texts(CorvaneSDK::LogLevel::info),
      Contains("getCompactLayoutFromNetwork(_:completion:): Getting qualified API names for reference "
               "type fields contained in the Account compactLayout(s) - 'User'"));
}

TEST_F(LayoutLookupTest, LogsWhyThereAreNoNameFields) {
  network->answerPrefix("/services/data/v53.0/query", down());
  logger->clear();
  const auto answer = answered(catalog->headlines({"Account"}));
  EXPECT_EQ(answer.found.at("Account").layoutFields.at(0)->apiName, "OwnerId");
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error),
              ElementsAre("getCompactLayoutFromNetwork(_:completion:): Qualified API Name network request "
                          "failed: down"));
}

TEST_F(LayoutLookupTest, AnswersFromTheCacheWhatIsFresh) {
  static_cast<void>(answered(catalog->headlines({"Account"})));
  const auto fetched = clock.date();
  clock.advance(60);
  const auto count = network->count();
  EXPECT_EQ(answered(catalog->headlines({"Account"})).ageOf("Account"), (Age{fetched, false}));
  EXPECT_EQ(network->count(), count);
}

TEST_F(LayoutLookupTest, AFailedRequestIsTheReasonOfItsNames) {
  network->answerPrefix("/services/data/v50.0/search/layout", down());
  const auto answer = answered(catalog->searchColumns({"Account"}));
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(reasonsOf(answer),
            (Reasons{{"Account", "could not be asked: down (" + columnsUrl("Account") + ")"}}));
}

TEST_F(LayoutLookupTest, AnExpiredHeadlineIsServedWithItsReasonWhenTheServerFails) {
  static_cast<void>(answered(catalog->headlines({"Account"})));
  const auto fetched = clock.date();
  clock.advance(7200);
  network->answerPrefix("/services/data/v53.0/compactLayouts", down());
  const auto answer = answered(catalog->headlines({"Account"}));
  EXPECT_EQ(answer.found.at("Account").layoutFields.at(0)->apiName, "Owner.Name");
  EXPECT_EQ(answer.ageOf("Account"), (Age{fetched, true}));
  EXPECT_EQ(answer.trouble->text(), "down (" + headlinesUrl("Account") + ")");
}

TEST_F(LayoutLookupTest, ExpiredColumnsAreFetchedAndServedAsLongAsTheServerFails) {
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  const auto fetched = clock.date();
  clock.advance(7200);
  network->answerPrefix("/services/data/v50.0/search/layout", down());
  for (int i = 0; i < 2; ++i) {
    const auto old = answered(catalog->searchColumns({"Account"}));
    EXPECT_EQ(old.ageOf("Account"), (Age{fetched, true}));
    EXPECT_EQ(old.trouble->text(), "down (" + columnsUrl("Account") + ")");
  }
  network->answerPrefix("/services/data/v50.0/search/layout", StubNetwork::body(columns()));
  EXPECT_FALSE(answered(catalog->searchColumns({"Account"})).ageOf("Account").isStale);
}

TEST_F(LayoutLookupTest, ExpiredColumnsOutliveARefreshThatNoServerAnswers) {
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  clock.advance(7200);
  network->answerWhen([](const auto&) { return true; }, down());
  static_cast<void>(answered(catalog->refresh()));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(answered(catalog->searchColumns({"Account"})).found.size(), 1U);
}

TEST_F(LayoutLookupTest, NameFieldsThatCannotBeFetchedAreTheTrouble) {
  network->answerPrefix("/services/data/v53.0/query", down());
  const auto answer = answered(catalog->headlines({"Account"}));
  EXPECT_EQ(answer.found.at("Account").layoutFields.at(0)->apiName, "OwnerId");
  ASSERT_TRUE(answer.trouble);
  EXPECT_THAT(answer.trouble->text(), testing::StartsWith("down (/services/data/v53.0/query?q=SELECT"));
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error),
              testing::Contains(testing::EndsWith("Qualified API Name network request failed: down")));
}

TEST_F(LayoutLookupTest, NameFieldsAreNotAskedForWhenNobodyWaitsAnyMore) {
  network->answerPrefix("/services/data/v53.0/compactLayouts", StubNetwork::body(headlines()).held());
  auto pending = ask(catalog->headlines({"Account"}));
  runAll();
  pending->token.cancel();
  network->releaseAll();
  runAll();
  EXPECT_EQ(network->urls().back(), headlinesUrl("Account"));
  EXPECT_FALSE(cache->load("OPS_CompactLayout_Account"));
}

TEST_F(LayoutLookupTest, ADownloadThatBeganBeforeARefreshDoesNotCountAfterIt) {
  network->answerPrefix("/services/data/v50.0/search/layout", StubNetwork::body(columns()).held());
  const auto before = ask(catalog->searchColumns({"Account"}));
  runAll();
  clock.advance(1);
  static_cast<void>(answered(catalog->refresh()));
  network->answerPrefix("/services/data/v50.0/search/layout", StubNetwork::body("[]"));
  const auto after = answered(catalog->searchColumns({"Account"}));
  EXPECT_EQ(reasonsOf(after), (Reasons{{"Account", "unknown to the server"}}));
  network->releaseAll();
  runAll();
  EXPECT_EQ(before->answer.found.size(), 1U);
  EXPECT_EQ(answered(catalog->searchColumns({"Account"})).found.size(), 0U)
      << "it is dated before the refresh";
}

TEST_F(LayoutLookupTest, LayoutsAreCachedAfterARefreshAndAClockThatIsSetBack) {
  static_cast<void>(answered(catalog->refresh()));
  clock.advance(-600);
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  EXPECT_EQ(network->count(columnsUrl("Account")), 1U);
}

TEST_F(LayoutLookupTest, CacheOnlySendsNothingAndDropsNothing) {
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  clock.advance(7200);
  const auto count = network->count();
  for (int i = 0; i < 2; ++i) {
    const auto answer =
        answered(catalog->searchColumns({"Account", "Contact"}, {.source = Source::cacheOnly}));
    EXPECT_TRUE(answer.ageOf("Account").isStale);
    EXPECT_EQ(reasonsOf(answer), (Reasons{{"Contact", "not in the cache"}}));
  }
  EXPECT_EQ(network->count(), count);
}

TEST_F(LayoutLookupTest, ServerFirstFetchesWhatIsFresh) {
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  static_cast<void>(answered(catalog->searchColumns({"Account"}, {.source = Source::serverFirst})));
  EXPECT_EQ(network->count(columnsUrl("Account")), 2U);
}

TEST_F(LayoutLookupTest, LongListsOfNamesGoOutInRequestsOfAtMostEightKilobytes) {
  const auto names = manyNames();
  static_cast<void>(answered(catalog->searchColumns(names)));
  std::string asked;
  std::size_t requests = 0;
  for (const auto& url : network->urls()) {
    EXPECT_LE(url.size(), 8192U);
    if (!url.starts_with(columnsUrl(""))) continue;
    asked += (asked.empty() ? "" : ",") + url.substr(columnsUrl("").size());
    ++requests;
  }
  EXPECT_EQ(requests, 2U);
  std::string all;
  for (const auto& name : names) all += (all.empty() ? "" : ",") + name;
  EXPECT_EQ(asked, all) << "each name once";
}

TEST_F(LayoutLookupTest, ANameWithACommaIsRefused) {
  const auto answer = answered(catalog->searchColumns({"Account,Contact"}));
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"Account,Contact", "not asked: The name holds a comma."}}));
}

TEST_F(LayoutLookupTest, EqualRequestsUnderWayAreShared) {
  network->answerPrefix("/services/data/v53.0/compactLayouts", StubNetwork::body(headlines()).held());
  const auto first = ask(catalog->headlines({"Account"}));
  const auto second = ask(catalog->headlines({"Account"}));
  runAll();
  network->releaseAll();
  runAll();
  EXPECT_EQ(first->answer.found.size() + second->answer.found.size(), 2U);
  EXPECT_EQ(network->count(headlinesUrl("Account")), 1U);
}

TEST_F(LayoutLookupTest, OverlappingHeadlinesAreAllAnswered) {
  network->answerPrefix("/services/data/v53.0/query", StubNetwork::body(R"({"records":[]})").held());
  const auto first = ask(catalog->headlines({"Account"}));
  const auto second = ask(catalog->headlines({"Account", "Contact"}));
  runAll();
  EXPECT_EQ(network->held(), 2U);
  network->releaseAll();
  runAll();
  EXPECT_EQ(first->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 1U);
}

TEST_F(LayoutLookupTest, ManyReferencedTypesAreAskedAboutInSeveralRequests) {
  std::string items;
  for (const auto& type : manyNames()) {
    items += (items.empty() ? "" : ",") +
             std::string(R"({"label":"L","layoutComponents":[{"value":"V","details":{"label":"F",)") +
             R"("htmlFormatted":false,"type":"reference","referenceTo":[")" + type +
             R"("],"relationshipName":"R"}}]})";
  }
  network->answerPrefix(
      "/services/data/v53.0/compactLayouts",
      StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[)" + items + "]}}"));
  network->answerPrefix("/services/data/v53.0/query",
                        StubNetwork::body(R"({"records":[{"EntityDefinition":{"QualifiedApiName":")" +
                                          manyNames().back() + R"("},"QualifiedApiName":"Subject"}]})"));
  const auto answer = answered(catalog->headlines({"Account"}));
  EXPECT_EQ(answer.found.at("Account").layoutFields.back()->apiName, "R.Subject");
  std::size_t queries = 0;
  for (const auto& url : network->urls()) {
    EXPECT_LE(url.size(), 8192U);
    queries += url.starts_with("/services/data/v53.0/query") ? 1U : 0U;
  }
  EXPECT_GE(queries, 2U);
}

TEST_F(LayoutLookupTest, AnOlderDownloadThatComesLateDoesNotTakeThePlaceOfANewerOne) {
  network->answerPrefix("/services/data/v50.0/search/layout", StubNetwork::body(columns()).held());
  network->answerPrefix("/services/data/v53.0/compactLayouts", StubNetwork::body(headlines()).held());
  const auto oldColumns = ask(catalog->searchColumns({"Account"}));
  const auto oldHeadlines = ask(catalog->headlines({"Account"}));
  runAll();
  clock.advance(1);
  static_cast<void>(answered(catalog->refresh()));
  network->answerPrefix("/services/data/v50.0/search/layout",
                        StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  network->answerPrefix("/services/data/v53.0/compactLayouts",
                        StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[]}})"));
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  static_cast<void>(answered(catalog->headlines({"Account"})));
  network->releaseAll();
  runAll();
  EXPECT_EQ(oldColumns->answer.found.at("Account").searchColumns.size(), 1U);
  EXPECT_EQ(oldHeadlines->answer.found.at("Account").layoutFields.size(), 1U);
  const QuestionOptions cached{.source = Source::cacheOnly};
  EXPECT_EQ(answered(catalog->searchColumns({"Account"}, cached)).found.at("Account").searchColumns.size(),
            0U);
  EXPECT_EQ(answered(catalog->headlines({"Account"}, cached)).found.at("Account").layoutFields.size(), 0U);
}

TEST_F(LayoutLookupTest, ALayoutIsDatedWhenItIsAskedForThoughTheNetworkAnswersWithinTheCall) {
  const auto asked = clock.date();
  const auto isLayout = [this](const CorvaneSDK::NetRequest& request) {
    const auto url = request.base().url.absoluteString();
    if (!url.starts_with(columnsUrl("")) && !url.starts_with(headlinesUrl(""))) return false;
    clock.advance(60);  // a slow network, which answers before it returns
    return false;
  };
  network->answerWhen(isLayout, down());
  EXPECT_EQ(answered(catalog->searchColumns({"Account"})).ageOf("Account").fetched, asked);
  clock.set(asked);
  EXPECT_EQ(answered(catalog->headlines({"Account"})).ageOf("Account").fetched, asked);
}

TEST_F(LayoutLookupTest, AfterARefreshWhatIsDatedInTheFutureIsFetchedAnew) {
  clock.advance(86'400);  // the clock is a day ahead, and is corrected afterwards
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  clock.advance(-86'400);
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  EXPECT_EQ(network->count(columnsUrl("Account")), 1U);
  static_cast<void>(answered(catalog->refresh()));
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  EXPECT_EQ(network->count(columnsUrl("Account")), 2U);
}

TEST_F(LayoutLookupTest, NoNameThatTheServerSendsMakesARequestTooLong) {
  const auto field = [](const std::string& type) {
    return R"({"label":"L","layoutComponents":[{"value":"V","details":{"label":"F","htmlFormatted":false,)"
           R"("type":"reference","referenceTo":[")" +
           type + R"("],"relationshipName":"R"}}]})";
  };
  network->answerPrefix("/services/data/v53.0/compactLayouts",
                        StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[)" +
                                          field(std::string(9000, 'T')) + "," + field("User") + "]}}"));
  const auto answer = answered(catalog->headlines({"Account"}));
  const auto& fields = answer.found.at("Account").layoutFields;
  EXPECT_EQ(fields.at(0)->apiName, "V");
  EXPECT_EQ(fields.at(1)->apiName, "R.Name");
  EXPECT_FALSE(answer.trouble);
  for (const auto& url : network->urls()) EXPECT_LE(url.size(), 8192U);
}

TEST_F(LayoutLookupTest, KeysAreFoundWhateverTheirOrderAndHoweverOftenTheyCome) {
  const auto layout = [](const std::string& type) {
    return R"({"objectType":")" + type + R"(","searchColumns":[]})";
  };
  network->answerPrefix("/services/data/v50.0/search/layout",
                        StubNetwork::body("[" + layout("C") + "," + layout("A") + "," + layout("B") + "]"));
  static_cast<void>(answered(catalog->searchColumns({"B"})));
  clock.advance(1);
  const auto answer = answered(catalog->searchColumns({"C", "A", "", "B", "A", "D", "C"}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("A", "B", "C"));
  EXPECT_THAT(keysOf(answer.missing), ElementsAre("", "D"));
  EXPECT_EQ(network->urls().back(), columnsUrl("D")) << "in their order, those that the cache lacks";
}

}  // namespace
}  // namespace vellora
