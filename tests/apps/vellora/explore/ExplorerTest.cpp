#include "apps/vellora/explore/Explorer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <memory>

#include "tests/apps/vellora/explore/ExplorerFixture.h"

namespace vellora::explore {
namespace {

class ExplorerTest : public ExplorerFixture {
 protected:
  [[nodiscard]] std::vector<std::string> linesFrom(const std::string& source) const {
    std::vector<std::string> lines;
    for (const auto& entry : explorer->state(0).entries)
      if (entry.source == source) lines.push_back(entry.what + " " + entry.outcome);
    return lines;
  }

  static bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line) > 0;
  }
};

TEST_F(ExplorerTest, PrefetchesAtItsStartAndShowsTheWayThere) {
  waitForPrefetch();
  const auto state = explorer->state(0);
  EXPECT_EQ(state.prefetch, "loaded");
  EXPECT_TRUE(state.ready);
  EXPECT_TRUE(state.themes.fresh);
  EXPECT_TRUE(state.sObjects.fresh);
  EXPECT_EQ(state.error, std::nullopt);
  EXPECT_EQ(linesFrom("prefetch").back(), "prefetch loaded");
}

TEST_F(ExplorerTest, ListsTheTypesAsTheCacheHoldsThem) {
  waitForPrefetch();
  const auto types = explorer->types();
  ASSERT_EQ(types.size(), 2U);
  EXPECT_EQ(types.front().keyPrefix, "001");
  EXPECT_EQ(types.back().label, "</script><b>");
}

TEST_F(ExplorerTest, GivesIdsToThoseIconsOnlyThatTheServerItselfHas) {
  const auto answer = presentations({"Account", "Note", "Unknown"});
  EXPECT_EQ(answer.source, "cache");
  ASSERT_EQ(answer.presentations.size(), 2U);
  const auto& account = answer.presentations.at("Account");
  EXPECT_EQ(account.info.color, "2F6FDE");
  EXPECT_EQ(account.info.largeIconUrl, "javascript:alert(1)");
  EXPECT_EQ(account.svgIcon, "icon-key-0");
  EXPECT_FALSE(account.smallIcon);
  EXPECT_FALSE(account.largeIcon);
}

TEST_F(ExplorerTest, SaysWhereALayoutCameFrom) {
  EXPECT_EQ(searchLayout("Account").source, "network");
  EXPECT_EQ(searchLayout("Account").source, "cache");
  EXPECT_EQ(compactLayout("Account").source, "network");
  const auto again = compactLayout("Account");
  EXPECT_EQ(again.source, "cache");
  EXPECT_EQ(again.layout->layoutFields.front()->label, "Name");
  EXPECT_FALSE(again.failure);
}

TEST_F(ExplorerTest, TellsWhichTypesLackALayout) {
  using testkit::StubNetwork;
  network->answer("/services/data/v50.0/search/layout?q=Account,Empty,Note", StubNetwork::body(R"json([
      {"objectType":"Empty","searchColumns":[]},
      {"objectType":"Account","searchColumns":[{"name":"Name","label":"Name","field":"Name"}]}])json"));
  network->answer("/services/data/v53.0/compactLayouts?q=Account,Empty,Note",
                  StubNetwork::body(R"json({"Account":{"objectType":"Account","layoutFields":[]},
      "Note":{"objectType":"Note","layoutFields":[
        {"apiName":"Title","fieldType":"string","label":"Title","htmlFormatted":false}]}})json"));
  const auto lacking = lackingLayouts({"Note", "Account", "Empty"});
  EXPECT_EQ(lacking.searchColumns, (std::vector<std::string>{"Empty", "Note"}));
  EXPECT_EQ(lacking.headlines, (std::vector<std::string>{"Account", "Empty"}));
  EXPECT_TRUE(lacking.unanswered.empty());
}

TEST_F(ExplorerTest, SaysOfWhichTypesItCannotTellWhetherTheyLackALayout) {
  waitForPrefetch();
  static_cast<void>(searchLayout("Account"));
  static_cast<void>(compactLayout("Account"));
  explorer->setServerReachable(false);
  const auto lacking = lackingLayouts({"Account", "Note"});
  EXPECT_TRUE(lacking.searchColumns.empty());
  EXPECT_TRUE(lacking.headlines.empty());
  const std::map<std::string, std::string> unanswered{{"Note", "the server has been taken away"}};
  EXPECT_EQ(lacking.unanswered, unanswered);
}

