#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/stress/ThreadedNetwork.h"
#include "tests/stress/WaitUntil.h"
#include "tests/support/LongForm.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

// Eight threads have ten thousand lookups of all kinds in flight at once on façades that all share one cache,
// and meanwhile construct and destroy other façades with lookups of their own.

namespace vellora {
namespace {

using simulation::SimulatedServer;

constexpr std::size_t threadCount = 8;

/// What became of one lookup. It must be answered once, unless its façade is destroyed early.
struct Lookup {
  bool mayStaySilent = false;
  std::atomic<int> answers = 0;

  [[nodiscard]] bool isAnswered() const { return answers > 0 || mayStaySilent; }
};

/// The lookups of one thread: on façades that all threads use, and on façades of its own that come and go.
struct Share {
  std::deque<Lookup> lookups;
  std::deque<Lookup> ofShortLived;

  [[nodiscard]] std::size_t size() const { return lookups.size() + ofShortLived.size(); }

  template <class Condition>
  [[nodiscard]] bool all(Condition holds) const {
    return std::all_of(lookups.begin(), lookups.end(), holds) &&
           std::all_of(ofShortLived.begin(), ofShortLived.end(), holds);
  }
};

class StressTest : public testing::Test {
 protected:
  using Facades = std::vector<std::unique_ptr<VelloraService>>;
  using Shares = std::array<Share, threadCount>;
  using Presentations = std::map<std::string, ObjectPresentationInfo>;

  [[nodiscard]] std::unique_ptr<VelloraService> makeFacade() const {
    return std::make_unique<VelloraService>(
        std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), 3600, "light",
        std::make_shared<SerialDispatchQueue>("VelloraService.queue"));
  }

  [[nodiscard]] Facades makeFacades(std::size_t count) const {
    Facades facades;
    while (facades.size() < count) facades.push_back(makeFacade());
    return facades;
  }

  /// Notes an answer, and whether it holds what was asked for.
  void note(Lookup& lookup, bool right) {
    ++lookup.answers;
    ++answered;
    if (!right) ++wrong;
  }

  void lookUpIds(VelloraService& facade, Lookup& lookup, std::size_t number) {
    const auto id = "001" + std::to_string(number);
    facade.objectPresentationInfoForIds({id, "00Baccounts"}, [this, &lookup, id](const Presentations& infos) {
      const auto record = infos.find(id);
      const auto listView = infos.find("00Baccounts");
      note(lookup, isWhole(infos, 2, lookup) &&
                       (record == infos.end() || record->second.typePresentationInfo == account()) &&
                       (listView == infos.end() || listView->second.instancePresentationInfo == account()));
    });
  }

  void lookUpNames(VelloraService& facade, Lookup& lookup) {
    facade.objectPresentationInfoForApiNames(
        {"Account", "Nothing"}, [this, &lookup](const Presentations& infos) {
          const auto found = infos.find("Account");
          note(lookup, isWhole(infos, 1, lookup) &&
                           (found == infos.end() || found->second.typePresentationInfo == account()));
        });
  }

  void lookUpSearchLayouts(VelloraService& facade, Lookup& lookup) {
    facade.objectLayoutInfoForApiNames({"Account", "Order"}, [this, &lookup](const auto& layouts) {
      note(lookup,
           layouts && layouts->size() == 2 &&
               layouts->at("Order") == SimulatedServer::searchLayout(*SimulatedServer::named("Order"), 1));
    });
  }

  void lookUpCompactLayouts(VelloraService& facade, Lookup& lookup, std::function<void()> then) {
    facade.objectCompactLayoutInfoForApiNames(
        {"Account"}, [this, &lookup, then = std::move(then)](const auto& layouts) {
          note(lookup, layouts && layouts->size() == 1 &&
                           layouts->at("Account") ==
                               SimulatedServer::compactLayout(*SimulatedServer::named("Account"), 1, true));
          if (then) then();
        });
  }

  /// An answer that is on its way while its façade is destroyed has what was put together until then.
  [[nodiscard]] static bool isWhole(const Presentations& infos, std::size_t count, const Lookup& lookup) {
    return infos.size() == count || (lookup.mayStaySilent && infos.size() < count);
  }

  [[nodiscard]] static PresentationInfo account() {
    return SimulatedServer::presentation(*SimulatedServer::named("Account"), 1, 1);
  }

  /// Calls `work` on each of the threads, with its number, and returns when all have ended.
  template <class Work>
  static void onThreads(Work work) {
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread) threads.emplace_back(work, thread);
    for (auto& thread : threads) thread.join();
  }

