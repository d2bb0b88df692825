#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/PassingError.h"
#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Catalog/CatalogObserver.h"

// A question that has ended, in whatever way, leaves nothing on the heap.

namespace vellora {
namespace {

using namespace std::chrono_literals;

/// Answers from a map; other requests fail in a way that may pass, or get no answer. It keeps nothing.
class LeanNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    const auto found = bodies.find(request.base().url.absoluteString());
    if (found != bodies.end()) return completion(Data(found->second), std::nullopt, std::nullopt);
    if (!isSilent) completion(std::nullopt, tests::PassingError{}, std::nullopt);
  }

  std::map<std::string, std::string> bodies;
  bool isSilent = false;
};

class CatalogHeapTest : public tests::CatalogFixture {
 protected:
  CatalogHeapTest() {
    lean->bodies = {
        {typesUrl, typesBody()},
        {themesUrl, themesBody()},
        {"/services/data/v50.0/search/layout?q=Account",
         R"([{"objectType":"Account","searchColumns":[{"name":"Name","label":"Name","field":"Name"}]}])"},
        {"/services/data/v53.0/compactLayouts?q=Account",
         R"({"Account":{"objectType":"Account","fieldItems":[]}})"}};
    emplace();
  }

  void emplace() {
    catalog.emplace(
        std::make_shared<hostkit::StandardPlatformAPI>(lean, std::make_shared<hostkit::MemoryCache>(),
                                                       std::make_shared<testkit::SilentLogger>()),
        catalogOptions);
    runAll();
  }

  /// Asks, and lets so much time pass that even what hangs or is sent again has ended.
  template <class T>
  void settle(Question<T> question) {
    int calls = 0;
    auto token = std::move(question).then([&](const auto&) { ++calls; });
    for (int i = 0; i < 5; ++i) {
      runAll();
      timer->advance(3s);
    }
    runAll();
    EXPECT_EQ(calls, 1);
  }

  /// Runs `operation` some times to fill the caches, then expects nothing to stay of fifty more: not a block,
  /// nor eight bytes each in one that grows. What is cached anew may lie in a block that the heap rounds up
  /// more.
  void expectNothingStays(const std::string& name, const std::function<void()>& operation) {
    for (int i = 0; i < 10; ++i) operation();
    const auto before = tests::LiveMemory::now();
    for (int i = 0; i < 50; ++i) operation();
    const auto after = tests::LiveMemory::now();
    EXPECT_EQ(after.blocks, before.blocks) << name;
    EXPECT_LT(after.bytes, before.bytes + 50 * sizeof(std::int64_t)) << name;
    EXPECT_EQ(timer->pending(), 0U) << name;
  }

  void expectNothingStaysOfAnyEnd() {
    expectNothingStays("records", [&] { settle(catalog->records({"001xx", "999xx", "", "'"})); });
    expectNothingStays("types", [&] { settle(catalog->types({"Account", "Nope"})); });
    expectNothingStays("all types", [&] { settle(catalog->allTypes("acc")); });
    expectNothingStays("columns", [&] { settle(catalog->searchColumns({"Account"})); });
    expectNothingStays("headlines", [&] { settle(catalog->headlines({"Account"})); });
    expectNothingStays("refresh", [&] { settle(catalog->refresh()); });
    expectNothingStays("failed, after retries", [&] { settle(catalog->records({"00Bxx"})); });
    expectNothingStays("dropped", [&] {
      static_cast<void>(catalog->records({"00Bxx"}));
      runAll();
    });
    expectNothingStays("dropped while it is to be sent again", [&] {
      const auto question = catalog->records({"00Bxx"});
      runAll();
    });
    lean->isSilent = true;
    expectNothingStays("timed out", [&] { settle(catalog->records({"00Bxx"}, {.deadline = 1s})); });
  }

  const std::shared_ptr<LeanNetwork> lean = std::make_shared<LeanNetwork>();
};

TEST_F(CatalogHeapTest, AQuestionThatHasEndedLeavesNothing) {
  expectNothingStaysOfAnyEnd();
}

TEST_F(CatalogHeapTest, NorDoesOneThatIsObserved) {
  struct Deaf final : CatalogObserver {};
  catalogOptions.observer = std::make_shared<Deaf>();
  emplace();
  expectNothingStaysOfAnyEnd();
}

TEST_F(CatalogHeapTest, NorDoesAWatchThatIsCancelled) {
  expectNothingStays("watch", [&] {
    auto token = catalog->watch([this] { return catalog->types({"Account"}); }, [](const auto&) {});
    runAll();
    settle(catalog->refresh());
  });
}

}  // namespace
}  // namespace vellora