TEST_F(ExplorerTest, ShowsTheLayoutOfTheTypeThatWasAskedForAmongOthers) {
  using testkit::StubNetwork;
  network->answer("/services/data/v50.0/search/layout?q=Account", StubNetwork::body(R"json([
      {"objectType":"Note","searchColumns":[]}, {"objectType":"Account","searchColumns":[]}])json"));
  network->answer("/services/data/v53.0/compactLayouts?q=Note", StubNetwork::body(R"json({
      "Account":{"objectType":"Account","layoutFields":[]}, "Note":{"objectType":"Note","layoutFields":[]}})json"));
  EXPECT_EQ(searchLayout("Account").layout.value().objectType, "Account");
  EXPECT_EQ(compactLayout("Note").layout.value().objectType, "Note");
}

TEST_F(ExplorerTest, ShowsNoLayoutWhereTheServerSentThatOfAnotherTypeOnly) {
  network->answer("/services/data/v50.0/search/layout?q=Note",
                  testkit::StubNetwork::body(scriptedSearchLayouts));
  EXPECT_FALSE(searchLayout("Note").layout);
}

TEST_F(ExplorerTest, TellsALayoutThatTheServerLacksFromOneThatItDidNotSend) {
  const auto lacking = searchLayout("Note");
  EXPECT_EQ(lacking.source, "network");
  EXPECT_FALSE(lacking.layout);
  EXPECT_FALSE(lacking.failure);
  explorer->setServerReachable(false);
  const auto unsent = searchLayout("Note");
  EXPECT_EQ(unsent.source, "nowhere");
  EXPECT_FALSE(unsent.layout);
  EXPECT_EQ(unsent.failure, "the server has been taken away");
}

TEST_F(ExplorerTest, SaysWhyAnAnswerCannotBeUsed) {
  network->answer("/services/data/v50.0/search/layout?q=Account", testkit::StubNetwork::body("<html>"));
  const auto answer = searchLayout("Account");
  EXPECT_EQ(answer.source, "network");
  EXPECT_THAT(
      answer.failure.value(),
      testing::StartsWith("the answer of the server to /services/data/v50.0/search/layout cannot be used: "
                          "not valid JSON at byte 0"));
}

TEST_F(ExplorerTest, AnswersFromTheCacheWithoutTheServerAndSendsNothing) {
  waitForPrefetch();
  static_cast<void>(searchLayout("Account"));
  const auto sent = network->count();
  explorer->setServerReachable(false);
  EXPECT_FALSE(explorer->state(0).reachable);
  explorer->startAgain();
  EXPECT_EQ(presentations({"Account"}).presentations.size(), 1U);
  EXPECT_EQ(explorer->state(0).prefetch, "loaded");
  EXPECT_EQ(searchLayout("Account").source, "cache");
  EXPECT_FALSE(compactLayout("Account").layout);
  EXPECT_EQ(network->count(), sent);
  EXPECT_TRUE(contains(linesFrom("network"),
                       "GET /services/data/v53.0/compactLayouts?q=Account failed: the "
                       "server has been taken away"));
  explorer->setServerReachable(true);
  EXPECT_TRUE(compactLayout("Account").layout);
}

TEST_F(ExplorerTest, NotesEachReadAndWriteOfTheCache) {
  static_cast<void>(searchLayout("Account"));
  static_cast<void>(searchLayout("Account"));
  const auto lines = linesFrom("cache");
  EXPECT_TRUE(contains(lines, "OPS_Layout_Account miss"));
  EXPECT_TRUE(contains(lines, "OPS_Layout_Account saved"));
  EXPECT_TRUE(contains(lines, "OPS_Layout_Account hit"));
  EXPECT_TRUE(contains(linesFrom("network"), "GET /services/data/v50.0/search/layout?q=Account answered"));
}

TEST_F(ExplorerTest, NamesTheTableRowsThatLookupsRead) {
  waitForPrefetch();
  waitForPrefetch();
  EXPECT_TRUE(
      contains(linesFrom("cache"), "OPS_SObjectsCacheTable: cacheEntryType=sObject, name=Account hit"));
}

