#include "vellora/Catalog/Session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "testkit/ForwardingCache.h"
#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testkit::StubNetwork;

/// Calls `onRemove` before each removal of a blob.
class ListenedCache final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

  bool remove(const std::string& key) override {
    if (onRemove) onRemove(key);
    return next().remove(key);
  }

  std::function<void(const std::string& key)> onRemove;
};

/// Forgets within the call that hands it an answer, which it drops.
class ForgettingQueue final : public DispatchQueue {
 public:
  explicit ForgettingQueue(std::function<void()> forget) : forget_(std::move(forget)) {}
  void async(Work) override { forget_(); }

 private:
  const std::function<void()> forget_;
};

class SessionTest : public tests::CatalogFixture {
 protected:
  SessionTest() {
    network->answerPrefix("/services/data/v50.0/search/layout", columnsAnswer());
    network->answerPrefix("/services/data/v53.0/compactLayouts",
                          StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[]}})"));
    network->answerPrefix("/services/data/v53.0/query", StubNetwork::body(R"({"records":[]})"));
  }

  static testkit::StubAnswer columnsAnswer() {
    return StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])");
  }

  void askLayouts() {
    static_cast<void>(answered(catalog->searchColumns({"Account"})));
    static_cast<void>(answered(catalog->headlines({"Account"})));
    ASSERT_TRUE(cache->load("OPS_Layout_Account"));
    ASSERT_TRUE(cache->load("OPS_CompactLayout_Account"));
  }

  void expectNoLayouts() {
    for (const auto* key :
         {"OPS_Layout_Account", "OPS_CompactLayout_Account", "OPS_LayoutNames", "OPS_CompactLayoutNames"}) {
      EXPECT_FALSE(cache->load(key)) << key;
    }
  }

  void constructOn(const std::shared_ptr<CorvaneSDK::Cache>& other) {
    catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, other, logger), catalogOptions);
    runAll();
  }
};

TEST_F(SessionTest, ALayoutThatComesAfterForgettingIsNotWritten) {
  network->answerPrefix("/services/data/v50.0/search/layout", columnsAnswer().held());
  constructAndLoad();
  const auto pending = ask(catalog->searchColumns({"Account"}));
  runAll();
  catalog->forget();
  network->releaseAll();
  runAll();
  EXPECT_EQ(pending->answer.end, End::cancelled);
  expectNoLayouts();
}

TEST_F(SessionTest, ForgettingAsSoonAsTheAnswerIsThereLeavesNoLayout) {
  constructAndLoad();
  // The answer is handed over on the network's thread, inside the request's completion.
  const std::shared_ptr<DispatchQueue> here = std::make_shared<ForgettingQueue>([&] { catalog->forget(); });
  auto token = catalog->searchColumns({"Account"}, {.answersOn = here}).then([](const auto&) {});
  runAll();
  expectNoLayouts();
}

TEST_F(SessionTest, ALoadThatComesAfterForgettingIsNotWritten) {
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  construct();
  runAll();
  catalog->forget();
  cache->clearCalls();
  network->releaseAll();
  runAll();
  for (const auto& call : cache->callTexts()) EXPECT_THAT(call, testing::Not(testing::HasSubstr("Upsert")));
}

TEST_F(SessionTest, LayoutsAreForgottenWithoutTheListOfTypes) {
  constructAndLoad();
  askLayouts();
  cache->openTable("OPS_SObjectsCacheTable")->purge(CorvaneSDK::metaEquals({}));
  catalog->forget();
  expectNoLayouts();
}

TEST_F(SessionTest, LayoutsOfListedTypesAreForgottenWithoutTheirNotedNames) {
  constructAndLoad();
  askLayouts();
  cache->remove("OPS_LayoutNames");
  cache->remove("OPS_CompactLayoutNames");
  catalog->forget();
  expectNoLayouts();
}

TEST_F(SessionTest, LayoutsOfAnEarlierStartAreForgotten) {
  constructAndLoad();
  askLayouts();
  cache->openTable("OPS_SObjectsCacheTable")->purge(CorvaneSDK::metaEquals({}));
  network->answer(typesUrl, down());
  constructAndLoad();
  catalog->forget();
  expectNoLayouts();
}

TEST_F(SessionTest, NamesAreNotedBeforeTheLayoutsAreWritten) {
  constructAndLoad();
  cache->clearCalls();
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  std::vector<std::string> saves;
  for (const auto& call : cache->callTexts()) {
    if (call.starts_with("save ")) saves.push_back(call);
  }
  EXPECT_THAT(saves, testing::ElementsAre("save OPS_LayoutNames", "save OPS_Layout_Account"));
}

