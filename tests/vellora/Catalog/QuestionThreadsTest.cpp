#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <latch>
#include <memory>
#include <optional>
#include <semaphore>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"

// What a question promises where threads meet.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testkit::StubNetwork;

constexpr const char* themesUrl = "/services/data/v50.0/theme";
constexpr const char* typesUrl = "/services/data/v50.0/sobjects";
constexpr const char* listViews = "/services/data/v50.0/query";
constexpr auto aWhile = 1000s;  // longer than a machine is ever busy

class QuestionThreadsTest : public testing::Test {
 protected:
  using Found = Answer<ObjectPresentationInfo>;

  QuestionThreadsTest() {
    network->answer(themesUrl, StubNetwork::body(R"({"themeItems":[]})"));
    network->answer(
        typesUrl,
        StubNetwork::body(
            R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"A","createable":true},)"
            R"({"name":"ListView","keyPrefix":"00B","label":"List","labelPlural":"L","createable":false}]})"));
    network->answerPrefix(listViews,
                          StubNetwork::body(R"({"records":[{"Id":"00B","SobjectType":"Account"}]})").held());
    construct();
  }

  void construct(CatalogOptions options = {}) {
    catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, cache,
                                                                   std::make_shared<testkit::SilentLogger>()),
                    std::move(options));
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  std::optional<Catalog> catalog;
};

TEST_F(QuestionThreadsTest, GetWaitsForTheAnswer) {
  const auto answer = catalog->records({"001xx", "999xx"}, {.deadline = aWhile}).get();
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.size(), 1U);
  EXPECT_EQ(answer.missing.size(), 1U);
}

TEST_F(QuestionThreadsTest, GetReturnsAtTheDeadlineThoughTheServerNeverAnswers) {
  const auto answer = catalog->records({"00Bxx"}, {.deadline = 10ms}).get();
  EXPECT_EQ(answer.end, End::timedOut);
  EXPECT_EQ(answer.missing.at("00Bxx").why(), Missing::Why::timedOut);
}

TEST_F(QuestionThreadsTest, EndsAtTheDeadlineThoughEveryThreadOfTheLibraryIsBlocked) {
  const auto threads = std::max(4U, std::thread::hardware_concurrency());
  std::promise<void> release;
  const auto released = release.get_future().share();
  std::latch blocked(threads);
  std::latch done(threads);
  for (unsigned i = 0; i < threads; ++i) {
    DispatchQueue::global(DispatchQoS::unspecified)->async([&, released] {
      blocked.count_down();
      released.wait();
      done.count_down();
    });
  }
  blocked.wait();
  EXPECT_EQ(catalog->records({"001xx"}, {.deadline = 10ms}).get().end, End::timedOut);
  release.set_value();
  done.wait();
}

TEST_F(QuestionThreadsTest, GetIsRefusedOnAQueueOfTheLibraryAndInACallback) {
  std::promise<End> onQueue;
  SerialDispatchQueue("other").async([&] { onQueue.set_value(catalog->records({"00Bxx"}).get().end); });
  EXPECT_EQ(onQueue.get_future().get(), End::failed);
  std::promise<End> inCallback;
  auto token = catalog->records({"001xx"}).then(
      [&](const Found&) { inCallback.set_value(catalog->records({"00Bxx"}).get().end); });
  EXPECT_EQ(inCallback.get_future().get(), End::failed);
}

