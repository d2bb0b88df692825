#include "vellora/DataServices/ThemeDataService.h"

#include "tests/support/TestError.h"
#include "tests/vellora/DataServices/ThemeServiceTest.h"

namespace vellora::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testkit::StubNetwork;

class ThemeDataServiceTest : public ThemeServiceTest {};

TEST_F(ThemeDataServiceTest, AnswersNoNamesWithNothing) {
  const auto service = makeService();
  cache->clearCalls();

  EXPECT_EQ(Answer(service->themes({})).value(), Themes{});

  EXPECT_THAT(cache->callTexts(), IsEmpty());
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(ThemeDataServiceTest, DoesNothingBeforeItIsSubscribedTo) {
  const auto service = makeService();
  cache->clearCalls();

  const auto themes = service->themes({"Account"});
  passQueue(service);

  EXPECT_THAT(cache->callTexts(), IsEmpty());
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(ThemeDataServiceTest, TakesASingleEntryHoweverOldItsListIs) {
  keepEntry("Account", entryJson("Account", "old"));
  keepList(listJson({entryJson("Account", "new")}));
  keepTimeStamp(start - 1'000'000);
  const auto service = makeService();
  cache->clearCalls();

  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account", "old")}}));

  EXPECT_THAT(cache->callTexts(),
              ElementsAre("tableLoad OPS_ThemesCacheTable cacheEntryType=theme name=Account"));
  EXPECT_THAT(info(), ElementsAre("cachedTheme(for:), name: Account, was retrieved from cache",
                                  "themes(for:): name: Account"));
}

TEST_F(ThemeDataServiceTest, KeepsWhatItFoundInTheListForTheNextLookup) {
  keepList(listJson({entryJson("Account")}));
  const auto service = makeService();
  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account")}}));
  keepList(listJson({entryJson("Account", "newer")}));
  logger->clear();

  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account")}}));

  EXPECT_THAT(info(), ElementsAre("cachedTheme(for:), name: Account, was retrieved from cache",
                                  "themes(for:): name: Account"));
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(ThemeDataServiceTest, TakesTheFirstOfSeveralEntriesOfOneName) {
  keepList(listJson({entryJson("B", "other"), entryJson("A", "first"), entryJson("A", "second")}));
  EXPECT_EQ(Answer(makeService()->themes({"A"})).value(), (Themes{{"A", entry("A", "first")}}));
}

TEST_F(ThemeDataServiceTest, ComparesNamesAsTheyStand) {
  keepList(listJson({entryJson("account"), entryJson("Account ")}));
  EXPECT_EQ(Answer(makeService()->themes({"Account"})).value(), Themes{});
}

TEST_F(ThemeDataServiceTest, LeavesANameWithoutEntryOutAndLogsItAllTheSame) {
  keepList(listJson({entryJson("A")}));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"Missing", "A"})).value(), (Themes{{"A", entry("A")}}));

  EXPECT_THAT(info(), ElementsAre("cachedThemes()", "theme(for:), no theme was found for name: Missing",
                                  "cachedThemes()", "save(_:), theme.name: A", "themes(for:): name: Missing",
                                  "themes(for:): name: A"));
}

TEST_F(ThemeDataServiceTest, ANameThatIsAskedForTwiceIsOneKey) {
  keepList(listJson({entryJson("A")}));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"A", "A"})).value(), (Themes{{"A", entry("A")}}));

  EXPECT_THAT(info(), ElementsAre("cachedThemes()", "save(_:), theme.name: A",
                                  "cachedTheme(for:), name: A, was retrieved from cache",
                                  "themes(for:): name: A", "themes(for:): name: A"));
}

TEST_F(ThemeDataServiceTest, OfARepeatedNameTheLaterAnswerDecides) {
  network->answer(
      url, {StubNetwork::body(response({entryJson("A")})).held(), StubNetwork::body(response({})).held()});
  const auto service = makeService();
  const Answer answer(service->themes({"A", "A"}));
  ASSERT_TRUE(network->waitForRequests(2));
  passQueue(service);

  network->releaseAll();

  EXPECT_EQ(answer.value(), Themes{});
}