TEST_F(SessionTest, OneRemovalWithoutMemoryLeavesNothingElse) {
  const auto listened = std::make_shared<ListenedCache>(cache);
  constructOn(listened);
  askLayouts();
  listened->onRemove = [](const std::string& key) {
    if (key == "OPS_Layout_Account" || key == "ops.sobject.fetch.timestamp") throw std::bad_alloc();
  };
  EXPECT_THROW(catalog->forget(), std::bad_alloc);
  EXPECT_FALSE(cache->load("OPS_CompactLayout_Account"));
  EXPECT_FALSE(cache->load("ops.theme.fetch.timestamp"));
  EXPECT_THAT(cache->openTable("OPS_ThemesCacheTable")->fetch(CorvaneSDK::Query::oldest({})), IsEmpty());
  EXPECT_TRUE(cache->load("OPS_LayoutNames")) << "for another try";
  listened->onRemove = nullptr;
  catalog->forget();
  expectNoLayouts();
}

TEST_F(SessionTest, AQuestionThatComesWhileItForgetsIsCancelled) {
  const auto listened = std::make_shared<ListenedCache>(cache);
  constructOn(listened);
  std::shared_ptr<Received<ObjectPresentationInfo>> meanwhile;
  listened->onRemove = [&](const std::string& key) {
    if (key == "ops.theme.fetch.timestamp") meanwhile = ask(catalog->types({"Account"}));
  };
  catalog->forget();
  runAll();
  ASSERT_TRUE(meanwhile);
  EXPECT_EQ(meanwhile->answer.end, End::cancelled);
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
}

TEST_F(SessionTest, AFailureOfTheFirstLoadThatIsOnItsWayDoesNotOutliveForgetting) {
  network->answer(typesUrl, StubNetwork::never());
  constructAndLoad();
  timer->advance(60s);
  catalog->forget();  // the failure waits on the queue of the answers
  runAll();
  EXPECT_EQ(catalog->readiness().text(), "loading");
}

TEST_F(SessionTest, AFailureOfTheFirstLoadThatIsOnItsWayCountsLessThanALaterLoad) {
  network->answer(typesUrl, StubNetwork::never());
  constructAndLoad();
  timer->advance(60s);
  network->answer(typesUrl, StubNetwork::body(typesBody()));
  const auto received = ask(catalog->types({"Account"}));
  queues.runAll();
  EXPECT_EQ(catalog->readiness().text(), "ready");
  runAll();
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_EQ(received->calls, 1);
}

TEST_F(SessionTest, AFreshCacheDoesNotMakeReadyAfterAFailedRefresh) {
  constructAndLoad();
  network->answer(themesUrl, down());
  static_cast<void>(answered(catalog->refresh()));
  static_cast<void>(answered(catalog->types({"Account"})));
  EXPECT_EQ(catalog->readiness().readinessCase(), Readiness::Case::failed);
}

TEST_F(SessionTest, ALayoutThatTheCacheDidNotDeleteIsFoundTheNextTime) {
  constructAndLoad();
  askLayouts();
  cache->fail(testkit::FailingCache::Operation::remove, "OPS_Layout_Account");
  catalog->forget();
  EXPECT_TRUE(cache->load("OPS_Layout_Account"));
  cache->mend(testkit::FailingCache::Operation::remove);
  network->answer(typesUrl, down());
  constructAndLoad();
  catalog->forget();
  expectNoLayouts();
}

TEST_F(SessionTest, ForgettingWhileItForgetsLeavesTheStateOfWhatCameSince) {
  const auto listened = std::make_shared<ListenedCache>(cache);
  constructOn(listened);
  listened->onRemove = [&](const std::string&) {
    listened->onRemove = nullptr;
    catalog->forget();
    EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
    EXPECT_EQ(catalog->readiness().text(), "ready");
  };
  catalog->forget();
  EXPECT_EQ(catalog->readiness().text(), "ready");
}

TEST_F(SessionTest, OfTwoThreadsThatForgetOneWaitsForTheOther) {
  const auto listened = std::make_shared<ListenedCache>(cache);
  constructOn(listened);
  std::mutex mutex;
  std::vector<std::thread::id> removers;
  std::latch isForgetting(1);
  std::latch mayGoOn(1);
  listened->onRemove = [&](const std::string&) {
    isForgetting.count_down(removers.empty() ? 1 : 0);
    if (removers.empty()) mayGoOn.wait();
    const std::lock_guard lock(mutex);
    removers.push_back(std::this_thread::get_id());
  };
  std::thread first([&] { catalog->forget(); });
  isForgetting.wait();
  std::thread second([&] {
    mayGoOn.count_down();
    catalog->forget();
  });
  first.join();
  second.join();
  ASSERT_NE(removers.front(), removers.back());
  const auto isOfFirst = [&](const std::thread::id& id) { return id == removers.front(); };
  EXPECT_TRUE(std::is_partitioned(removers.begin(), removers.end(), isOfFirst));
}

}  // namespace
}  // namespace vellora