TEST_F(QuestionThreadsTest, NoCallbackRunsOnTheNetworksThread) {
  std::promise<std::thread::id> thread;
  auto token = catalog->records({"00Bxx"}, {.deadline = aWhile}).then([&](const Found& answer) {
    EXPECT_EQ(answer.end, End::answered);
    thread.set_value(std::this_thread::get_id());
  });
  ASSERT_TRUE(network->waitForRequests(3));
  network->releaseAll();
  EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST_F(QuestionThreadsTest, CancellingWaitsForTheCallbackThatRuns) {
  std::latch running(1);
  std::latch mayEnd(1);
  std::atomic<bool> ended = false;
  auto token = catalog->records({"001xx"}).then([&](const Found&) {
    running.count_down();
    mayEnd.wait();
    ended = true;
  });
  running.wait();
  std::thread ending([&] { mayEnd.count_down(); });
  token.cancel();
  EXPECT_TRUE(ended);
  ending.join();
}

TEST_F(QuestionThreadsTest, DestroyingTheCatalogueWaitsForTheCallbackThatRuns) {
  std::latch running(1);
  std::latch mayEnd(1);
  std::atomic<bool> ended = false;
  catalog->records({"001xx"})
      .then([&](const Found&) {
        running.count_down();
        mayEnd.wait();
        ended = true;
      })
      .detach();
  running.wait();
  std::thread ending([&] { mayEnd.count_down(); });
  catalog.reset();
  EXPECT_TRUE(ended);
  ending.join();
}

/// Is inside the report of a question until it is let out.
struct SlowObserver final : CatalogObserver {
  void questionEnded(const QuestionReport&) override {
    if (wasEntered.exchange(true)) return;
    running.count_down();
    mayEnd.wait();
    hasEnded = true;
  }
  std::atomic<bool> wasEntered = false;
  std::latch running{1};
  std::latch mayEnd{1};
  std::atomic<bool> hasEnded = false;
};

TEST_F(QuestionThreadsTest, ASlowObserverDelaysNoAnswer) {
  const auto observer = std::make_shared<SlowObserver>();
  construct({.observer = observer});
  observer->running.wait();
  EXPECT_EQ(catalog->records({"001xx"}, {.deadline = aWhile}).get().end, End::answered);
  EXPECT_FALSE(observer->hasEnded);
  observer->mayEnd.count_down();
}

TEST_F(QuestionThreadsTest, DestroyingTheCatalogueWaitsForTheObserverThatIsCalled) {
  const auto observer = std::make_shared<SlowObserver>();
  construct({.observer = observer});
  observer->running.wait();
  std::thread ending([&] { observer->mayEnd.count_down(); });
  catalog.reset();
  EXPECT_TRUE(observer->hasEnded);
  ending.join();
}

TEST_F(QuestionThreadsTest, DestroyingTheCatalogueEndsAGetThatWaits) {
  auto question = catalog->records({"00Bxx"}, {.deadline = aWhile});
  ASSERT_TRUE(network->waitForRequests(3));
  auto waiting = std::async(std::launch::async, [&] { return std::move(question).get().end; });
  catalog.reset();
  EXPECT_EQ(waiting.get(), End::cancelled);
}

TEST_F(QuestionThreadsTest, WhicheverComesFirstEachQuestionEndsOnceOrWasCancelled) {
  static_cast<void>(catalog->records({"001xx"}, {.deadline = aWhile}).get());
  for (int round = 0; round < 200; ++round) {
    const auto timer = std::make_shared<testkit::ManualTimer>();
    construct({.timer = timer});
    std::atomic<int> calls = 0;
    std::atomic<bool> isCancelled = false;
    std::atomic<int> callsAfterCancelling = 0;
    auto token = catalog->records({"001xx", "00B" + std::to_string(round)}, {.deadline = 5s})
                     .then([&](const Found& answer) {
                       ++calls;
                       if (isCancelled) ++callsAfterCancelling;
                       EXPECT_EQ(answer.found.size() + answer.missing.size(), 2U);
                     });
    std::latch start(4);
    std::thread answering([&] {
      start.arrive_and_wait();
      network->releaseAll();
    });
    std::thread passing([&] {
      start.arrive_and_wait();
      timer->advance(5s);
    });
    std::thread cancelling([&] {
      start.arrive_and_wait();
      token.cancel();
      isCancelled = true;
    });
    start.arrive_and_wait();
    if (round % 2 == 0) catalog.reset();
    answering.join();
    passing.join();
    cancelling.join();
    EXPECT_LE(calls, 1);
    EXPECT_EQ(callsAfterCancelling, 0);
  }
}

TEST_F(QuestionThreadsTest, ManyThreadsAskAndEveryQuestionIsAnswered) {
  constexpr int threads = 4;
  constexpr int questions = 100;
  std::atomic<int> found = 0;
  std::vector<std::thread> asking;
  for (int i = 0; i < threads; ++i) {
    asking.emplace_back([&] {
      for (int k = 0; k < questions; ++k) {
        if (catalog->records({"001xx"}, {.deadline = aWhile}).get().end == End::answered) ++found;
      }
    });
  }
  for (auto& thread : asking) thread.join();
  EXPECT_EQ(found, threads * questions);
}

TEST_F(QuestionThreadsTest, GetIsRefusedOnTheThreadOfTheDeadlines) {
  std::promise<End> end;
  static_cast<void>(
      TimedQueue::system()->after(0s, [&] { end.set_value(catalog->records({"00Bxx"}).get().end); }));
  EXPECT_EQ(end.get_future().get(), End::failed);
}

/// Blocks whoever loads, from `stall` on until it is released.
class StallingCache final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

  std::optional<Data> load(const std::string& key) override {
    if (isStalling) {
      stalled.release();
      released.wait();
    }
    return next().load(key);
  }

  std::atomic<bool> isStalling = false;
  std::counting_semaphore<> stalled{0};
  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
};

TEST_F(QuestionThreadsTest, CallbacksComeAtTheDeadlineThoughTheCacheBlocksEveryLookup) {
  const auto stalling = std::make_shared<StallingCache>(cache);
  const auto timer = std::make_shared<testkit::ManualTimer>();
  catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, stalling,
                                                                 std::make_shared<testkit::SilentLogger>()),
                  CatalogOptions{.timer = timer});
  static_cast<void>(catalog->records({"001xx"}).get());
  stalling->isStalling = true;
  const auto threads = std::max(4U, std::thread::hardware_concurrency());
  std::vector<std::promise<End>> ends(2 * threads);
  for (auto& end : ends) {
    catalog->records({"001xx"}, {.deadline = 5s})
        .then([&](const Found& answer) { end.set_value(answer.end); })
        .detach();
  }
  for (unsigned i = 1; i < threads; ++i) stalling->stalled.acquire();
  timer->advance(5s);
  bool haveAllCome = true;
  for (auto& end : ends) {
    auto future = end.get_future();
    haveAllCome = haveAllCome && future.wait_for(60s) == std::future_status::ready;
    if (haveAllCome) {
      EXPECT_EQ(future.get(), End::timedOut);
    }
  }
  EXPECT_TRUE(haveAllCome);
  stalling->release.set_value();
  catalog.reset();
}

}  // namespace
}  // namespace vellora