TEST_F(ThemeDataServiceTest, OfARepeatedNameTheLaterEntryReplacesTheEarlier) {
  network->answer(url, {StubNetwork::body(response({entryJson("A", "first")})).held(),
                        StubNetwork::body(response({entryJson("A", "second")})).held()});
  const auto service = makeService();
  const Answer answer(service->themes({"A", "A"}));
  ASSERT_TRUE(network->waitForRequests(2));
  passQueue(service);

  network->releaseAll();

  EXPECT_EQ(answer.value(), (Themes{{"A", entry("A", "second")}}));
}

TEST_F(ThemeDataServiceTest, FetchesTheListWhenNoneIsCached) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B")})));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"A"})).value(), (Themes{{"A", entry("A")}}));

  EXPECT_THAT(info(),
              ElementsAre("fetchedThemes()", "save(_:)", "fetchedThemes(), themes was fetched then cached",
                          "save(_:), theme.name: A", "themes(for:): name: A"));
  EXPECT_EQ(describe(service->cacheState()), "valid");
  EXPECT_EQ(rowData({{"cacheEntryType", "theme"}, {"name", "B"}}), "none");
}

TEST_F(ThemeDataServiceTest, SaysNothingOfANameThatTheFetchedListLacks) {
  network->answer(url, StubNetwork::body(response({})));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"A"})).value(), Themes{});

  EXPECT_THAT(info(),
              ElementsAre("fetchedThemes()", "save(_:)", "fetchedThemes(), themes was fetched then cached",
                          "themes(for:): name: A"));
}

TEST_F(ThemeDataServiceTest, SendsItsRequestsOnItsQueue) {
  network->answer(url, StubNetwork::body(response({entryJson("A")})));
  const Answer answer(makeService()->themes({"A"}));
  ASSERT_TRUE(answer.wait());
  EXPECT_NE(network->requests().at(0).thread, std::this_thread::get_id());
}

TEST_F(ThemeDataServiceTest, EachNameFetchesForItselfAsLongAsNoListIsThere) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B")})).held());
  const auto service = makeService();

  const Answer answer(service->themes({"A", "Missing", "B"}));
  ASSERT_TRUE(network->waitForRequests(3));
  passQueue(service);
  EXPECT_EQ(network->count(), 3U);
  logger->clear();
  cache->clearCalls();
  EXPECT_EQ(network->releaseAll(), 3U);

  EXPECT_EQ(answer.value(), (Themes{{"A", entry("A")}, {"B", entry("B")}}));
  EXPECT_THAT(
      info(),
      ElementsAre("save(_:)", "fetchedThemes(), themes was fetched then cached", "save(_:), theme.name: A",
                  "save(_:)", "fetchedThemes(), themes was fetched then cached", "save(_:)",
                  "fetchedThemes(), themes was fetched then cached", "save(_:), theme.name: B",
                  "themes(for:): name: A", "themes(for:): name: Missing", "themes(for:): name: B"));
  const auto* list = "tableUpsert OPS_ThemesCacheTable cacheEntryType=themes";
  const auto* stamp = "save ops.theme.fetch.timestamp";
  EXPECT_THAT(
      cache->callTexts(),
      ElementsAre(list, stamp, "tableUpsert OPS_ThemesCacheTable cacheEntryType=theme name=A", list, stamp,
                  list, stamp, "tableUpsert OPS_ThemesCacheTable cacheEntryType=theme name=B"));
}

TEST_F(ThemeDataServiceTest, ANetworkThatAnswersAtOnceIsAskedOnce) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B")})));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"A", "B"})).value(), (Themes{{"A", entry("A")}, {"B", entry("B")}}));

  EXPECT_EQ(network->count(), 1U);  // the second name finds the list
}