TEST_F(ExplorerTest, LooksAtItsOwnStateWithoutATrace) {
  ASSERT_TRUE(network->waitForRequests(2));  // whose answers are held: the load is done with the cache
  const auto before = linesFrom("cache");
  static_cast<void>(explorer->types());
  EXPECT_EQ(linesFrom("cache"), before);
}

TEST_F(ExplorerTest, SaysWhyAPresentationIsMissingOfANameThatCannotBeAsked) {
  const std::string endless(3000, 'x');
  const auto answer = presentations({"Account", "Unknown", endless});
  EXPECT_EQ(answer.presentations.size(), 1U);
  EXPECT_EQ(answer.missing, (std::map<std::string, std::string>{{endless, "The key is too long."}}));
  EXPECT_FALSE(presentations({"Account", "Unknown"}).missing) << "what is unknown needs no reason";
}

TEST_F(ExplorerTest, SaysWhyPresentationsAreMissingWhenTheListsCannotBeFetched) {
  using testkit::StubNetwork;
  ASSERT_TRUE(network->waitForRequests(2)) << "the first explorer's, which the next one must not cancel";
  const auto down = std::make_shared<StubNetwork>();
  const auto refusal = StubNetwork::failure(ServerTakenAway());
  for (const auto* url : {"/services/data/v50.0/sobjects", "/services/data/v50.0/theme"})
    down->answer(url, {StubNetwork::failure(ServerTakenAway()).held(), refusal});
  explorer =
      std::make_shared<Explorer>(RequiredAPI{down, std::make_shared<hostkit::MemoryCache>(), host.logger},
                                 arguments(), IconSource{icons, "icon-key"}, secrets);
  ASSERT_TRUE(down->waitForRequests(2));
  down->releaseAll();
  const auto answer = presentations({"Account"});
  EXPECT_EQ(answer.source, "nowhere");
  EXPECT_EQ(answer.failure, ServerTakenAway::localizedDescription());
  EXPECT_EQ(answer.missing,
            (std::map<std::string, std::string>{{"Account", ServerTakenAway::localizedDescription()}}));
  EXPECT_EQ(explorer->state(0).prefetch, "failed");
  EXPECT_EQ(explorer->state(0).error, ServerTakenAway::localizedDescription());
  EXPECT_EQ(linesFrom("prefetch").back(), "prefetch failed: " + ServerTakenAway::localizedDescription());
}

TEST_F(ExplorerTest, AQuestionIsAnsweredThoughAnotherCatalogueHasTakenTheOnesPlace) {
  const std::string url = "/services/data/v50.0/search/layout?q=Account";
  network->answer(url, testkit::StubNetwork::body(scriptedSearchLayouts).held());
  std::promise<SearchLayoutAnswer> answer;
  explorer->searchLayout("Account", [&](SearchLayoutAnswer found) { answer.set_value(std::move(found)); });
  ASSERT_TRUE(network->waitForRequests(3));  // with those for the lists
  explorer->startAgain();
  network->release(url);
  EXPECT_TRUE(answer.get_future().get().layout);
}

TEST_F(ExplorerTest, ALookupWithoutAnAnswerEndsWithTheWait) {
  network->answer("/services/data/v50.0/search/layout?q=Account", testkit::StubNetwork::never());
  auto impatient = arguments();
  impatient.wait = 0.05;
  explorer = std::make_shared<Explorer>(host, impatient, IconSource{icons, "icon-key"}, secrets);
  const auto answer = searchLayout("Account");
  EXPECT_EQ(answer.source, "nowhere");
  EXPECT_EQ(answer.failure, "timed out");
}

TEST_F(ExplorerTest, KeepsIconsThatItFetchedForTheTimeWithoutTheServer) {
  const auto id = presentations({"Account"}).presentations.at("Account").svgIcon.value();
  const auto iconNow = [&] {
    return answerOf<std::optional<Image>>([&](auto completion) { explorer->icon(id, completion); });
  };
  explorer->setServerReachable(false);
  EXPECT_FALSE(iconNow());
  explorer->setServerReachable(true);
  EXPECT_EQ(iconNow()->contentType, "image/svg+xml");
  explorer->setServerReachable(false);
  EXPECT_TRUE(iconNow());
  EXPECT_EQ(icons->count("/icons/a.svg"), 1U);
}

