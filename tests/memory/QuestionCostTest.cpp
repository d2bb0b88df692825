#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Services/VelloraService.h"

// What a catalogue takes from the heap for a question whose answer is cached, beside what the façade takes
// for the same keys.

namespace vellora {
namespace {

using simulation::SimulatedServer;
using testkit::StubNetwork;

constexpr std::size_t counts[] = {1, 10, 100, 1'000};

class QuestionCostTest : public testing::TestWithParam<std::size_t> {
 protected:
  QuestionCostTest() {
    using Endpoint = SimulatedServer::Endpoint;
    network->answer("/services/data/v50.0/theme",
                    StubNetwork::body(SimulatedServer::body(Endpoint::themes, "", 1)));
    network->answer("/services/data/v50.0/sobjects",
                    StubNetwork::body(SimulatedServer::body(Endpoint::sObjects, "", 1)));
    const auto& type = *SimulatedServer::named("Account");
    for (const auto& name : names()) {
      auto columns = SimulatedServer::searchLayout(type, 1);
      columns.objectType = name;
      save("OPS_Layout_" + name, ObjectLayoutInfoCacheEntry{columns, now()});
      auto headline = SimulatedServer::compactLayout(type, 1, true);
      headline.objectType = name;
      save("OPS_CompactLayout_" + name, CompactLayoutCacheEntry{headline, now()});
    }
    facade = std::make_unique<VelloraService>(host, 3600, "light", queue);
    catalog = std::make_unique<Catalog>(host, CatalogOptions{.answersOn = queue, .timer = timer});
    settle();
  }

  template <class Entry>
  void save(const std::string& key, const Entry& entry) const {
    cache->save(json::encode(entry).value(), key);
  }

  void settle() {
    while (queue->runAll() + queues.runAll() > 0) {
    }
  }

  [[nodiscard]] static std::vector<std::string> keysWith(const std::string& prefix) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < GetParam(); ++i) keys.push_back(prefix + std::to_string(i));
    return keys;
  }
  [[nodiscard]] static std::vector<std::string> ids() { return keysWith("001"); }
  [[nodiscard]] static std::vector<std::string> names() { return keysWith("Type"); }

  /// What `ask` takes, given back or not, until its answer has come. The second time counts.
  std::size_t bytesOf(const std::function<void()>& ask) {
    std::size_t bytes = 0;
    for (int i = 0; i < 2; ++i) {
      found = 0;
      const tests::AllocationCounter counter;
      ask();
      settle();
      bytes = counter.bytes();
      EXPECT_EQ(found, GetParam());
    }
    return bytes;
  }

  template <class T>
  void take(Question<T> question) {
    auto token = std::move(question).then([this](const auto& answer) { found = answer.found.size(); });
    settle();
  }

  /// At most `mostTimes` the façade's, and what any question takes for its end, its deadline and its queue.
  /// The test's own two queues take a block of 512 bytes each, or not, by what has passed through them
  /// before.
  static void expectAtMost(double mostTimes, const std::string& what, std::size_t ofCatalog,
                           std::size_t ofFacade) {
    constexpr double ofAnyQuestion = 4096 + 2 * 512;
    const auto ours = static_cast<double>(ofCatalog);
    const auto facades = static_cast<double>(ofFacade);
    std::cout << what << " of " << GetParam() << ": " << ofCatalog << " bytes, façade " << ofFacade
              << ", ratio " << ours / facades << '\n';
    EXPECT_LE(ours, mostTimes * facades + ofAnyQuestion) << what;
  }

  tests::TestClock clock;
  tests::ManualQueues queues;
  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<hostkit::StandardPlatformAPI> host = std::make_shared<hostkit::StandardPlatformAPI>(
      network, cache, std::make_shared<testkit::SilentLogger>());
  std::unique_ptr<VelloraService> facade;
  std::unique_ptr<Catalog> catalog;
  std::size_t found = 0;
};

// The façade writes the lines of all records in the same memory, so it takes little.
TEST_P(QuestionCostTest, RecordsTakeLittleMoreMemoryThanTheFacadesLookup) {
  const auto noting = [this](const auto& infos) { found = infos.size(); };
  const auto ofFacade = bytesOf([&] { facade->objectPresentationInfoForIds(ids(), noting); });
  expectAtMost(1.35, "records", bytesOf([&] { take(catalog->records(ids())); }), ofFacade);
}

TEST_P(QuestionCostTest, LayoutsTakeLittleMoreMemoryThanTheFacadesLookups) {
  const auto noting = [this](const auto& layouts) { found = layouts ? layouts->size() : 0; };
  const auto ofColumns = bytesOf([&] { facade->objectLayoutInfoForApiNames(names(), noting); });
  expectAtMost(1.2, "columns", bytesOf([&] { take(catalog->searchColumns(names())); }), ofColumns);
  const auto ofHeadlines = bytesOf([&] { facade->objectCompactLayoutInfoForApiNames(names(), noting); });
  expectAtMost(1.2, "headlines", bytesOf([&] { take(catalog->headlines(names())); }), ofHeadlines);
}

INSTANTIATE_TEST_SUITE_P(Keys, QuestionCostTest, testing::ValuesIn(counts),
                         [](const auto& keys) { return std::to_string(keys.param); });

}  // namespace
}  // namespace vellora