TEST_F(ThemeDataServiceTest, AnswersWhereTheLastFetchCameBack) {
  network->answer(url, StubNetwork::body(response({entryJson("A")})).held());
  const auto service = makeService();
  const Answer answer(service->themes({"A"}));
  ASSERT_TRUE(network->waitForRequests(1));
  passQueue(service);
  EXPECT_FALSE(answer.hasEnded());

  std::thread caller([this] { network->releaseAll(); });
  const auto callersId = caller.get_id();
  caller.join();

  ASSERT_TRUE(answer.hasEnded());
  EXPECT_EQ(answer.thread(), callersId);
}

TEST_F(ThemeDataServiceTest, AnswersOnItsQueueWhenTheCacheHasEverything) {
  keepEntry("A", entryJson("A"));
  const Answer answer(makeService()->themes({"A"}));
  EXPECT_NE(answer.thread(), std::this_thread::get_id());
}

TEST_F(ThemeDataServiceTest, FailsAsAWholeWhenTheFetchForOneNameFails) {
  keepEntry("A", entryJson("A"));
  network->answer(url, StubNetwork::failure(TestError{"no route"}));
  const auto service = makeService();

  const Answer answer(service->themes({"A", "B"}));

  ASSERT_TRUE(answer.error());
  const auto* error = answer.error()->as<ThemeDataServiceError>();
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(*error, ThemeDataServiceError::other(TestError{"no route"}));
  EXPECT_EQ(answer.value(), std::nullopt);
  EXPECT_THAT(errors(), ElementsAre("VelloraService: ThemeDataServiceError: no route"));
  EXPECT_THAT(info(), Not(Contains("themes(for:): name: A")));
}

TEST_F(ThemeDataServiceTest, AFailureEndsTheLookupWhileOtherFetchesAreOut) {
  network->answer(url, {StubNetwork::nothing().held(), StubNetwork::body(response({entryJson("B")})).held()});
  const auto service = makeService();
  const Answer answer(service->themes({"A", "B"}));
  ASSERT_TRUE(network->waitForRequests(2));
  passQueue(service);

  EXPECT_TRUE(network->releaseOne());
  ASSERT_TRUE(answer.hasEnded());
  EXPECT_EQ(*answer.error()->as<ThemeDataServiceError>(), ThemeDataServiceError::noData());
  network->releaseAll();

  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), "none");  // nobody listens to the other one any more
}

TEST_F(ThemeDataServiceTest, EachSubscriptionLooksUpAnew) {
  keepEntry("A", entryJson("A", "first"));
  const auto themes = makeService()->themes({"A"});
  EXPECT_EQ(Answer(themes).value(), (Themes{{"A", entry("A", "first")}}));

  keepEntry("A", entryJson("A", "second"));

  EXPECT_EQ(Answer(themes).value(), (Themes{{"A", entry("A", "second")}}));
}

TEST_F(ThemeDataServiceTest, ACancelledLookupIsSilent) {
  network->answer(url, StubNetwork::body(response({entryJson("A")})).held());
  const auto service = makeService();
  {
    const Answer answer(service->themes({"A"}));
    ASSERT_TRUE(network->waitForRequests(1));
    passQueue(service);
  }
  logger->clear();

  network->releaseAll();

  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(ThemeDataServiceTest, AnswersManyCallersAtOnce) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B"), entryJson("C")})));
  const auto service = makeService();
  const auto ask = [&] {
    for (int round = 0; round < 20; ++round) {
      EXPECT_EQ(load(service), std::nullopt);
      EXPECT_EQ(Answer(service->themes({"A", "C", "X"})).value(),
                (Themes{{"A", entry("A")}, {"C", entry("C")}}));
      static_cast<void>(service->cacheState());
    }
  };
  std::vector<std::thread> callers;
  for (int index = 0; index < 4; ++index) callers.emplace_back(ask);
  for (auto& caller : callers) caller.join();
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace vellora::tests
