#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestError.h"
#include "tests/vellora/DataServices/ThemeServiceTest.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/Host/Query.h"

// The operations that tell of each key what became of it.

namespace vellora {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testkit::StubNetwork;

class ThemeDataServiceEachTest : public tests::ThemeServiceTest {
 protected:
  /// "Account", "no Contact", or "Account: " and the error, for each name.
  std::vector<std::string> each(const std::vector<std::string>& names, Source source) {
    std::vector<std::string> found;
    token = service->eachTheme(names, source).sink([&](const KeyResult<std::optional<ThemeItem>>& theme) {
      if (!theme.value) return found.push_back(theme.key + ": " + theme.value.error().localizedDescription());
      found.push_back((theme.value.value() ? "" : "no ") + theme.key);
    });
    return found;
  }

  const std::shared_ptr<ThemeDataService> service = makeService();
  AnyCancellable token;
};

TEST_F(ThemeDataServiceEachTest, NamesWithoutAListShareOneFetchOfIt) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})).held());
  std::vector<std::string> found;
  token = service->eachTheme({"Account", "Contact"}, Source::cacheFirst).sink([&](const auto& theme) {
    found.push_back((theme.value.value() ? "" : "no ") + theme.key);
  });
  EXPECT_EQ(network->count(), 1U);
  network->releaseAll();
  EXPECT_THAT(found, UnorderedElementsAre("Account", "no Contact"));
  EXPECT_THAT(each({"Contact", "Account"}, Source::cacheFirst),
              UnorderedElementsAre("Account", "no Contact"));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(ThemeDataServiceEachTest, CacheOnlySendsNothing) {
  EXPECT_THAT(each({"Account"}, Source::cacheOnly),
              UnorderedElementsAre("Account: " + NotCached().localizedDescription()));
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(ThemeDataServiceEachTest, TheErrorNamesItsRequest) {
  network->answer(url, StubNetwork::failure(tests::TestError{"down"}));
  std::optional<Error> error;
  token = service->allThemes(Source::cacheFirst)
              .sink([](const auto&) {}, [&](const Completion& end) { error = end; });
  const auto* own = error ? error->as<ThemeDataServiceError>() : nullptr;
  ASSERT_TRUE(own && own->request());
  EXPECT_EQ(own->request()->url, url);
  EXPECT_EQ(own->request()->reason->localizedDescription(), "down");
}

TEST_F(ThemeDataServiceEachTest, ARenewedListCountsForEntriesThatHaveRows) {
  network->answer(url, StubNetwork::body(response({entryJson("Account", "old")})));
  EXPECT_THAT(each({"Account"}, Source::cacheFirst), UnorderedElementsAre("Account"));
  network->answer(url, StubNetwork::body(response({entryJson("Account", "new")})));
  token = service->renewedThemes().sink([](const auto&) {});
  std::optional<ThemeItem> found;
  token = service->eachTheme({"Account"}, Source::cacheFirst).sink([&](const auto& theme) {
    found = theme.value.value();
  });
  EXPECT_EQ(found, entry("Account", "new"));
}

TEST_F(ThemeDataServiceEachTest, AListThatCameSinceTheCallerLookedIsNotFetchedAgain) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  const auto late = service->currentThemes();
  token = service->renewedThemes().sink([](const auto&) {});
  ASSERT_EQ(network->count(), 1U);
  std::size_t entries = 0;
  token = late.sink([&](const ThemeDataService::Themes& list) { entries = list->records().size(); });
  EXPECT_EQ(entries, 1U);
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(ThemeDataServiceEachTest, ForgettingLeavesNoRowAndNoMoment) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  static_cast<void>(each({"Account"}, Source::cacheFirst));
  EXPECT_EQ(service->listState().state, CacheState::valid);
  service->forget();
  EXPECT_EQ(service->listState(), ListState());
  EXPECT_THAT(table()->fetch(CorvaneSDK::Query::oldest({})), IsEmpty());
}

TEST_F(ThemeDataServiceEachTest, ACacheThatKeepsNothingCostsOneFetchForAllNames) {
  cache->fail(testkit::FailingCache::Operation::tableUpsert);
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  EXPECT_THAT(each({"Account", "Contact", "Order"}, Source::cacheFirst),
              UnorderedElementsAre("Account", "no Contact", "no Order"));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(ThemeDataServiceEachTest, AListThatWasJustLoadedServesWhereTheCacheHasNone) {
  std::vector<std::string> found;
  const auto loaded = std::make_shared<const NamedList<ThemeItem>>(std::vector<ThemeItem>{entry("Account")});
  token =
      service->eachTheme({"Account", "Contact"}, Source::cacheFirst, {}, loaded).sink([&](const auto& theme) {
        found.push_back((theme.value.value() ? "" : "no ") + theme.key);
      });
  EXPECT_THAT(found, UnorderedElementsAre("Account", "no Contact"));
  bool isTheSame = false;
  token = service->allThemes(Source::cacheFirst, {}, loaded).sink([&](const auto& list) {
    isTheSame = list == loaded;
  });
  EXPECT_TRUE(isTheSame);
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(ThemeDataServiceEachTest, EntriesOfAnOlderListThanTheFacadesDoNotCount) {
  network->answer(url, StubNetwork::body(response({entryJson("Account", "old")})));
  static_cast<void>(each({"Account"}, Source::cacheFirst));
  static_cast<void>(each({"Account"}, Source::cacheFirst));  // has a row from now on
  clock.advance(cacheTimeout + 1);
  network->answer(url, StubNetwork::body(response({entryJson("Account", "new")})));
  EXPECT_FALSE(load(service));
  std::optional<ThemeItem> found;
  token = service->eachTheme({"Account"}, Source::cacheFirst).sink([&](const auto& theme) {
    found = theme.value.value();
  });
  EXPECT_EQ(found, entry("Account", "new"));
}

TEST_F(ThemeDataServiceEachTest, RowsGoBeforeANewListIsThereAndBehindIt) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  static_cast<void>(each({"Account"}, Source::cacheFirst));
  cache->clearCalls();
  token = service->renewedThemes().sink([](const auto&) {});
  std::string order;
  for (const auto& call : cache->callTexts()) {
    if (call.starts_with("tablePurge")) order += 'p';
    if (call.starts_with("tableUpsert")) order += 'w';
  }
  EXPECT_EQ(order, "pwp") << "a process that ends between two of them leaves no row older than the list";
}

TEST_F(ThemeDataServiceEachTest, AnEntryThatWasLookedUpHasARowUntilTheFacadeFetchesTheListAnew) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  const auto changesMade = [this] {
    cache->clearCalls();
    static_cast<void>(each({"Account"}, Source::cacheFirst));
    std::string changes;
    for (const auto& call : cache->callTexts()) {
      if (call.starts_with("tablePurge")) changes += 'p';
      if (call.starts_with("tableUpsert")) changes += 'w';
    }
    return changes;
  };
  EXPECT_FALSE(load(service));
  EXPECT_EQ(changesMade(), "pw");
  EXPECT_EQ(changesMade(), "") << "it has a row";
  clock.advance(cacheTimeout + 1);
  EXPECT_FALSE(load(service));
  EXPECT_EQ(changesMade(), "pw");
  EXPECT_EQ(changesMade(), "");
}