TEST_F(ExplorerTest, AsksForIconsOnTheirOwnNetworkForImagesAndNotForLong) {
  const auto id = presentations({"Account"}).presentations.at("Account").svgIcon.value();
  ASSERT_TRUE(answerOf<std::optional<Image>>([&](auto completion) { explorer->icon(id, completion); }));
  const auto sent = icons->requests();
  ASSERT_EQ(sent.size(), 1U);
  const URLRequest& request = sent[0].request.base();
  EXPECT_EQ(request.headers, (std::map<std::string, std::string>{{"Accept", "image/*"}}));
  EXPECT_EQ(request.timeoutInterval, 10);
  EXPECT_EQ(network->count("/icons/a.svg"), 0U);
}

TEST_F(ExplorerTest, KeepsWhatWasSentOutOfItsActivity) {
  waitForPrefetch();
  secrets->note("abc-secret99");
  static_cast<void>(searchLayout("abc-secret99"));
  EXPECT_TRUE(contains(linesFrom("cache"), "OPS_Layout_[token] miss"));
  for (const auto& entry : explorer->state(0).entries) {
    EXPECT_EQ(entry.what.find("secret99"), std::string::npos) << entry.what;
    EXPECT_EQ(entry.outcome.find("secret99"), std::string::npos) << entry.outcome;
  }
}

TEST_F(ExplorerTest, IconsAreNoPartOfTheActivity) {
  const auto id = presentations({"Account"}).presentations.at("Account").svgIcon.value();
  const auto before = explorer->state(0);
  ASSERT_TRUE(answerOf<std::optional<Image>>([&](auto completion) { explorer->icon(id, completion); }));
  const auto after = explorer->state(0);
  EXPECT_EQ(after.totals.requests, before.totals.requests);
  EXPECT_EQ(after.entries.size(), before.entries.size());
}

TEST_F(ExplorerTest, ARefreshAsksTheServerThoughTheListsAreFresh) {
  waitForPrefetch();
  network->answer("/services/data/v50.0/sobjects", testkit::StubNetwork::body(R"({"sobjects":[]})"));
  network->answer("/services/data/v50.0/theme", testkit::StubNetwork::body(scriptedThemes));
  const auto answer =
      answerOf<RefreshAnswer>([&](auto completion) { explorer->refresh(std::move(completion)); });
  EXPECT_FALSE(answer.failure);
  EXPECT_EQ(network->count("/services/data/v50.0/sobjects"), 2U);
  EXPECT_TRUE(explorer->types().empty());
  EXPECT_EQ(explorer->changes().types,
            (std::map<std::string, std::string>{{"Account", "removed"}, {"Note", "removed"}}));
  EXPECT_EQ(explorer->changes().by, "refresh");
}

TEST_F(ExplorerTest, ShowsNoIconThatIsNoImage) {
  using testkit::StubNetwork;
  const auto id = presentations({"Account"}).presentations.at("Account").svgIcon.value();
  const auto isShown = [&](const StubNetwork::Answer& answer) {
    icons->answer("/icons/a.svg", answer);
    return answerOf<std::optional<Image>>([&](auto completion) { explorer->icon(id, completion); })
        .has_value();
  };
  EXPECT_FALSE(isShown(StubNetwork::body("<html><script>alert(1)</script></html>")));
  EXPECT_FALSE(isShown(StubNetwork::body("<svg>" + std::string(IconStore::mostBytes, ' ') + "</svg>")));
  EXPECT_FALSE(isShown(StubNetwork::body("<svg/>").with(URLResponse{"", 404, {}})));
  EXPECT_FALSE(isShown(StubNetwork::nothing()));
  EXPECT_TRUE(isShown(StubNetwork::body("<svg/>")));
  const auto none =
      answerOf<std::optional<Image>>([&](auto completion) { explorer->icon("icon-key-9", completion); });
  EXPECT_FALSE(none);
}

}  // namespace
}  // namespace vellora::explore