  /// The lookups of one thread, of `total` that all threads share.
  void lookUpShare(const Facades& facades, Share& share, std::size_t thread, std::size_t total) {
    for (std::size_t round = 0; thread + round * threadCount < total; ++round) {
      const std::size_t number = thread + round * threadCount;
      lookUpSome(*facades.at(round % facades.size()), share.lookups.emplace_back(), round, number);
      if (round % 25 == 0) lookUpOnShortLived(share.ofShortLived, number, round % 50 != 0);
    }
  }

  /// Ids, names and search layouts in turn.
  void lookUpSome(VelloraService& facade, Lookup& lookup, std::size_t round, std::size_t number) {
    switch (round % 5) {
      case 0:
      case 1:
        return lookUpIds(facade, lookup, number);
      case 2:
      case 3:
        return lookUpNames(facade, lookup);
      default:
        return lookUpSearchLayouts(facade, lookup);
    }
  }

  /// On a façade that is destroyed at once. A layout lookup keeps its façade until it is answered; one of
  /// each kind at a time always is.
  void lookUpOnShortLived(std::deque<Lookup>& lookups, std::size_t number, bool layoutsToo) {
    const auto facade = makeFacade();
    auto& ids = lookups.emplace_back();
    auto& names = lookups.emplace_back();
    ids.mayStaySilent = names.mayStaySilent = true;
    lookUpIds(*facade, ids, number);
    lookUpNames(*facade, names);
    if (!layoutsToo) return;
    lookUpSearchLayouts(*facade, lookups.emplace_back());
    lookUpCompactLayouts(*facade, lookups.emplace_back(), nullptr);
  }

  template <class Condition>
  [[nodiscard]] static bool all(const Shares& shares, Condition holds) {
    return std::all_of(shares.begin(), shares.end(), [&](const Share& share) { return share.all(holds); });
  }

  /// Destroys the façades, waits until nothing of them is alive, and lets the network answer what is left.
  void releaseAll(Facades& facades) {
    facades.clear();
    EXPECT_TRUE(waitUntil([&] { return logger.use_count() == 1; })) << "something is still alive";
    network.reset();
  }

  template <class Condition>
  [[nodiscard]] bool waitUntil(Condition holds) const {
    return tests::waitUntil(answered, holds);
  }

  std::atomic<std::size_t> answered = 0;
  std::atomic<std::size_t> wrong = 0;
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::SilentLogger> logger = std::make_shared<testkit::SilentLogger>();
  std::shared_ptr<tests::ThreadedNetwork> network = std::make_shared<tests::ThreadedNetwork>(4);
};

TEST_F(StressTest, TenThousandLookupsInFlightAreEachAnsweredOnce) {
  const auto total = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(10'000));
  Facades facades = makeFacades(4);
  Shares shares;
  onThreads([&](std::size_t thread) { lookUpShare(facades, shares.at(thread), thread, total); });
  EXPECT_EQ(answered, 0U) << "all of them are in flight";

  network->open();
  EXPECT_TRUE(waitUntil([&] { return all(shares, [](const auto& one) { return one.isAnswered(); }); }))
      << answered << " answers";
  releaseAll(facades);

  EXPECT_TRUE(all(shares, [](const auto& one) { return one.isAnswered() && one.answers <= 1; }));
  const auto count = std::accumulate(shares.begin(), shares.end(), std::size_t{0},
                                     [](std::size_t sum, const Share& share) { return sum + share.size(); });
  EXPECT_GE(count, total);
  EXPECT_EQ(wrong, 0U);
  std::cout << "lookups in flight: " << count << ", answers " << answered << '\n';
}

TEST_F(StressTest, CompactLayoutLookupsOneAtATimeOnEachFacadeAreEachAnsweredOnce) {
  constexpr std::size_t each = 100;
  network->open();
  Facades facades = makeFacades(threadCount);
  std::array<std::deque<Lookup>, threadCount> lookups;
  std::array<std::function<void()>, threadCount> next;
  for (std::size_t thread = 0; thread < threadCount; ++thread) {
    next.at(thread) = [&, thread] {
      auto& own = lookups.at(thread);
      cache->remove("OPS_CompactLayout_Account");
      if (own.size() < each) lookUpCompactLayouts(*facades.at(thread), own.emplace_back(), next.at(thread));
    };
  }
  onThreads([&](std::size_t thread) { next.at(thread)(); });
  EXPECT_TRUE(waitUntil([&] { return answered == threadCount * each; })) << answered << " answers";
  releaseAll(facades);
  EXPECT_EQ(answered, threadCount * each);
  EXPECT_EQ(wrong, 0U);
}

}  // namespace
}  // namespace vellora