/// Tells a test of each line.
class ListeningLogger final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel /*level*/) override {
    if (onLine) onLine(message);
  }

  std::function<void(std::string_view line)> onLine;
};

TEST_F(ThemeDataServiceEachTest, ARowFromAnOlderListDoesNotOutliveTheNewerOne) {
  network->answer(url, StubNetwork::body(response({entryJson("Account", "old")})));
  static_cast<void>(load(service));
  network->answer(url, StubNetwork::body(response({entryJson("Account", "new")})));
  AnyCancellable renewal;
  bool isRenewed = false;
  const auto listening = std::make_shared<ListeningLogger>();
  const auto other = std::make_shared<ThemeDataService>(RequiredAPI(network, cache, listening), cacheTimeout);
  listening->onLine = [&](std::string_view line) {
    if (isRenewed || line != "cachedThemes()") return;
    isRenewed = true;  // now that the old list has been read
    renewal = other->renewedThemes().sink([](const auto&) {});
  };
  std::vector<std::optional<ThemeItem>> found;
  for (int i = 0; i < 2; ++i) {
    token = other->eachTheme({"Account"}, Source::cacheFirst).sink([&](const auto& theme) {
      found.push_back(theme.value.value());
    });
  }
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(isRenewed);
  EXPECT_EQ(found.back(), entry("Account", "new"));
}

TEST_F(ThemeDataServiceEachTest, ARowThatTheFacadesLookupTookFromTheOlderListStays) {
  network->answer(url, StubNetwork::body(response({entryJson("Account", "old")})));
  static_cast<void>(load(service));
  network->answer(url, StubNetwork::body(response({entryJson("Account", "new")})));
  // On the heap: the service still logs when its queue lets go of it, which may be behind the test's end.
  struct Renewal {
    AnyCancellable token;
    bool hasBegun = false;
  };
  const auto renewal = std::make_shared<Renewal>();
  const auto listening = std::make_shared<ListeningLogger>();
  const auto other = std::make_shared<ThemeDataService>(RequiredAPI(network, cache, listening), cacheTimeout);
  listening->onLine = [renewal, renewing = other.get()](std::string_view line) {
    if (renewal->hasBegun || line != "cachedThemes()") return;
    renewal->hasBegun = true;
    renewal->token = renewing->renewedThemes().sink([](const auto&) {});
  };
  ASSERT_TRUE(tests::Answer(other->themes({"Account"})).wait());
  EXPECT_TRUE(renewal->hasBegun);
  EXPECT_EQ(rowData({{"cacheEntryType", "theme"}, {"name", "Account"}}), entryJson("Account", "old"));
}

TEST_F(ThemeDataServiceEachTest, AServiceThatIsReleasedWhileAListIsSavedDoesNotSaveTheNext) {
  const auto listening = std::make_shared<ListeningLogger>();
  auto other = std::make_shared<ThemeDataService>(RequiredAPI(network, cache, listening), cacheTimeout);
  network->answer(url, StubNetwork::body(response({entryJson("Account")})).held());
  const auto first = other->themesFromNowOn().sink([](const auto&) {});
  const auto second = other->themesFromNowOn().sink([](const auto&) {});
  std::size_t saved = 0;
  listening->onLine = [&](std::string_view line) {
    if (line != "save(_:)") return;
    ++saved;
    network->releaseOne();  // the second has come, and waits for the first
    other.reset();
  };
  network->releaseOne();
  EXPECT_EQ(saved, 1U);
  EXPECT_EQ(network->held(), 0U);
}

TEST_F(ThemeDataServiceEachTest, ForgettingLetsGoOfTheListInMemory) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  static_cast<void>(load(service));
  std::weak_ptr<const NamedList<ThemeItem>> list;
  token = service->allThemes(Source::cacheOnly).sink([&](const auto& cached) { list = cached; });
  token.cancel();
  EXPECT_FALSE(list.expired());
  service->forget();
  EXPECT_TRUE(list.expired());
}

}  // namespace
}  // namespace vellora
