#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/PassingError.h"
#include "tests/support/SlowBuild.h"
#include "vellora/Catalog/Catalog.h"

// Retries, watches and an observer while others refresh, cancel and destroy.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testkit::StubNetwork;

constexpr const char* themesUrl = "/services/data/v50.0/theme";
constexpr const char* typesUrl = "/services/data/v50.0/sobjects";
constexpr int rounds = tests::codeIsSlow ? 30 : 150;

struct Counting final : CatalogObserver {
  void questionEnded(const QuestionReport&) override { note(); }
  void requestEnded(const RequestReport&) override { note(); }
  void note() {
    ++calls;
    calls.notify_all();
    if (isOver) ++late;
  }
  std::atomic<int> calls = 0;
  std::atomic<int> late = 0;
  std::atomic<bool> isOver = false;
};

class CatalogRaceTest : public testing::Test {
 protected:
  CatalogRaceTest() {
    network->answer(themesUrl, StubNetwork::body(R"({"themeItems":[]})"));
    construct();
  }

  static testkit::StubAnswer types(int round) {
    return StubNetwork::body(R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":")" +
                             std::to_string(round) + R"(","labelPlural":"A","createable":true}]})");
  }

  void construct() {
    catalog.emplace(
        std::make_shared<hostkit::StandardPlatformAPI>(network, std::make_shared<hostkit::MemoryCache>(),
                                                       std::make_shared<testkit::SilentLogger>()),
        CatalogOptions{
            .timer = timer, .retry = {.firstPause = 1s, .jitter = [] { return 1.0; }}, .observer = observer});
  }

  /// Runs each of `works` on a thread of its own, all at once.
  static void atOnce(const std::vector<std::function<void()>>& works) {
    std::latch start(static_cast<std::ptrdiff_t>(works.size()));
    std::vector<std::thread> threads;
    for (const auto& work : works) {
      threads.emplace_back([&start, &work] {
        start.arrive_and_wait();
        work();
      });
    }
    for (auto& thread : threads) thread.join();
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<Counting> observer = std::make_shared<Counting>();
  std::optional<Catalog> catalog;
};

TEST_F(CatalogRaceTest, APauseMeetsCancellationDeadlineAndDestruction) {
  for (int round = 0; round < rounds; ++round) {
    network->answer(typesUrl, {StubNetwork::failure(tests::PassingError{}), types(round)});
    construct();
    std::atomic<int> calls = 0;
    std::atomic<bool> isCancelled = false;
    std::atomic<int> late = 0;
    auto token = catalog->types({"Account"}, {.deadline = 2s}).then([&](const auto& answer) {
      ++calls;
      if (isCancelled) ++late;
      EXPECT_EQ(answer.found.size() + answer.missing.size(), 1U);
    });
    atOnce({[&] {
              timer->advance(1s);
              timer->advance(2s);
            },
            [&] {
              token.cancel();
              isCancelled = true;
            },
            [&] {
              if (round % 2 == 0) catalog.reset();
            }});
    EXPECT_LE(calls, 1);
    EXPECT_EQ(late, 0);
  }
}

TEST_F(CatalogRaceTest, AWatchMeetsRefreshesCancellationAndDestruction) {
  for (int round = 0; round < rounds; ++round) {
    network->answer(typesUrl, types(round));
    construct();
    std::atomic<bool> isOver = false;
    std::atomic<int> late = 0;
    const auto ask = [&] {
      if (isOver) ++late;
      return catalog->types({"Account"});
    };
    auto token = catalog->watch(ask, [&](const auto&) { late += isOver ? 1 : 0; });
    auto other = catalog->watch(ask, [&](const auto&) { late += isOver ? 1 : 0; });
    atOnce({[&] { static_cast<void>(catalog->refresh().get()); },
            [&] { static_cast<void>(catalog->refresh().get()); }, [&] { token.cancel(); }});
    catalog.reset();
    isOver = true;
    EXPECT_EQ(late, 0);
  }
}

TEST_F(CatalogRaceTest, NothingIsObservedOnceTheDestructorHasReturned) {
  network->answer(typesUrl, types(0));
  construct();
  static_cast<void>(catalog->types({"Account"}).get());
  observer->calls.wait(0);  // those of the rounds may go before anything is observed
  for (int round = 0; round < rounds; ++round) {
    network->answer(typesUrl, types(round));
    observer->isOver = false;
    construct();
    auto question = catalog->types({"Account"});
    atOnce({[&] {
              catalog.reset();
              observer->isOver = true;
            },
            [&] { timer->advance(10s); }});
    EXPECT_EQ(observer->late, 0);
  }
  EXPECT_GT(observer->calls, 0);
}

}  // namespace
}  // namespace vellora
