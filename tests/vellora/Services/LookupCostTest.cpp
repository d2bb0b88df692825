#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "testkit/ManualQueue.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/ParsedBytes.h"
#include "tests/support/TestClock.h"
#include "vellora/Services/VelloraService.h"

namespace vellora {
namespace {

using testkit::StubNetwork;

/// What the tables were asked, and what they gave.
struct TableWork {
  std::size_t reads = 0;
  std::size_t rows = 0;
  std::size_t bytes = 0;
  std::size_t writes = 0;
};

class CountingTable final : public testkit::ForwardingCacheTable {
 public:
  CountingTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::shared_ptr<TableWork> work)
      : ForwardingCacheTable(std::move(next)), work_(std::move(work)) {}
  std::vector<Data> load(const CorvaneSDK::Query& query) override {
    auto found = next().load(query);
    ++work_->reads;
    work_->rows += found.size();
    for (const auto& data : found) work_->bytes += data.size();
    return found;
  }
  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    auto found = next().fetch(query);
    ++work_->reads;
    work_->rows += found.size();
    return found;
  }
  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    ++work_->writes;
    return next().upsert(entry);
  }

 private:
  const std::shared_ptr<TableWork> work_;
};

class CountingCache final : public testkit::ForwardingCache {
 public:
  explicit CountingCache(std::shared_ptr<TableWork> work)
      : ForwardingCache(std::make_shared<hostkit::MemoryCache>()), work_(std::move(work)) {}

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string&) override {
    return std::make_shared<CountingTable>(std::move(table), work_);
  }

 private:
  const std::shared_ptr<TableWork> work_;
};

std::string prefixOf(int type) {
  return std::to_string(100 + type);
}

std::string nameOf(int type) {
  return "Record00" + prefixOf(type);
}

std::string typeEntry(int type) {
  const std::string name = nameOf(type);
  return R"({"name":")" + name + R"(","keyPrefix":")" + prefixOf(type) + R"(","label":")" + name +
         R"( Label","labelPlural":")" + name + R"( Labels","createable":true})";
}

std::string icon(const std::string& name, const std::string& theme, const std::string& file, int width) {
  return R"({"contentType":"image/)" + file + R"(","theme":")" + theme +
         R"(","url":"https://icons.example/)" + theme + "/" + name + "_" + std::to_string(width) +
         R"(.icon","width":)" + std::to_string(width) + "}";
}

/// Two colours and six icons, as a server has them for two themes.
std::string themeEntry(int type) {
  std::string colors;
  std::string icons;
  for (const std::string theme : {"light", "dark"}) {
    const std::string comma = colors.empty() ? "" : ",";
    colors += comma + R"({"color":"A0B0C0","context":"primary","theme":")" + theme + R"("})";
    icons += comma + icon(nameOf(type), theme, "svg+xml", 24) + "," + icon(nameOf(type), theme, "png", 32) +
             "," + icon(nameOf(type), theme, "png", 120);
  }
  return R"({"name":")" + nameOf(type) + R"(","colors":[)" + colors + R"(],"icons":[)" + icons + "]}";
}

/// Bounds what lookups cost, in counts: they are the same on every machine, and tell of work that grew back.
/// A ceiling lies a quarter above what was counted when it was set.
class LookupCostTest : public testing::Test {
 protected:
  static constexpr int types = 800;

  LookupCostTest() {
    std::string list;
    std::string themes;
    for (int type = 0; type < types; ++type) {
      list.append(type > 0 ? "," : "").append(typeEntry(type));
      themes.append(type > 0 ? "," : "").append(themeEntry(type));
    }
    network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"({"sobjects":[)" + list + "]}"));
    network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems":[)" + themes + "]}"));
    service = std::make_unique<VelloraService>(
        std::make_shared<hostkit::StandardPlatformAPI>(network, std::make_shared<CountingCache>(work),
                                                       std::make_shared<testkit::SilentLogger>()),
        3600, "light", queue);
    runAll();
  }

  void runAll() {
    while (queue->runAll() + queues.runAll() > 0) {
    }
  }

  /// Looks up the ids of `count` types from `first` on.
  std::size_t foundIds(int first, int count) {
    std::vector<std::string> ids;
    for (int type = first; type < first + count; ++type) ids.push_back(prefixOf(type) + "000000000000AAA");
    std::size_t found = 0;
    service->objectPresentationInfoForIds(ids, [&](const auto& infos) { found = infos.size(); });
    runAll();
    return found;
  }

  std::size_t foundNames(int first, int count) {
    std::vector<std::string> names;
    for (int type = first; type < first + count; ++type) names.push_back(nameOf(type));
    std::size_t found = 0;
    service->objectPresentationInfoForApiNames(names, [&](const auto& infos) { found = infos.size(); });
    runAll();
    return found;
  }

  tests::TestClock clock{Date::since1970(1'700'000'000)};
  tests::ManualQueues queues;
  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<TableWork> work = std::make_shared<TableWork>();
  std::unique_ptr<VelloraService> service;
};

TEST_F(LookupCostTest, AWarmIdReadsItsFourRowsAndNothingElse) {
  ASSERT_EQ(foundIds(0, 100), 100U);
  *work = {};

  ASSERT_EQ(foundIds(0, 100), 100U);

  EXPECT_EQ(work->reads, 2U + 4U * 100U) << "the two lists for their state, then prefix, type, prefix, theme";
  EXPECT_EQ(work->rows, 2U + 4U * 100U);
  EXPECT_LE(work->bytes / 100, 1150U);
  EXPECT_EQ(work->writes, 0U);
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(LookupCostTest, AWarmIdParsesTheBytesOfItsFourRowsAndNothingElse) {
  ASSERT_EQ(foundIds(0, 100), 100U);
  *work = {};
  const tests::ParsedBytes parsed;

  ASSERT_EQ(foundIds(0, 100), 100U);

  EXPECT_EQ(parsed.count(), work->bytes);
}

TEST_F(LookupCostTest, AWarmIdAllocatesWithinItsCeilingHoweverManyAreAskedFor) {
  ASSERT_EQ(foundIds(0, 800), 800U);
  const auto allocationsPerId = [this](int count) {
    const tests::AllocationCounter counter;
    EXPECT_EQ(foundIds(0, count), static_cast<std::size_t>(count));
    return static_cast<double>(counter.allocations()) / count;
  };
  const double few = allocationsPerId(50);
  const double many = allocationsPerId(800);
  RecordProperty("allocationsPerWarmId", std::to_string(many));

  EXPECT_LE(few, 58);
  EXPECT_LE(many, few * 1.1);
}

TEST_F(LookupCostTest, ANewNameIsFoundWithoutDecodingTheListAnew) {
  ASSERT_EQ(foundNames(0, 1), 1U);
  const tests::AllocationCounter counter;
  const tests::ParsedBytes parsed;

  ASSERT_EQ(foundNames(1, 100), 100U);

  EXPECT_EQ(parsed.count(), 0U);
  // Decoding both lists takes some 8,000 allocations here.
  EXPECT_LE(counter.allocations() / 100, 115U);
}

TEST_F(LookupCostTest, ANewIdIsFoundWithoutDecodingTheListAnew) {
  ASSERT_EQ(foundIds(0, 1), 1U);
  const tests::AllocationCounter counter;
  const tests::ParsedBytes parsed;

  ASSERT_EQ(foundIds(1, 100), 100U);

  // Each new prefix gets a row, which is read again to see whether it is that of list views.
  EXPECT_LE(parsed.count() / 100, 30U);
  EXPECT_LE(counter.allocations() / 100, 140U);
}

}  // namespace
}  // namespace vellora
