#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/stress/ThreadedNetwork.h"
#include "tests/support/LongForm.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

// Eight threads have ten thousand lookups of all kinds in flight at once on façades that all share one cache,
// and meanwhile construct and destroy other façades with lookups of their own.

namespace vellora {
namespace {

using simulation::SimulatedServer;

constexpr std::size_t threadCount = 8;

class SilentLogger final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view, CorvaneSDK::LogLevel) override {}
};

/// What became of one lookup. Must be answered once, unless its façade is destroyed early.
struct Lookup {
  bool mayStaySilent = false;
  std::atomic<int> answers = 0;
};

class StressTest : public testing::Test {
 protected:
  using Presentations = std::map<std::string, ObjectPresentationInfo>;

  [[nodiscard]] std::unique_ptr<VelloraService> makeFacade() const {
    return std::make_unique<VelloraService>(
        std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), 3600, "light",
        std::make_shared<SerialDispatchQueue>("VelloraService.queue"));
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

  template <class Condition>
  [[nodiscard]] static bool waitUntil(Condition holds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(100);
    while (!holds()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::yield();
    }
    return true;
  }

  std::atomic<std::size_t> answered = 0;
  std::atomic<std::size_t> wrong = 0;
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<SilentLogger> logger = std::make_shared<SilentLogger>();
  std::shared_ptr<tests::ThreadedNetwork> network = std::make_shared<tests::ThreadedNetwork>(4);
};

/// What one thread does: its share of the lookups, on façades that all threads use, and with façades of its
/// own that come and go.
struct Share {
  std::deque<Lookup> lookups;
  std::deque<Lookup> ofShortLived;
};

TEST_F(StressTest, TenThousandLookupsInFlightAreEachAnsweredOnce) {
  const auto total = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(10'000));
  std::vector<std::unique_ptr<VelloraService>> facades;
  for (int count = 0; count < 4; ++count) facades.push_back(makeFacade());
  std::array<Share, threadCount> shares;

  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      auto& share = shares.at(thread);
      for (std::size_t number = thread; number < total; number += threadCount) {
        auto& facade = *facades.at(number / threadCount % facades.size());
        auto& lookup = share.lookups.emplace_back();
        switch (number / threadCount % 5) {
          case 0:
          case 1:
            lookUpIds(facade, lookup, number);
            break;
          case 2:
          case 3:
            lookUpNames(facade, lookup);
            break;
          default:
            lookUpSearchLayouts(facade, lookup);
        }
        if (number / threadCount % 25 != 0) continue;
        const auto shortLived = makeFacade();
        auto& ids = share.ofShortLived.emplace_back();
        auto& names = share.ofShortLived.emplace_back();
        ids.mayStaySilent = names.mayStaySilent = true;
        lookUpIds(*shortLived, ids, number);
        lookUpNames(*shortLived, names);
        // A layout lookup keeps its façade until it is answered; one of each kind at a time always is.
        if (number / threadCount % 50 == 0) continue;
        lookUpSearchLayouts(*shortLived, share.ofShortLived.emplace_back());
        lookUpCompactLayouts(*shortLived, share.ofShortLived.emplace_back(), nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(answered, 0U) << "all of them are in flight";
  network->open();

  const auto allAnswered = [&] {
    for (const auto& share : shares) {
      for (const auto* lookups : {&share.lookups, &share.ofShortLived}) {
        for (const auto& lookup : *lookups) {
          if (lookup.answers == 0 && !lookup.mayStaySilent) return false;
        }
      }
    }
    return true;
  };
  EXPECT_TRUE(waitUntil(allAnswered)) << answered << " answers";
  facades.clear();
  EXPECT_TRUE(waitUntil([&] { return logger.use_count() == 1; })) << "something is still alive";
  network.reset();  // answers what is left

  std::size_t count = 0;
  for (const auto& share : shares) {
    for (const auto* lookups : {&share.lookups, &share.ofShortLived}) {
      for (const auto& lookup : *lookups) {
        count += 1;
        ASSERT_LE(lookup.answers, 1);
        ASSERT_GE(lookup.answers, lookup.mayStaySilent ? 0 : 1);
      }
    }
  }
  EXPECT_GE(count, total);
  EXPECT_EQ(wrong, 0U);
  std::cout << "lookups in flight: " << count << ", answers " << answered << '\n';
}

TEST_F(StressTest, CompactLayoutLookupsOneAtATimeOnEachFacadeAreEachAnsweredOnce) {
  constexpr std::size_t each = 100;
  network->open();
  std::vector<std::unique_ptr<VelloraService>> facades;
  std::array<std::deque<Lookup>, threadCount> lookups;
  std::array<std::function<void()>, threadCount> next;
  for (std::size_t thread = 0; thread < threadCount; ++thread) {
    facades.push_back(makeFacade());
    next.at(thread) = [&, thread] {
      auto& own = lookups.at(thread);
      cache->remove("OPS_CompactLayout_Account");
      if (own.size() < each) lookUpCompactLayouts(*facades.at(thread), own.emplace_back(), next.at(thread));
    };
  }
  std::vector<std::thread> threads;
  for (const auto& start : next) threads.emplace_back(start);
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(waitUntil([&] { return answered == threadCount * each; })) << answered << " answers";
  facades.clear();
  EXPECT_TRUE(waitUntil([&] { return logger.use_count() == 1; })) << "something is still alive";
  network.reset();
  EXPECT_EQ(answered, threadCount * each);
  EXPECT_EQ(wrong, 0U);
}

}  // namespace
}  // namespace vellora
